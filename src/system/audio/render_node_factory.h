// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "platform/audio_converter.h"
#include "platform/audio_engine.h"
#include "system/audio/output_device.h"
#include "system/audio/render_counters.h"

namespace vrel::audio {

class PlayerFeeder;

/// Makes the engine on one device, and nodes for it. Engine, units and console share the counters.
class RenderNodeFactory final : public AudioNodeFactory {
 public:
  /// Players need converters for files of other rates than the device's.
  RenderNodeFactory(std::shared_ptr<OutputDevice> device, std::shared_ptr<RenderCounters> counters,
                    std::shared_ptr<AudioConverterFactory> converters = nullptr);

  [[nodiscard]] std::unique_ptr<AVAudioEngine> makeEngine() override;
  [[nodiscard]] std::shared_ptr<AVAudioMixerNode> makeMixerNode() override;
  [[nodiscard]] std::shared_ptr<AVAudioUnitReverb> makeReverbNode() override;
  [[nodiscard]] std::shared_ptr<AVAudioPlayerNode> makePlayerNode() override;

  /// What reads ahead for all players. On a device that is not real-time its owner calls it before each block.
  [[nodiscard]] PlayerFeeder& playerFeeder() { return *feeder_; }

 private:
  std::shared_ptr<OutputDevice> device_;
  std::shared_ptr<RenderCounters> counters_;
  std::shared_ptr<AudioConverterFactory> converters_;
  std::shared_ptr<PlayerFeeder> feeder_;
};

}  // namespace vrel::audio
