// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

/// The stretch of a file that a playback channel plays.
struct PlaybackRange {
  double start = 0;  // seconds
  double end = 0;    // seconds, not below `start`
  std::int64_t startFrame = 0;
  std::uint32_t frameCount = 1;  // at least 1

  bool operator==(const PlaybackRange&) const = default;
};

/// Brings configured times into a file of `duration` seconds; an end that is not above the start means
/// the end of the file. A range of more than 2^32 - 1 frames stops the program.
[[nodiscard]] PlaybackRange normalisedPlaybackRange(double start, double end, double duration, double sampleRate);

}  // namespace vrel
