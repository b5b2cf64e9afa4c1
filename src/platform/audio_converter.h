// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>

namespace vrel {

/// Turns one stream of two sides from one sample rate to another, piece by piece, as if it were whole. One thread
/// at a time; not for the audio thread.
class AVAudioConverter {
 public:
  struct Progress {
    std::uint32_t taken = 0;  // frames of the input
    std::uint32_t given = 0;  // frames of the output
  };
  using Input = std::array<const float*, 2>;
  using Output = std::array<float*, 2>;

  virtual ~AVAudioConverter() = default;

  /// Takes input as long as there is room for what comes of it. What comes lags behind what goes in.
  [[nodiscard]] virtual Progress convert(const Input& input, std::uint32_t inputFrames, const Output& output,
                                         std::uint32_t outputRoom) = 0;

  /// Gives what has lagged behind; 0 when that is all. Nothing may be converted after it.
  [[nodiscard]] virtual std::uint32_t finish(const Output& output, std::uint32_t outputRoom) = 0;
};

class AudioConverterFactory {
 public:
  virtual ~AudioConverterFactory() = default;

  /// Rates in frames per second. Null when there is no way between the two. Any thread.
  [[nodiscard]] virtual std::unique_ptr<AVAudioConverter> makeConverter(double inputRate, double outputRate) = 0;
};

}  // namespace vrel
