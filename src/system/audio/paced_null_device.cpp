// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/paced_null_device.h"

#include <chrono>
#include <string>
#include <system_error>
#include <utility>

namespace vrel::audio {

PacedNullDevice::PacedNullDevice(double sampleRate, std::uint32_t blockFrames, Sink sink)
    : sampleRate_(sampleRate),
      blockFrames_(blockFrames),
      sink_(std::move(sink)),
      left_(blockFrames),
      right_(blockFrames) {}

PacedNullDevice::~PacedNullDevice() {
  stop();
}

Outcome PacedNullDevice::start(BlockRenderer& renderer) {
  if (!(sampleRate_ > 0) || blockFrames_ == 0) {
    return Error{"the paced device needs a sample rate and a block size above zero"};
  }
  if (thread_.joinable()) {
    return Error{"the paced device is in use by another engine"};
  }
  stopping_.store(false);
  try {
    thread_ = std::thread([this, &renderer] { run(renderer); });
  } catch (const std::system_error& failure) {
    return Error{std::string("cannot start the thread of the paced device: ") + failure.what()};
  }
  return {};
}

void PacedNullDevice::stop() {
  stopping_.store(true);
  if (thread_.joinable()) {
    thread_.join();
  }
}

void PacedNullDevice::run(BlockRenderer& renderer) {
  using Clock = std::chrono::steady_clock;
  const auto period = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(static_cast<double>(blockFrames_) / sampleRate_));
  Clock::time_point deadline = Clock::now();
  while (!stopping_.load()) {
    renderer.render(left_.data(), right_.data(), blockFrames_);
    if (sink_) {
      sink_(left_, right_);
    }
    blocksPlayed_.fetch_add(1);
    deadline += period;
    if (const auto now = Clock::now(); now > deadline + period) {
      // As a card does: what was missed stays missed, and the next deadline counts from now.
      missedDeadlines_.fetch_add(1);
      deadline = now;
    }
    std::this_thread::sleep_until(deadline);
  }
}

}  // namespace vrel::audio
