// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "system/media/audio_files.h"
#include "system/media/decoding_check.h"
#include "system/media/stated_length.h"

namespace vrel::system {
namespace {

constexpr std::uint32_t checkedFrames = 65'536;  // read at once
constexpr double negligibleSeconds = 0.2;        // encoders' delays, which some headers count

double statedAudioSeconds(const std::string& path) {
  const FFmpegContainer container = openContainer(path);
  const int index =
      container == nullptr ? -1 : av_find_best_stream(container.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  return index < 0 ? 0 : statedSeconds(*container, *container->streams[index]);
}

/// Whether a RIFF file, such as WAV, ends before the size in its header, which libraries pass over. One that is still
/// being written has no size.
bool isShorterThanRiffSize(const std::string& path) {
  constexpr std::size_t headerBytes = 8;
  std::array<unsigned char, headerBytes> header{};
  std::ifstream file(path, std::ios::binary);
  file.read(reinterpret_cast<char*>(header.data()), header.size());
  if (!file || std::string_view(reinterpret_cast<const char*>(header.data()), 4) != "RIFF") {
    return false;
  }
  const std::uint64_t stated =
      header[4] + header[5] * 0x100U + header[6] * 0x10000U + std::uint64_t{header[7]} * 0x1000000U;
  std::error_code failure;
  const auto size = std::filesystem::file_size(path, failure);
  return !failure && stated != 0xFFFFFFFF && size + 1 < stated + headerBytes;  // the last byte is often only padding
}

}  // namespace

std::optional<DecodingFailure> checkAudioDecoding(const std::string& path) {
  AudioFiles files;
  const auto opened = files.openForReading(path);
  if (!opened) {
    return DecodingFailure{DecodingFailure::Kind::unreadable, opened.error().description};
  }
  AVAudioFile& file = *opened.value();
  const auto buffer = files.makePCMBuffer(file.processingFormat(), checkedFrames);
  if (buffer == nullptr) {
    return DecodingFailure{DecodingFailure::Kind::unreadable, "not enough memory"};
  }
  while (file.framePosition() < file.length()) {
    const auto failure = file.readIntoBuffer(*buffer, checkedFrames);
    if (failure || buffer->frameLength == 0) {
      return DecodingFailure{DecodingFailure::Kind::incomplete,
                             failure ? failure->description : "unexpected end of file"};
    }
  }
  const double seconds = static_cast<double>(file.length()) / file.processingFormat().sampleRate;
  const double stated = statedAudioSeconds(path);
  if (seconds + negligibleSeconds < stated) {
    return DecodingFailure{DecodingFailure::Kind::incomplete, partText(seconds, stated)};
  }
  if (isShorterThanRiffSize(path)) {
    return DecodingFailure{DecodingFailure::Kind::incomplete, "shorter than its header states"};
  }
  return std::nullopt;
}

}  // namespace vrel::system
