// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vrel::window {

/// How meters share the time of a frame where each change of one is dear, in software: each is drawn in every n-th
/// frame, n as small as the time allows that all of them may take. A few are drawn in each frame.
class MeterTurns {
 public:
  static constexpr double meterMicroseconds = 15;  // to draw one, whatever its size
  static constexpr double pixelMicroseconds = 0.0015;
  static constexpr double frameMicroseconds = 400;  // for all meters
  static constexpr std::size_t mostTurns = 5;       // twelve times a second

  /// One more meter; which one it is.
  [[nodiscard]] std::size_t join() { return joined_++; }

  /// After all of a frame were counted.
  void beginFrame() {
    const double turns = std::ceil(microseconds_ / frameMicroseconds);
    turns_ = std::clamp(static_cast<std::size_t>(turns), std::size_t{1}, mostTurns);
    microseconds_ = 0;
    ++frame_;
  }

  /// A meter that can be seen in this frame, of so many pixels.
  void count(double pixels) { microseconds_ += meterMicroseconds + pixels * pixelMicroseconds; }

  [[nodiscard]] bool isInTurn(std::size_t meter) const { return (frame_ + meter) % turns_ == 0; }

 private:
  std::size_t joined_ = 0;
  std::size_t frame_ = 0;
  std::size_t turns_ = 1;
  double microseconds_ = 0;  // of those that were counted
};

}  // namespace vrel::window
