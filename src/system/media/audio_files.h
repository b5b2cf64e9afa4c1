// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/audio_converter.h"
#include "platform/audio_file.h"

namespace vrel::system {

/// Opens what libsndfile reads (WAV, AIFF, FLAC, Opus, MP3), and Vorbis with its own library, by content
/// and not by name; anything else with audio through FFmpeg (AAC, movies). Any thread.
class AudioFiles final : public AudioFileFactory, public AudioConverterFactory {
 public:
  /// Larger buffers are refused; longer audio is streamed.
  static constexpr std::uint64_t largestBufferBytes = std::uint64_t{256} << 20U;

  [[nodiscard]] Result<std::shared_ptr<AVAudioFile>> openForReading(const std::string& path) override;
  /// Vorbis by the quicker decoder.
  [[nodiscard]] std::shared_ptr<AVAudioFile> openForScanning(const std::string& path) override;
  [[nodiscard]] std::optional<std::string> contentIdentity(const std::string& path) override;
  [[nodiscard]] std::shared_ptr<AVAudioPCMBuffer> makePCMBuffer(AVAudioFormat format,
                                                                std::uint32_t frameCapacity) override;
  [[nodiscard]] std::unique_ptr<AVAudioConverter> makeConverter(double inputRate, double outputRate) override;
};

}  // namespace vrel::system
