// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

// The signal chain of one bar of a level meter, from linear peaks to what is drawn. Plain values without allocation,
// any thread.

namespace vrel {

/// A linear level on the meter's scale: 0 at -48 dBFS and below, 1 at 0 dBFS and above, a little taller than linear in
/// decibels in its lower half. What is not a number is 0.
[[nodiscard]] double meterProportion(double level, double calibrationDecibels = 0);

/// The decibels of full scale at a place of the scale; nothing is drawn below -48.
[[nodiscard]] double meterDecibels(double proportion);

/// A bar with its peak-hold marker. A tick is `sample`, then `advance`, 120 times a second.
class MeterBar {
 public:
  static constexpr double refreshRate = 120;  // ticks per second

  explicit MeterBar(bool isPeakHoldEnabled = true) : isPeakHoldEnabled_(isPeakHoldEnabled) {}

  /// Takes the linear level of this tick: gates noise, rises at once, and falls a third of the way.
  void sample(double level, double calibrationDecibels = 0);

  /// Moves what is shown towards the level: up almost at once, down in a tenth of a second. The marker stays for 0.22
  /// seconds and then falls.
  void advance();

  [[nodiscard]] double target() const { return stabilized_; }
  [[nodiscard]] double displayed() const { return displayed_; }
  [[nodiscard]] double hold() const { return hold_; }

 private:
  bool isPeakHoldEnabled_;
  double stabilized_ = 0;
  double displayed_ = 0;
  double hold_ = 0;
  double holdSeconds_ = 0;  // for which the marker still stays
};

/// The colours of the segments, from the bottom.
enum class MeterZone : unsigned char { safe, hot, over };

/// The column of segments that a bar is drawn as, counted from the bottom.
struct MeterSegments {
  static constexpr double gap = 1;  // between two segments, points

  std::size_t count = 22;

  /// Where a segment ends on the scale.
  [[nodiscard]] double proportion(std::size_t segment) const;
  [[nodiscard]] MeterZone zone(std::size_t segment) const;
  /// How many are lit at a displayed value.
  [[nodiscard]] std::size_t lit(double displayed) const;
  /// Of one segment, in points, in a column of this height.
  [[nodiscard]] double height(double columnHeight) const;
};

/// Whether the marker can be seen.
[[nodiscard]] constexpr bool isMeterHoldShown(double hold) {
  return hold > 0.0001;
}

}  // namespace vrel
