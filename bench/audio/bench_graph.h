// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "system/audio/graph_node.h"
#include "system/audio/mixer_node.h"
#include "system/audio/output_device.h"
#include "system/audio/render_engine.h"
#include "system/audio/reverb_node.h"

namespace vrel::audio::bench {

inline constexpr std::size_t stripCount = 16;
inline constexpr std::uint32_t blockFrames = 128;
inline constexpr double sampleRate = 48000;

/// A small instrument that plays one chord: four voices of two saws through a low-pass filter.
class ChordProcessor final : public NodeProcessor {
 public:
  void prepare(double rate) VREL_NOT_AUDIO_THREAD override { perHertz_ = static_cast<float>(1.0 / rate); }
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t) const override { return 2; }

  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    if (!isPlaying.load(std::memory_order_relaxed)) {
      return;
    }
    for (Voice& voice : voices_) {
      for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
        for (std::size_t channel = 0; channel < 2; ++channel) {
          voice.phase[channel] += voice.hertz * (channel == 0 ? 1.0F : 1.003F) * perHertz_;
          voice.phase[channel] -= voice.phase[channel] >= 1.0F ? 1.0F : 0.0F;
          voice.lowPass[channel] += 0.2F * (2.0F * voice.phase[channel] - 1.0F - voice.lowPass[channel]);
          block.output.channels[channel][frame] += 0.05F * voice.lowPass[channel];
        }
      }
    }
  }

  std::atomic<bool> isPlaying{true};

 private:
  struct Voice {
    float hertz;
    std::array<float, 2> phase{};
    std::array<float, 2> lowPass{};
  };
  float perHertz_ = 0;
  std::array<Voice, 4> voices_{Voice{.hertz = 110}, Voice{.hertz = 138.6F}, Voice{.hertz = 164.8F},
                               Voice{.hertz = 220}};
};

class ChordNode final : public GraphNodeOf<AVAudioNode> {
 public:
  void setPlaying(bool isPlaying) { processor_->isPlaying = isPlaying; }
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

 private:
  std::shared_ptr<ChordProcessor> processor_ = std::make_shared<ChordProcessor>();
};

/// A tone control: a low-pass filter per channel.
class ToneProcessor final : public NodeProcessor {
 public:
  void prepare(double) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t count) const override { return count; }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    for (std::uint32_t channel = 0; !block.inputs.empty() && channel < block.output.channelCount; ++channel) {
      for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
        state_[channel] += 0.5F * (block.inputs[0].channels[channel][frame] - state_[channel]);
        block.output.channels[channel][frame] = state_[channel];
      }
    }
  }

 private:
  std::array<float, 2> state_{};
};

class ToneNode final : public GraphNodeOf<AVAudioNode> {
 public:
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

 private:
  std::shared_ptr<ToneProcessor> processor_ = std::make_shared<ToneProcessor>();
};

/// One strip: the instrument, `effectCount` effects, the reverb and the meter mixer with its tap.
struct Strip {
  Strip(RenderEngine& engine, std::size_t effectCount) {
    chain.push_back(chord);
    for (std::size_t effect = 0; effect < effectCount; ++effect) {
      chain.push_back(std::make_shared<ToneNode>());
    }
    const auto reverb = std::make_shared<ReverbNode>();
    reverb->setWetDryMix(30);
    chain.push_back(reverb);
    const auto meter = std::make_shared<MixerNode>();
    meter->setOutputVolume(0.7F);
    meter->installTap(0, 128, std::nullopt, [](const AVAudioPCMBuffer&) {});
    chain.push_back(meter);
    for (const AVAudioEngine::Node& node : chain) {
      engine.attach(node);
    }
    wire(engine);
  }

  void wire(RenderEngine& engine) const {
    for (std::size_t index = 0; index + 1 < chain.size(); ++index) {
      engine.connect(chain[index], chain[index + 1], std::nullopt);
    }
    engine.connect(chain.back(), engine.mainMixerNode(), std::nullopt);
  }
  void unwire(RenderEngine& engine) const {
    for (const AVAudioEngine::Node& node : chain) {
      engine.disconnectNodeInput(node);
      engine.disconnectNodeOutput(node);
    }
  }

  std::shared_ptr<ChordNode> chord = std::make_shared<ChordNode>();
  std::vector<AVAudioEngine::Node> chain;
};

/// An engine with sixteen strips.
class BenchGraph {
 public:
  BenchGraph(const std::shared_ptr<OutputDevice>& device, std::size_t effectCount) : engine(device, counters) {
    engine.connect(engine.mainMixerNode(), engine.outputNode(), std::nullopt);
    for (std::size_t strip = 0; strip < stripCount; ++strip) {
      strips.emplace_back(engine, effectCount);
    }
    engine.mainMixerNode()->installTap(0, 256, std::nullopt, [](const AVAudioPCMBuffer&) {});
  }

  std::shared_ptr<RenderCounters> counters = std::make_shared<RenderCounters>();
  RenderEngine engine;
  std::vector<Strip> strips;
};

/// Renders on demand and delivers taps separately, as a real-time device does.
class ManualDevice final : public OutputDevice {
 public:
  [[nodiscard]] double sampleRate() const override { return bench::sampleRate; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return bench::blockFrames; }
  [[nodiscard]] bool isRealTime() const override { return false; }
  [[nodiscard]] bool isRunning() const override { return renderer_ != nullptr; }
  [[nodiscard]] Outcome start(BlockRenderer& renderer) override {
    renderer_ = &renderer;
    return {};
  }
  void stop() override { renderer_ = nullptr; }

  void render() { renderer_->render(left_.data(), right_.data(), bench::blockFrames); }
  void pump() { renderer_->pump(); }
  [[nodiscard]] float sample() const { return left_[0]; }

 private:
  BlockRenderer* renderer_ = nullptr;
  std::array<float, bench::blockFrames> left_{};
  std::array<float, bench::blockFrames> right_{};
};

using Clock = std::chrono::steady_clock;

inline double microsecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

/// The median.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace vrel::audio::bench
