// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_engine.h"

namespace vrel::simulation {

/// What all simulated nodes have: a name for the record, formats, and a tap that a test can feed.
class SimulatedNode {
 public:
  explicit SimulatedNode(std::string nodeName) : name(std::move(nodeName)) {}
  virtual ~SimulatedNode() = default;

  /// Plays the tap thread; false when no tap is installed.
  bool feedTap(const AVAudioPCMBuffer& buffer) const {
    if (tap) {
      tap(buffer);
    }
    return tap != nullptr;
  }

  std::string name;
  AVAudioFormat format{48000.0, 2};
  AVAudioNode::TapBlock tap;
  std::uint32_t tapBufferSize = 0;
  std::optional<AVAudioFormat> tapFormat;
};

/// A simulated node behind `Interface`.
template <typename Interface>
class SimulatedNodeOf : public Interface, public SimulatedNode {
 public:
  using SimulatedNode::SimulatedNode;

  [[nodiscard]] AVAudioFormat inputFormat(int /*bus*/) const override { return format; }
  [[nodiscard]] AVAudioFormat outputFormat(int /*bus*/) const override { return format; }
  void installTap(int /*bus*/, std::uint32_t bufferSize, std::optional<AVAudioFormat> wanted,
                  AVAudioNode::TapBlock block) override {
    tap = std::move(block);
    tapBufferSize = bufferSize;
    tapFormat = wanted;
  }
  void removeTap(int /*bus*/) override { tap = nullptr; }
};

class SimulatedMixer : public SimulatedNodeOf<AVAudioMixerNode> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  void setOutputVolume(float linearGain) override { outputVolume_ = linearGain; }
  [[nodiscard]] float outputVolume() const override { return outputVolume_; }

 private:
  float outputVolume_ = 1.0F;
};

class SimulatedReverb : public SimulatedNodeOf<AVAudioUnitReverb> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  void loadFactoryPreset(int number) override { preset = number; }
  void setWetDryMix(float percent) override { wetDryMix_ = percent; }
  [[nodiscard]] float wetDryMix() const override { return wetDryMix_; }

  int preset = -1;

 private:
  float wetDryMix_ = 0.0F;
};

class SimulatedPlayer : public SimulatedNodeOf<AVAudioPlayerNode> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  void stop() override { ++stopCount; }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }

  int stopCount = 0;

 private:
  float volume_ = 1.0F;
};

/// A graph that renders nothing and records every attach, connect, disconnect, start and stop, in
/// order, as lines like "connect piano -> reverb 1". Connections made while it runs are counted.
class SimulatedAudioEngine : public AVAudioEngine {
 public:
  std::shared_ptr<AVAudioMixerNode> mainMixerNode() override { return mainMixer_; }
  std::shared_ptr<AVAudioOutputNode> outputNode() override { return output_; }
  void attach(const Node& node) override;
  void detach(const Node& node) override;
  void connect(const Node& source, const Node& destination, std::optional<AVAudioFormat> format) override;
  void disconnectNodeInput(const Node& node) override;
  void disconnectNodeOutput(const Node& node) override;
  [[nodiscard]] bool isRunning() const override { return running_; }
  [[nodiscard]] Outcome start() override;
  void stop() override;

  /// The names of the nodes that the signal passes from `source` on, joined by " > ".
  [[nodiscard]] std::string chainFrom(const Node& source) const;
  [[nodiscard]] bool isAttached(const Node& node) const;
  [[nodiscard]] SimulatedMixer& mainMixer() { return *mainMixer_; }
  /// How many lines of the record are equal to `line`.
  [[nodiscard]] int count(const std::string& line) const;

  std::vector<std::string> record;
  /// When set, every start fails with this.
  std::optional<Error> startFailure;
  int connectsWhileRunning = 0;
  /// The format given with each connect, in order.
  std::vector<std::optional<AVAudioFormat>> connectFormats;

 private:
  void disconnectQuietly(const Node& source, const Node& destination);

  std::shared_ptr<SimulatedMixer> mainMixer_ = std::make_shared<SimulatedMixer>("main mixer");
  std::shared_ptr<SimulatedNodeOf<AVAudioOutputNode>> output_ =
      std::make_shared<SimulatedNodeOf<AVAudioOutputNode>>("output");
  std::vector<Node> attached_;
  std::vector<std::pair<Node, Node>> connections_;
  bool running_ = false;
};

/// Makes the simulated engine and numbers the nodes it makes.
class SimulatedNodeFactory : public AudioNodeFactory {
 public:
  std::unique_ptr<AVAudioEngine> makeEngine() override;
  std::shared_ptr<AVAudioMixerNode> makeMixerNode() override;
  std::shared_ptr<AVAudioUnitReverb> makeReverbNode() override;

  /// The engine made last; valid while its owner lives.
  SimulatedAudioEngine* engine = nullptr;

 private:
  int mixerCount_ = 0;
  int reverbCount_ = 0;
};

}  // namespace vrel::simulation
