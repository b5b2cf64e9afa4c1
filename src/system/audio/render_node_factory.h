// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

#include "platform/audio_engine.h"
#include "system/audio/output_device.h"
#include "system/audio/render_counters.h"

namespace vrel::audio {

/// Makes the engine on one device, and nodes for it. Engine, units and console share the counters.
class RenderNodeFactory final : public AudioNodeFactory {
 public:
  RenderNodeFactory(std::shared_ptr<OutputDevice> device, std::shared_ptr<RenderCounters> counters)
      : device_(std::move(device)), counters_(std::move(counters)) {}

  [[nodiscard]] std::unique_ptr<AVAudioEngine> makeEngine() override;
  [[nodiscard]] std::shared_ptr<AVAudioMixerNode> makeMixerNode() override;
  [[nodiscard]] std::shared_ptr<AVAudioUnitReverb> makeReverbNode() override;
  [[nodiscard]] std::shared_ptr<AVAudioPlayerNode> makePlayerNode() override;

 private:
  std::shared_ptr<OutputDevice> device_;
  std::shared_ptr<RenderCounters> counters_;
};

}  // namespace vrel::audio
