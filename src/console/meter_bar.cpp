// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_bar.h"

#include <algorithm>
#include <cmath>

namespace vrel {
namespace {

constexpr double silence = 0.000001;  // linear
constexpr double rangeDecibels = 48;
constexpr double scaleExponent = 0.9;
constexpr double gate = 0.02;
// Proportions of the way to the new value, a tick.
constexpr double stabilizerFall = 0.34;
constexpr double attack = 0.98;
constexpr double release = 0.24;
constexpr double holdTime = 0.22;   // seconds
constexpr double holdFall = 0.055;  // of the scale, a tick
constexpr double hotFrom = 0.7;
constexpr double overFrom = 0.92;

}  // namespace

double meterProportion(double level, double calibrationDecibels) {
  if (!(level > silence)) {
    return 0;
  }
  const double decibels = 20 * std::log10(level) + calibrationDecibels;
  if (!(decibels >= -rangeDecibels)) {
    return 0;
  }
  return std::pow((std::min(decibels, 0.0) + rangeDecibels) / rangeDecibels, scaleExponent);
}

double meterDecibels(double proportion) {
  return std::pow(std::clamp(proportion, 0.0, 1.0), 1 / scaleExponent) * rangeDecibels - rangeDecibels;
}

void MeterBar::sample(double level, double calibrationDecibels) {
  const double proportion = meterProportion(level, calibrationDecibels);
  const double gated = proportion < gate ? 0 : proportion;
  if (stabilized_ <= gated) {
    stabilized_ = gated;
  } else {
    stabilized_ += (gated - stabilized_) * stabilizerFall;
  }
}

void MeterBar::advance() {
  displayed_ += (stabilized_ - displayed_) * (displayed_ <= stabilized_ ? attack : release);
  if (!isPeakHoldEnabled_) {
    hold_ = displayed_;
    holdSeconds_ = 0;
  } else if (hold_ <= displayed_) {
    hold_ = displayed_;
    holdSeconds_ = holdTime;
  } else if (holdSeconds_ > 0) {
    holdSeconds_ -= 1 / refreshRate;
  } else {
    hold_ = std::max(displayed_, hold_ - holdFall);
  }
}

double MeterSegments::proportion(std::size_t segment) const {
  return static_cast<double>(segment + 1) / static_cast<double>(count);
}

MeterZone MeterSegments::zone(std::size_t segment) const {
  const double top = proportion(segment);
  return top >= overFrom ? MeterZone::over : top >= hotFrom ? MeterZone::hot : MeterZone::safe;
}

std::size_t MeterSegments::lit(double displayed) const {
  std::size_t segments = 0;
  while (segments < count && proportion(segments) <= displayed) {
    ++segments;
  }
  return segments;
}

double MeterSegments::height(double columnHeight) const {
  const auto segments = static_cast<double>(count);
  return std::max(1.0, (columnHeight - (segments - 1) * gap) / segments);
}

}  // namespace vrel
