// SPDX-License-Identifier: GPL-3.0-or-later
// Opens any bytes as a clip, or refuses them with a message. The pictures of a clip come in the order of their times,
// have the announced number of pixels, and come again after a rewind.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "memory_file.h"
#include "system/media/clip_decoder.h"

namespace {

constexpr int mostPictures = 6;
constexpr std::size_t mostPixels = std::size_t{1} << 20U;

void require(bool holds, const char* words) {
  if (!holds) {
    std::fprintf(stderr, "%s\n", words);
    std::abort();
  }
}

int lookAtPictures(vrel::system::ClipDecoder& decoder) {
  double last = -1;
  int count = 0;
  for (; count < mostPictures; ++count) {
    const auto picture = decoder.next();
    if (picture == nullptr) {
      break;
    }
    require(picture->seconds() > last, "pictures out of order");
    require(picture->endSeconds() >= picture->seconds(), "a picture that ends before it begins");
    last = picture->seconds();
    const std::size_t pixels = picture->width() * picture->height();
    require(pixels > 0, "an empty picture");
    if (pixels <= mostPixels) {
      std::vector<std::uint8_t> room(pixels * 4);
      static_cast<void>(picture->copyPixels(room));
    }
  }
  return count;
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile bytes(data, size);
  require(bytes.isWhole(), "no memory for the file");
  const auto opened = vrel::system::ClipDecoder::open(bytes.path(), nullptr);
  if (!opened) {
    require(!opened.error().description.empty(), "an error without a message");
    return 0;
  }
  auto& decoder = *opened.value();
  const int count = lookAtPictures(decoder);
  if (count > 0 && decoder.rewind()) {
    static_cast<void>(lookAtPictures(decoder));
  }
  return 0;
}
