// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "system/audio/graph_node.h"
#include "system/audio/hall_reverb.h"
#include "system/audio/smoothed_gain.h"

namespace vrel::audio {

/// Adds a hall to what comes in; the dry sound is never touched. At a mix of 0 the block passes bit
/// for bit and the hall rests; turned up again, it begins without memories.
class ReverbProcessor final : public NodeProcessor {
 public:
  ReverbProcessor();

  void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD override;
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t inputChannelCount) const override;
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override;

  /// The share of the hall, 0 to 1.
  [[nodiscard]] SmoothedGain& mix() { return mix_; }

 private:
  void addHall(const Stream& input, const ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void enterSoftly(Stream& input, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  SmoothedGain mix_{0.0F};
  HallReverb hall_;
  std::uint32_t entryFrames_ = 0;

  // Audio thread.
  bool begun_ = false;
  bool sounding_ = false;
  std::uint32_t entered_ = 0;  // frames of the soft entry into a hall that was at rest
  std::array<std::vector<float>, maximumStreamChannels> wet_;
  std::vector<float> silence_;
};

/// The strip's reverb.
class ReverbNode final : public GraphNodeOf<AVAudioUnitReverb> {
 public:
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }

  void loadFactoryPreset(int /*preset*/) override {}
  void setWetDryMix(float percent) override;
  [[nodiscard]] float wetDryMix() const override { return percent_; }

 private:
  float percent_ = 0;
  std::shared_ptr<ReverbProcessor> processor_ = std::make_shared<ReverbProcessor>();
};

}  // namespace vrel::audio
