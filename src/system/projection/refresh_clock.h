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

  /// The instant of the refresh that has begun by `now`, when the last swap returned. Later than the one before by
  /// about whole periods. `hasWaited`: that swap waited for the screen, so that `now` is no earlier than a refresh.
  double next(double now, bool hasWaited);

  /// Whether the last refresh followed another without a rest, so that the next one can be foreseen.
  [[nodiscard]] bool isRunning() const { return isRunning_; }

  /// How long to wait at `now` so as not to draw more often than the screen shows; 0 when its refresh is due.
  [[nodiscard]] double untilNext(double now, bool hasWaited) const;

  /// After a rest the refreshes count from the next one on.
  void rest() {
    last_.reset();
    isRunning_ = false;
  }

 private:
  double period_;
  std::optional<double> last_;
  bool isRunning_ = false;
};

/// How long before a refresh the picture for it must be begun, as late as possible, so that it shows what has happened
/// until then. What was added for a missed refresh is tried without after a minute or so, and after a longer time where
/// that misses again. A value; times in seconds.
class DrawingLead {
 public:
  explicit DrawingLead(double period);

  /// At most a period, which is as early as possible.
  [[nodiscard]] double seconds() const;

  /// A picture was ready so long after the moment that was meant. `hasMissed`: its refresh passed all the same.
  void drew(double seconds, bool hasMissed);

 private:
  double period_;
  double longest_;     // lately; at first as long as can be
  double unseen_ = 0;  // what else must pass before the refresh, a compositor's work, say
  int refreshes_ = 0;  // since that has changed
  int untilTrial_;     // refreshes
  bool isTrial_ = false;
};

}  // namespace vrel::system
