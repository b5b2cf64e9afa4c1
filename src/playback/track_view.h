// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The stretch of a file that the width of a waveform shows. Pure functions; any thread.

namespace vrel {

struct TrackView {
  double from = 0;    // seconds
  double length = 0;  // seconds; all of the file at first

  bool operator==(const TrackView&) const = default;
};

/// The whole file.
[[nodiscard]] TrackView wholeTrackView(double duration);

/// Closer by `factor`, or farther by one below 1; what is at `position`, 0 to 1 of the width, stays where it is, as far
/// as the file reaches. Never closer than `mostFine` seconds, which is some single frames, nor farther than the file.
[[nodiscard]] TrackView zoomedTrackView(const TrackView& view, double factor, double position, double mostFine,
                                        double duration);

/// Moved to the right by so many widths, within the file.
[[nodiscard]] TrackView scrolledTrackView(const TrackView& view, double widths, double duration);

}  // namespace vrel
