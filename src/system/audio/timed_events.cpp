// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/timed_events.h"

#include <algorithm>
#include <cmath>

namespace vrel::audio {
namespace {

// What is to come even later than in this time, seconds, was not played then: a clock has jumped.
constexpr double longestWait = 0.2;

}  // namespace

std::span<DeviceEvent> TimedEvents::take(std::uint64_t blockTime, std::uint32_t frameCount,
                                         double sampleRate) noexcept {
  std::size_t count = 0;
  double lastFrame = 0;
  const Played* played = nullptr;
  while (count < due_.size() && (played = ring_.front()) != nullptr) {
    const double sinceBlock =
        static_cast<double>(played->time - static_cast<std::int64_t>(blockTime)) * sampleRate / 1e9;
    double frame = std::max(std::round(sinceBlock + frameCount), lastFrame);
    if (frame >= frameCount && frame < frameCount + longestWait * sampleRate) {
      break;
    }
    frame = frame < frameCount ? frame : lastFrame;
    due_[count++] = {static_cast<std::uint32_t>(frame), played->message};
    lastFrame = frame;
    ring_.pop();
  }
  return std::span(due_).first(count);
}

}  // namespace vrel::audio
