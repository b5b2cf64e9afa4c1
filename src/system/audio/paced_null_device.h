// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <thread>
#include <vector>

#include "system/audio/output_device.h"

namespace vrel::audio {

/// A device without a sound card: a thread of its own asks for blocks at the pace at which a card
/// would, by absolute deadlines, and throws them away. For tests, and for a machine with no output.
class PacedNullDevice : public OutputDevice {
 public:
  /// Gets each block on the device's thread, outside the audio role, instead of a loudspeaker.
  using Sink = std::function<void(std::span<const float> left, std::span<const float> right)>;

  PacedNullDevice(double sampleRate, std::uint32_t blockFrames, Sink sink = {});
  ~PacedNullDevice() override;

  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return blockFrames_; }
  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return thread_.joinable(); }
  [[nodiscard]] Outcome start(BlockRenderer& renderer) override;
  void stop() override;

  /// Blocks played, and deadlines that had passed by more than a block when the thread came to
  /// them. Any thread.
  [[nodiscard]] std::uint64_t blocksPlayed() const { return blocksPlayed_.load(); }
  [[nodiscard]] std::uint64_t missedDeadlines() const { return missedDeadlines_.load(); }

 private:
  void run(BlockRenderer& renderer);

  const double sampleRate_;
  const std::uint32_t blockFrames_;
  const Sink sink_;
  std::vector<float> left_;
  std::vector<float> right_;
  std::atomic<bool> stopping_{false};
  std::atomic<std::uint64_t> blocksPlayed_{0};
  std::atomic<std::uint64_t> missedDeadlines_{0};
  std::thread thread_;
};

}  // namespace vrel::audio
