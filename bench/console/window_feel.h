// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <cstddef>
#include <functional>
#include <vector>

class QQuickWindow;

namespace vrel::app::bench {

/// A press of the pointer, and what it leads to.
struct Press {
  QPointF place;  // in the window
  std::function<bool()> isShown;
};

/// Runs Qt's loop for so many milliseconds.
void pump(int milliseconds);

/// Milliseconds of processor time that the calling thread has used so far.
[[nodiscard]] double threadMilliseconds();

/// Milliseconds from each press to the end of the first frame with what it led to, sorted.
struct Presses {
  std::vector<double> times;
  std::vector<double> processor;  // of those, what the window's thread computed
};
/// They come at random times, one after the other. Throws when a press leads to nothing.
Presses measurePresses(QQuickWindow& window, std::size_t presses, const std::function<Press()>& next);

/// What a window can do at best here: one with a single rectangle, which is drawn again 60 times a second and changes
/// its colour when it is pressed.
struct BareWindow {
  double framesPerSecond = 0;
  Presses presses;
};
BareWindow measureBareWindow(std::size_t presses);

}  // namespace vrel::app::bench
