// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/refresh_clock.h"

#include <algorithm>
#include <cmath>

namespace vrel::system {
namespace {

constexpr double usualRate = 60;
constexpr double lowestRate = 10;
constexpr double highestRate = 1000;
constexpr double correction = 0.1;        // of what a thread was early or late
constexpr double longestGap = 8;          // periods; after that it begins again
constexpr double earliestRefresh = 0.95;  // of a period: a swap that returns sooner did not wait for the screen
constexpr double earliestWaited = 0.5;    // one that did: the refreshes were expected too late
constexpr double margin = 0.06;           // of a period, between a picture and its refresh
constexpr double forgottenPart = 0.1;     // of a long time, with each shorter one
constexpr double unseenStep = 0.1;        // of a period
constexpr int firstTrial = 3600;          // refreshes
constexpr int lastTrial = 64 * firstTrial;

double known(double rate) {
  return rate >= lowestRate && rate <= highestRate ? rate : usualRate;
}

}  // namespace

RefreshClock::RefreshClock(double refreshesPerSecond) : period_(1 / known(refreshesPerSecond)) {}

double RefreshClock::next(double now, bool hasWaited) {
  const bool goesOn = last_ && now <= *last_ + longestGap * period_;
  // The first was drawn at any moment; what waited for a refresh since then says when these are.
  if (!goesOn || (!isRunning_ && now > *last_)) {
    isRunning_ = goesOn;
    last_ = now;
    return now;
  }
  const double periods = std::max(1.0, std::round((now - *last_) / period_));
  const double expected = *last_ + periods * period_;
  const double late = now - expected;
  const bool isMeasured = hasWaited || late >= (earliestRefresh - 1) * period_;
  last_ = expected + (isMeasured ? correction * late : 0);
  return *last_;
}

double RefreshClock::untilNext(double now, bool hasWaited) const {
  const double earliest = hasWaited ? earliestWaited : earliestRefresh;
  return isRunning_ && now < *last_ + earliest * period_ ? *last_ + period_ - now : 0;
}

DrawingLead::DrawingLead(double period) : period_(period), longest_(period), untilTrial_(firstTrial) {}

double DrawingLead::seconds() const {
  return std::min(period_, longest_ + unseen_ + margin * period_);
}

void DrawingLead::drew(double seconds, bool hasMissed) {
  ++refreshes_;
  if (hasMissed && seconds <= longest_ + margin * period_) {
    unseen_ = std::min(period_, unseen_ + unseenStep * period_);
    untilTrial_ = isTrial_ ? std::min(2 * untilTrial_, lastTrial) : untilTrial_;
    isTrial_ = false;
    refreshes_ = 0;
  } else if (refreshes_ >= untilTrial_) {
    isTrial_ = unseen_ > 0;
    unseen_ = std::max(0.0, unseen_ - unseenStep * period_);
    refreshes_ = 0;
  }
  longest_ = std::max(seconds, longest_ - forgottenPart * (longest_ - seconds));
}

}  // namespace vrel::system
