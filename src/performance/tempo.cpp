// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/tempo.h"

#include <algorithm>
#include <cmath>

#include "document/app_state.h"
#include "document/entered_text.h"
#include "engine/audio_engine.h"
#include "platform/clock.h"

namespace vrel {

namespace {

constexpr double nanosecondsPerSecond = 1e9;
constexpr double secondsPerMinute = 60.0;

}  // namespace

void Tempo::setTempo(std::uint32_t bpm) {
  const std::uint32_t limited = std::clamp(bpm, slowestBpm, fastestBpm);
  state_.tempoBpm.set(limited);
  engine_.setTempo(limited);
  state_.markEdited();
}

void Tempo::changeTempo(std::int64_t bpm) {
  const auto limited = static_cast<std::uint32_t>(std::clamp<std::int64_t>(bpm, slowestBpm, fastestBpm));
  if (limited != state_.tempoBpm.get()) {
    setTempo(limited);
  }
}

void Tempo::enterTempo(std::string_view text) {
  if (const auto bpm = enteredInteger(text)) {
    changeTempo(*bpm);
  }
}

void Tempo::stepTempo(int by) {
  changeTempo(std::int64_t{state_.tempoBpm.get()} + by);
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
  setTempo(
      static_cast<std::uint32_t>(std::clamp(bpm, static_cast<double>(slowestBpm), static_cast<double>(fastestBpm))));
}

}  // namespace vrel
