// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "system/audio/graph_node.h"
#include "system/audio/smoothed_gain.h"

namespace vrel::audio {

/// Sums what comes in to stereo, a mono input into both channels, and sets the level. A listener gets
/// the sum before the level, as one channel when every input is one.
class MixerProcessor final : public NodeProcessor {
 public:
  void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD override { gain_.prepare(sampleRate); }
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t /*inputChannelCount*/) const override { return 2; }
  [[nodiscard]] bool servesTap() const override { return true; }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override;

  [[nodiscard]] SmoothedGain& gain() { return gain_; }

 private:
  SmoothedGain gain_;
};

/// The main mixer, and the meter mixer at the end of each strip.
class MixerNode final : public GraphNodeOf<AVAudioMixerNode> {
 public:
  MixerNode();

  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }
  [[nodiscard]] bool takesManyInputs() const override { return true; }
  [[nodiscard]] std::uint32_t ownChannelCount() const override { return 2; }

  void setOutputVolume(float linearGain) override { processor_->gain().set(linearGain); }
  [[nodiscard]] float outputVolume() const override { return processor_->gain().get(); }

 private:
  std::shared_ptr<MixerProcessor> processor_ = std::make_shared<MixerProcessor>();
};

}  // namespace vrel::audio
