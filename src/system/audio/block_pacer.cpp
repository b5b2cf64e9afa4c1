// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/block_pacer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vrel::audio {
namespace {

constexpr double nanosecondsPerSecond = 1e9;

// Low enough that what a sound server buffers moves no beat by a millisecond, high enough to settle within seconds.
constexpr double bandwidthHertz = 0.1;

// Longer than any buffer of a device; who is later has stopped in between.
constexpr double longestLag = 0.25 * nanosecondsPerSecond;

// No clocks differ by more.
constexpr double largestDrift = 0.01;

}  // namespace

std::uint64_t BlockPacer::begin(std::uint64_t now, std::uint32_t frameCount, double sampleRate) noexcept {
  const auto asked = static_cast<double>(now);
  if (!hasBegun_ || std::abs(asked - expected_) > longestLag) {
    hasBegun_ = true;
    expected_ = asked;
    drift_ = 0;
  }
  const double start = expected_;
  const double error = asked - start;
  const double duration = nanosecondsPerSecond * frameCount / sampleRate;
  const double omega = 2 * std::numbers::pi * bandwidthHertz * frameCount / sampleRate;
  drift_ = std::clamp(drift_ + omega * omega * error / duration, -largestDrift, largestDrift);
  expected_ += duration * (1 + drift_) + std::numbers::sqrt2 * omega * error;
  return static_cast<std::uint64_t>(start);
}

}  // namespace vrel::audio
