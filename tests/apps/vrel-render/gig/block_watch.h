// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "system/audio/paced_null_device.h"
#include "system/plugins/plugin_counters.h"

namespace vrel {

/// A paced device that looks at each block: how long it took, and whose fault it was when that was too long.
///
/// A block is late that took longer than it lasts. It is a plug-in's fault when a plug-in was given up in it; the
/// machine's when it would have been in time but for the moments in which the thread could have run and the machine ran
/// somebody else; and otherwise the program's.
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
  std::atomic<std::int64_t> longestOfProgram{0};  // nanoseconds that no one else had

 private:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override;
  void pump() override { renderer_->pump(); }

  const std::shared_ptr<const PluginCounters> plugins_;
  audio::BlockRenderer* renderer_ = nullptr;
  audio::PacedNullDevice device_;
};

}  // namespace vrel
