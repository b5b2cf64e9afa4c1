// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/tempo.h"

#include <algorithm>
#include <cmath>

#include "document/app_state.h"
#include "document/tempo_range.h"
#include "engine/audio_engine.h"
#include "platform/clock.h"

namespace vrel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;
constexpr double secondsPerMinute = 60.0;

}  // namespace

void Tempo::setTempo(std::uint32_t bpm) {
  const std::uint32_t limited = limitedTempo(bpm);
  state_.tempoBpm.set(limited);
  engine_.setTempo(limited);
  state_.isDirty.set(true);
}

void Tempo::tapTempo() {
  constexpr auto window = static_cast<std::uint64_t>(tapWindowSeconds * nanosecondsPerSecond);
  const std::uint64_t now = clock_.AudioConvertHostTimeToNanos(clock_.AudioGetCurrentHostTime());
  std::erase_if(tapTimes_, [now](std::uint64_t tap) { return now - tap >= window; });
  tapTimes_.push_back(now);
  // The intervals add up to the time from first to last. Whole numbers keep a half of a beat per minute exact, which
  // is rounded up.
  const std::uint64_t elapsed = tapTimes_.back() - tapTimes_.front();
  if (elapsed == 0) {
    return;
  }
  const auto intervals = static_cast<double>(tapTimes_.size() - 1);
  const double bpm = std::round(intervals * secondsPerMinute * nanosecondsPerSecond / static_cast<double>(elapsed));
  setTempo(static_cast<std::uint32_t>(
      std::clamp(bpm, static_cast<double>(slowestTempoBpm), static_cast<double>(fastestTempoBpm))));
}

}  // namespace vrel
