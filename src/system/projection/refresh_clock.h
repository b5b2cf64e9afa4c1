// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace vrel::system {

/// The instants of a screen's refreshes, smoothed: a thread wakes now a little early, now a little late, and pictures
/// that are chosen by its clock would come double or be missed. A value; times in seconds.
class RefreshClock {
 public:
  /// An impossible rate counts as 60 a second.
  explicit RefreshClock(double refreshesPerSecond);

  [[nodiscard]] double period() const { return period_; }

  /// The instant of the refresh that is drawn at `now`. Later than the one before by about whole periods.
  double next(double now);

  /// How long to wait at `now` so as not to draw more often than the screen shows; 0 when its refresh is due.
  [[nodiscard]] double untilNext(double now) const;

  /// After a rest the refreshes count from the next one on.
  void rest() { last_.reset(); }

 private:
  double period_;
  std::optional<double> last_;
};

}  // namespace vrel::system
