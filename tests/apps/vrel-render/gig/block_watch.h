// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "system/audio/paced_null_device.h"
#include "system/plugins/plugin_counters.h"

namespace vrel {

/// A paced device that measures each block and attributes late ones.
///
/// A block is late when it took longer than its duration. The cause is a plug-in when a plug-in missed the block; the
/// machine when the block would have been in time without the moments in which the thread was ready and another one
/// ran; and otherwise the program.
class BlockWatch final : public audio::OutputDevice, private audio::BlockRenderer {
 public:
  BlockWatch(double sampleRate, std::uint32_t blockFrames, std::shared_ptr<const PluginCounters> plugins);
  ~BlockWatch() override { device_.stop(); }

  [[nodiscard]] double sampleRate() const override { return device_.sampleRate(); }
  [[nodiscard]] std::uint32_t blockFrames() const override { return device_.blockFrames(); }
  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return device_.isRunning(); }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override { device_.stop(); }

  std::atomic<std::uint64_t> blocks{0};
  std::atomic<std::uint64_t> soundingBlocks{0};
  std::atomic<std::uint64_t> lateByPlugin{0};
  std::atomic<std::uint64_t> lateByMachine{0};
  std::atomic<std::uint64_t> lateByProgram{0};
  std::atomic<std::int64_t> longestOfProgram{0};  // nanoseconds, without the machine's and plug-ins' share

 private:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override;
  void pump() override { renderer_->pump(); }

  const std::shared_ptr<const PluginCounters> plugins_;
  audio::BlockRenderer* renderer_ = nullptr;
  audio::PacedNullDevice device_;
};

}  // namespace vrel
