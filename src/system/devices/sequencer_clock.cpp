// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/sequencer_clock.h"

#include <algorithm>
#include <cstdlib>

namespace vrel::system {
namespace {

constexpr std::int64_t longestQuestion = 20'000;
constexpr std::int64_t jump = 2'000'000;
constexpr std::int64_t weight = 32;  // of all that was observed before, against one observation

}  // namespace

void SequencerClock::observe(std::int64_t before, std::int64_t queueTime, std::int64_t after) {
  const std::int64_t uncertainty = (after - before) / 2;
  const std::int64_t offset = before + uncertainty - queueTime;
  if (!isKnown_ || uncertainty < uncertainty_ / 2 || std::abs(offset - offset_) > jump + uncertainty) {
    isKnown_ = true;
    offset_ = offset;
    uncertainty_ = uncertainty;
  } else if (after - before <= longestQuestion) {
    offset_ += (offset - offset_) / weight;
    uncertainty_ = std::min(uncertainty, uncertainty_);
  }
}

}  // namespace vrel::system
