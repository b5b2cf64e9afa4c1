// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/refresh_clock.h"

#include <algorithm>
#include <cmath>

namespace vrel::system {
namespace {

constexpr double usualRate = 60;
constexpr double lowestRate = 10;
constexpr double highestRate = 1000;
constexpr double correction = 0.1;       // of what a thread was early or late
constexpr double longestGap = 8;         // periods; after that it begins again
constexpr double earliestRefresh = 0.5;  // of a period: a swap that returns sooner did not wait for the screen

double known(double rate) {
  return rate >= lowestRate && rate <= highestRate ? rate : usualRate;
}

}  // namespace

RefreshClock::RefreshClock(double refreshesPerSecond) : period_(1 / known(refreshesPerSecond)) {}

double RefreshClock::next(double now) {
  if (!last_ || now < *last_ || now > *last_ + longestGap * period_) {
    last_ = now;
    return now;
  }
  const double periods = std::max(1.0, std::round((now - *last_) / period_));
  const double expected = *last_ + periods * period_;
  last_ = expected + correction * (now - expected);
  return *last_;
}

double RefreshClock::untilNext(double now) const {
  return last_ && now < *last_ + earliestRefresh * period_ ? *last_ + period_ - now : 0;
}

}  // namespace vrel::system
