// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "vrel/logic_side.h"
#include "vrel/window_side.h"

namespace vrel::app {

/// The program: its logic on one thread, its window on another, each posting to the other. Made, started and let go of
/// on Qt's thread, whose loop its maker runs.
class TwoSides {
 public:
  TwoSides();
  ~TwoSides();
  TwoSides(const TwoSides&) = delete;
  TwoSides& operator=(const TwoSides&) = delete;

  void start() { logic.start(window); }

  /// The system is about to end, and does not wait for ever.
  void systemEnds();

  LogicSide logic;
  WindowSide window;  // ends after the logic, which uses it
};

}  // namespace vrel::app
