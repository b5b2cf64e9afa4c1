// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

#include "system/audio/node_processor.h"

namespace vrel::audio {

/// The largest sample that a strip may deliver: 120 dB above full scale. What is larger overflows in a gain or a sum
/// further on, and would silence the whole mix there.
inline constexpr float largestSample = 1e6F;

/// Whether every sample is a number of at most this magnitude. Compares the bits, in which NaN and infinity are above
/// every number, so it holds whatever the compiler may assume of arithmetic, and has no branch in its loop.
[[nodiscard]] inline bool isWithin(float limit, const float* samples, std::uint32_t frameCount) noexcept {
  constexpr std::uint32_t magnitudeMask = 0x7FFFFFFFU;
  const auto largest = std::bit_cast<std::uint32_t>(limit);
  std::uint32_t found = 0;
  for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
    found |= (std::bit_cast<std::uint32_t>(samples[frame]) & magnitudeMask) > largest ? 1U : 0U;
  }
  return found == 0;
}

/// Makes the whole block silent, on all its channels, when any sample of it is not a number of at most this magnitude.
/// Returns whether it did, so that the caller can count it. Wait-free.
inline bool silenceUnlessWithin(float limit, const Stream& stream, std::uint32_t frameCount) noexcept {
  bool isSound = true;
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    isSound = isWithin(limit, stream.channels[channel], frameCount) && isSound;
  }
  if (isSound) {
    return false;
  }
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    std::fill_n(stream.channels[channel], frameCount, 0.0F);
  }
  return true;
}

/// For the mix, whose strips have been checked already: silence when a sample is NaN or infinite.
inline bool silenceIfNotFinite(const Stream& mix, std::uint32_t frameCount) noexcept {
  return silenceUnlessWithin(std::numeric_limits<float>::max(), mix, frameCount);
}

/// For what a strip plays: silence when a sample is NaN, infinite or above `largestSample`.
inline bool silenceIfTooLarge(const Stream& stream, std::uint32_t frameCount) noexcept {
  return silenceUnlessWithin(largestSample, stream, frameCount);
}

}  // namespace vrel::audio
