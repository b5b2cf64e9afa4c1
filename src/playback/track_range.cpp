// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/track_range.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vrel {
namespace {

constexpr double secondsPerMinute = 60;
constexpr std::size_t secondsWidth = 5;  // "SS.hh"

// In this order, a value that is not a number becomes the bound.
double atLeast(double bound, double value) {
  return std::max(bound, value);
}
double atMost(double bound, double value) {
  return std::min(bound, value);
}

}  // namespace

TrackRange openedTrackRange(const TrackRange& now, const TrackRange& initial, double duration) {
  if (now.end > now.start && now.end != 0) {
    return now;
  }
  TrackRange range;
  range.start = atMost(duration, atLeast(0, initial.start));
  range.end = range.start < initial.end ? atMost(duration, initial.end) : duration;
  return range;
}

TrackRange normalisedTrackRange(TrackRange range, double duration, TrackPoint held) {
  range.start = atMost(atLeast(0, duration - smallestTrackRange), atLeast(0, range.start));
  range.end = atMost(duration, atLeast(smallestTrackRange, range.end));
  if (range.end > range.start) {
    return range;
  }
  if (held == TrackPoint::entry) {
    range.end = atMost(duration, range.start + smallestTrackRange);
  } else {
    range.start = atLeast(0, range.end - smallestTrackRange);
  }
  return range;
}

double beatSeconds(std::uint32_t tempoBpm) {
  return secondsPerMinute / std::max(tempoBpm, 1U);
}

double snappedExitTime(double time, double start, std::uint32_t tempoBpm, double duration) {
  const double beat = beatSeconds(tempoBpm);
  const double beats = atLeast(1, std::round((time - start) / beat));
  return atMost(duration, atLeast(start, start + beats * beat));
}

std::vector<double> beatMarkers(double start, double duration, std::uint32_t tempoBpm) {
  std::vector<double> markers;
  if (!(start < duration)) {
    return markers;
  }
  const double beat = beatSeconds(tempoBpm);
  const int count = static_cast<int>(atMost(mostBeatMarkers, atLeast(0, (duration - start) / beat)));
  markers.reserve(static_cast<std::size_t>(count) + 1);
  for (int index = 0; index <= count; ++index) {
    markers.push_back(start + index * beat);
  }
  return markers;
}

TrackPoint nearestTrackPoint(double time, const TrackRange& range) {
  return std::abs(time - range.start) <= std::abs(time - range.end) ? TrackPoint::entry : TrackPoint::exit;
}

TrackRange nudgedTrackRange(TrackRange range, TrackPoint point, double step, int beats, std::uint32_t tempoBpm,
                            double duration) {
  if (point == TrackPoint::entry) {
    range.start += step;
  } else {
    range.end = snappedExitTime(range.end + beats * beatSeconds(tempoBpm), range.start, tempoBpm, duration);
  }
  return range;
}

std::string trackTimeText(double seconds) {
  const double time = atLeast(0, seconds);
  const double minutes = std::floor(time / secondsPerMinute);
  std::array<char, 32> digits{};  // more than any finite number below a minute needs
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), std::fmod(time, secondsPerMinute),
                                     std::chars_format::fixed, 2);
  std::string text(digits.data(), written.ptr);
  text.insert(0, secondsWidth - std::min(secondsWidth, text.size()), '0');
  return std::to_string(static_cast<long long>(minutes)) + ":" + text;
}

}  // namespace vrel
