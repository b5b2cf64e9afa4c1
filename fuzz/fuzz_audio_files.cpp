// SPDX-License-Identifier: GPL-3.0-or-later
// Opens any bytes as an audio file, or refuses them with a message. A file that opens is read in chunks from its start,
// middle and past its end, and must match its own format and length.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "memory_file.h"
#include "system/media/audio_files.h"

namespace {

void require(bool holds, const char* words) {
  if (!holds) {
    std::fprintf(stderr, "%s\n", words);
    std::abort();
  }
}

void readSome(vrel::AVAudioFile& file, vrel::AVAudioPCMBuffer& buffer, std::int64_t from) {
  constexpr int chunks = 4;
  file.setFramePosition(from);
  require(file.framePosition() == from, "seek to another frame");
  for (int chunk = 0; chunk < chunks; ++chunk) {
    const auto before = file.framePosition();
    if (file.readIntoBuffer(buffer, buffer.frameCapacity())) {
      return;
    }
    require(buffer.frameLength <= buffer.frameCapacity(), "more frames than requested");
    require(file.framePosition() == before + buffer.frameLength, "frame count and position differ");
    require(file.framePosition() <= std::max(file.length(), from), "frames past the end");
  }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer looks for this name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile bytes(data, size);
  require(bytes.isWhole(), "no memory for the file");
  vrel::system::AudioFiles files;
  const auto opened = files.openForReading(bytes.path());
  if (!opened) {
    require(!opened.error().description.empty(), "an error without a message");
    return 0;
  }
  auto& file = *opened.value();
  const auto format = file.processingFormat();
  require(format.sampleRate > 0 && format.channelCount >= 1 && file.length() >= 0, "unplayable format");
  constexpr std::uint32_t chunkFrames = 777;
  const auto buffer = files.makePCMBuffer(format, chunkFrames);
  require(buffer != nullptr, "no memory for a buffer");
  readSome(file, *buffer, 0);
  readSome(file, *buffer, file.length() / 2);
  readSome(file, *buffer, file.length());
  return 0;
}
