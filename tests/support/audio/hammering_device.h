// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "system/audio/output_device.h"

namespace vrel::audio::test {

/// Requests blocks without a pause, in odd sizes, from a thread of its own: the worst case of a device. Each brings a
/// key that is pressed and released.
class HammeringDevice final : public OutputDevice {
 public:
  ~HammeringDevice() override { stop(); }

  [[nodiscard]] double sampleRate() const override { return 48000; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return 128; }
  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return thread_.joinable(); }

  [[nodiscard]] Outcome start(BlockRenderer& renderer) override {
    stopping_.store(false);
    thread_ = std::thread([this, &renderer] {
      constexpr std::array<std::uint32_t, 8> sizes{128, 1, 31, 33, 127, 1000, 1024, 64};
      std::vector<float> left(1024);
      std::vector<float> right(1024);
      for (std::size_t turn = 0; !stopping_.load(); ++turn) {
        std::array<DeviceEvent, 2> events{{{0, {0x90, 60, 100}}, {0, {0x80, 60, 0}}}};
        renderer.renderWithEvents(left.data(), right.data(), sizes[turn % sizes.size()], events);
        blocks_.fetch_add(1);
      }
    });
    return {};
  }
  void stop() override {
    stopping_.store(true);
    if (thread_.joinable()) {
      thread_.join();
    }
  }

  /// Returns when `count` more blocks have been rendered.
  void awaitBlocks(std::uint64_t count) const {
    const std::uint64_t until = blocks_.load() + count;
    while (blocks_.load() < until) {
      std::this_thread::yield();
    }
  }

 private:
  std::atomic<bool> stopping_{false};
  std::atomic<std::uint64_t> blocks_{0};
  std::thread thread_;
};

/// A device that fails to open, a given number of times.
class FailingDevice final : public OutputDevice {
 public:
  explicit FailingDevice(int failures) : failures_(failures) {}
  [[nodiscard]] double sampleRate() const override { return 48000; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return 128; }
  [[nodiscard]] bool isRealTime() const override { return false; }
  [[nodiscard]] bool isRunning() const override { return running_; }
  [[nodiscard]] Outcome start(BlockRenderer&) override {
    if (failures_ > 0) {
      --failures_;
      return Error{"the sound card is gone"};
    }
    running_ = true;
    return {};
  }
  void stop() override { running_ = false; }

 private:
  int failures_;
  bool running_ = false;
};

}  // namespace vrel::audio::test
