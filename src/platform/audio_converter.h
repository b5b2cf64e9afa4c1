// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>

namespace vrel {

/// Converts one stereo stream from one sample rate to another, chunk by chunk, as if it were converted at once. One
/// thread at a time; not for the audio thread.
class AVAudioConverter {
 public:
  struct Progress {
    std::uint32_t taken = 0;  // frames of the input
    std::uint32_t given = 0;  // frames of the output
  };
  using Input = std::array<const float*, 2>;
  using Output = std::array<float*, 2>;

  virtual ~AVAudioConverter() = default;

  /// Takes input as long as there is room for the output. The output lags behind the input.
  [[nodiscard]] virtual Progress convert(const Input& input, std::uint32_t inputFrames, const Output& output,
                                         std::uint32_t outputRoom) = 0;

  /// Flushes the rest of the output; 0 when there is none left. Nothing may be converted after it.
  [[nodiscard]] virtual std::uint32_t finish(const Output& output, std::uint32_t outputRoom) = 0;
};

class AudioConverterFactory {
 public:
  virtual ~AudioConverterFactory() = default;

  /// Rates in frames per second. Null when that conversion is not supported. Any thread.
  [[nodiscard]] virtual std::unique_ptr<AVAudioConverter> makeConverter(double inputRate, double outputRate) = 0;
};

}  // namespace vrel
