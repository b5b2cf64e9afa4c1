// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <thread>
#include <utility>

#include "system/audio/graph_node.h"

namespace vrel::audio::test {

/// The sample at a frame, counted from the first block the node renders, on a channel.
using Wave = std::function<float(std::uint64_t frame, std::uint32_t channel)>;

inline Wave constant(float value) {
  return [value](std::uint64_t, std::uint32_t) { return value; };
}

inline Wave sine(double hertz, double sampleRate, double amplitude = 0.5) {
  return [=](std::uint64_t frame, std::uint32_t) {
    return static_cast<float>(amplitude *
                              std::sin(2.0 * std::numbers::pi * hertz * static_cast<double>(frame) / sampleRate));
  };
}

inline Wave impulse(float value = 1.0F) {
  return [value](std::uint64_t frame, std::uint32_t) { return frame == 0 ? value : 0.0F; };
}

/// White noise between -1 and 1, different on each channel, the same in every run.
inline Wave noise(std::uint32_t seed = 1) {
  return [seed](std::uint64_t frame, std::uint32_t channel) {
    std::uint64_t state = (frame * 2 + channel + 1) * 0x9E3779B97F4A7C15ULL + seed;
    state = (state ^ (state >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    state = (state ^ (state >> 27U)) * 0x94D049BB133111EBULL;
    return static_cast<float>(static_cast<std::int32_t>((state ^ (state >> 31U)) & 0xFFFFFFFFU)) / 2147483648.0F;
  };
}

/// What the tests check about a processor afterwards. Outlives it.
struct ProcessorLog {
  std::atomic<std::uint64_t> blocks{0};
  std::atomic<std::uint64_t> frames{0};
  std::atomic<int> prepared{0};
  std::atomic<bool> isMissing{false};  // set by a test: its blocks are silent in place of what it renders
  std::atomic<bool> destroyed{false};
  std::thread::id destroyedOn;  // valid when destroyed
};

class SourceProcessor final : public NodeProcessor {
 public:
  SourceProcessor(std::uint32_t channelCount, Wave wave, std::shared_ptr<ProcessorLog> log)
      : channelCount_(channelCount), wave_(std::move(wave)), log_(std::move(log)) {}
  ~SourceProcessor() override {
    log_->destroyedOn = std::this_thread::get_id();
    log_->destroyed.store(true);
  }

  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override { log_->prepared.fetch_add(1); }
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t) const override { return channelCount_; }

  [[nodiscard]] Delivery delivery() const noexcept override {
    return log_->isMissing.load() ? Delivery::missing : Delivery::whole;
  }

  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
      for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
        block.output.channels[channel][frame] = delivery() == Delivery::missing ? 0.0F : wave_(frame_, channel);
      }
      ++frame_;
    }
    log_->blocks.fetch_add(1);
    log_->frames.fetch_add(block.frameCount);
  }

 private:
  const std::uint32_t channelCount_;
  const Wave wave_;
  const std::shared_ptr<ProcessorLog> log_;
  std::uint64_t frame_ = 0;
};

/// A node that renders a formula.
class SourceNode final : public GraphNodeOf<AVAudioNode> {
 public:
  SourceNode(std::uint32_t channelCount, Wave wave)
      : processor_(std::make_shared<SourceProcessor>(channelCount, std::move(wave), log_)) {}

  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }
  [[nodiscard]] const std::shared_ptr<ProcessorLog>& log() const { return log_; }

 private:
  std::shared_ptr<ProcessorLog> log_ = std::make_shared<ProcessorLog>();
  std::shared_ptr<SourceProcessor> processor_;
};

inline std::shared_ptr<SourceNode> makeSource(std::uint32_t channelCount, Wave wave) {
  return std::make_shared<SourceNode>(channelCount, std::move(wave));
}

/// An effect that multiplies, for chains, unless it is bypassed.
class FactorProcessor final : public NodeProcessor {
 public:
  explicit FactorProcessor(float factor) : factor_(factor) {}
  void setBypassed(bool isBypassed) { isBypassed_ = isBypassed; }
  [[nodiscard]] Delivery delivery() const noexcept override {
    return isBypassed_ ? Delivery::bypassed : Delivery::whole;
  }
  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t count) const override { return count; }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    for (std::uint32_t channel = 0; !block.inputs.empty() && channel < block.output.channelCount; ++channel) {
      for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
        block.output.channels[channel][frame] =
            (isBypassed_ ? 1.0F : factor_) * block.inputs[0].channels[channel][frame];
      }
    }
  }

 private:
  const float factor_;
  std::atomic<bool> isBypassed_{false};
};

class FactorNode final : public GraphNodeOf<AVAudioNode> {
 public:
  explicit FactorNode(float factor) : processor_(std::make_shared<FactorProcessor>(factor)) {}
  void setBypassed(bool isBypassed) { processor_->setBypassed(isBypassed); }
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

 private:
  std::shared_ptr<FactorProcessor> processor_;
};

}  // namespace vrel::audio::test
