// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>

namespace vrel {

// The tempos that can be played, beats per minute. A stored song may have any other; each user limits it.

inline constexpr std::uint32_t slowestTempoBpm = 20;
inline constexpr std::uint32_t fastestTempoBpm = 300;

[[nodiscard]] constexpr std::uint32_t limitedTempo(std::uint32_t bpm) {
  return std::clamp(bpm, slowestTempoBpm, fastestTempoBpm);
}

}  // namespace vrel
