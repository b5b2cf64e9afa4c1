// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "platform/audio_converter.h"

namespace vrel::system {

/// Converts stereo audio from one sample rate to another, with soxr.
class AudioRateConverter final : public AVAudioConverter {
 public:
  [[nodiscard]] static std::unique_ptr<AVAudioConverter> make(double inputRate, double outputRate);
  ~AudioRateConverter() override;
  AudioRateConverter(const AudioRateConverter&) = delete;
  AudioRateConverter& operator=(const AudioRateConverter&) = delete;

  [[nodiscard]] Progress convert(const Input& input, std::uint32_t inputFrames, const Output& output,
                                 std::uint32_t outputRoom) override;
  [[nodiscard]] std::uint32_t finish(const Output& output, std::uint32_t outputRoom) override;

 private:
  struct Handle;
  explicit AudioRateConverter(std::unique_ptr<Handle> handle);

  const std::unique_ptr<Handle> handle_;
};

}  // namespace vrel::system
