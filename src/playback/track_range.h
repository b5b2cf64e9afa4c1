// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The laws of the entry and the exit point of a track while they are set up. Times are seconds from the start of the
// file, `duration` is the length of the file. Pure functions; any thread.

namespace vrel {

enum class TrackPoint { entry, exit };

struct TrackRange {
  double start = 0;
  double end = 0;

  bool operator==(const TrackRange&) const = default;
};

/// The least distance of the two points, where the file is that long.
inline constexpr double smallestTrackRange = 0.05;
/// More lines than this are not drawn.
inline constexpr int mostBeatMarkers = 512;
/// Every so many lines of the grid one is stronger.
inline constexpr int beatsPerStrongMarker = 4;

/// The range for a file that has been opened: `now`, or the initial one where that is empty, or all of the file.
[[nodiscard]] TrackRange openedTrackRange(const TrackRange& now, const TrackRange& initial, double duration);

/// A legal range. Where the points are too close, the one that is `held` stays and the other gives way.
[[nodiscard]] TrackRange normalisedTrackRange(TrackRange range, double duration, TrackPoint held);

/// A tempo of 0 counts as 1.
[[nodiscard]] double beatSeconds(std::uint32_t tempoBpm);

/// The exit on the grid of beats that begins at the entry: at least one beat after it, and not behind the file.
[[nodiscard]] double snappedExitTime(double time, double start, std::uint32_t tempoBpm, double duration);

/// The lines of the grid, from the entry on.
[[nodiscard]] std::vector<double> beatMarkers(double start, double duration, std::uint32_t tempoBpm);

/// The point that a drag which begins at `time` takes: the nearer one, and the entry when both are as near.
[[nodiscard]] TrackPoint nearestTrackPoint(double time, const TrackRange& range);

/// A point as a key moves it: the entry by `step` seconds, the exit by `beats` on its grid. Not normalised yet.
[[nodiscard]] TrackRange nudgedTrackRange(TrackRange range, TrackPoint point, double step, int beats,
                                          std::uint32_t tempoBpm, double duration);

/// Such as "1:23.50", whatever the locale.
[[nodiscard]] std::string trackTimeText(double seconds);

}  // namespace vrel
