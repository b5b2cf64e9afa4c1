// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_engine.h"
#include "simulation/simulated_node.h"
#include "simulation/simulated_player.h"

namespace vrel::simulation {

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

  /// The names of the nodes along the signal path from `source`, joined by " > ".
  [[nodiscard]] std::string chainFrom(const Node& source) const;
  [[nodiscard]] bool isAttached(const Node& node) const;
  [[nodiscard]] SimulatedMixer& mainMixer() { return *mainMixer_; }
  /// The number of lines in the record equal to `line`.
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

/// Makes the simulated engine and nodes, which are numbered.
class SimulatedNodeFactory : public AudioNodeFactory {
 public:
  std::unique_ptr<AVAudioEngine> makeEngine() override;
  std::shared_ptr<AVAudioMixerNode> makeMixerNode() override;
  std::shared_ptr<AVAudioUnitReverb> makeReverbNode() override;
  std::shared_ptr<AVAudioPlayerNode> makePlayerNode() override;

  /// The engine made last; valid while its owner lives.
  SimulatedAudioEngine* engine = nullptr;

 private:
  int mixerCount_ = 0;
  int reverbCount_ = 0;
  int playerCount_ = 0;
};

}  // namespace vrel::simulation
