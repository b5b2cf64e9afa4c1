// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The sizes of the main window's areas, in points: lengths at a scale of 1, at which the window is 1366 by 768. Pure
// functions; any thread.

namespace vrel {

inline constexpr double stripWidth = 132;   // with the gap behind it
inline constexpr double masterWidth = 120;  // at most; it is narrower in Live mode
inline constexpr int wholeStrips = 7;       // in sight before the setlist takes more room

/// How many pixels a point is in a window of this size, in pixels, at the user's zoom: the larger the window, the
/// larger the console. Never below 0.9, since the smallest text is 13 points. A zoom of 0 is one that is not known yet.
[[nodiscard]] double windowScale(double width, double height, int zoomPercent);

/// The next zoom: by = 1 is larger, -1 smaller, 0 the normal 100 percent again.
[[nodiscard]] int steppedZoom(int zoomPercent, int by);

/// A zoom from the settings, where 0 is none and anything can be written: 100 percent unless it is one that
/// `steppedZoom` reaches.
[[nodiscard]] int storedZoom(long long zoomPercent);

/// The width of the column of songs in a window of this width. It becomes narrower before fewer strips are in sight.
[[nodiscard]] double setlistWidth(double windowWidth);

/// The height of the keyboard panel's bars, one for each strip. More than twelve scroll.
[[nodiscard]] double splitBandHeight(int strips);

}  // namespace vrel
