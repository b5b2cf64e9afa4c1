// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Whether every sample is a number: neither NaN nor infinite. Looks at the exponents' bits, so it
/// holds whatever the compiler may assume of arithmetic, and has no branch in its loop.
[[nodiscard]] inline bool isFinite(const float* samples, std::uint32_t frameCount) noexcept {
  constexpr std::uint32_t exponentMask = 0x7F800000U;
  std::uint32_t found = 0;
  for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
    const std::uint32_t exponent = std::bit_cast<std::uint32_t>(samples[frame]) & exponentMask;
    found |= exponent == exponentMask ? 1U : 0U;
  }
  return found == 0;
}

/// Makes the whole block silent, on all its channels, when any sample of it is not a number.
/// Returns whether it did, so that the caller can count it. Wait-free.
inline bool silenceIfNotFinite(const Stream& stream, std::uint32_t frameCount) noexcept {
  bool finite = true;
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    finite = isFinite(stream.channels[channel], frameCount) && finite;
  }
  if (finite) {
    return false;
  }
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    std::fill_n(stream.channels[channel], frameCount, 0.0F);
  }
  return true;
}

}  // namespace vrel::audio
