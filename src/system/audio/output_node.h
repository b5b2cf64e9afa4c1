// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "system/audio/graph_node.h"

namespace vrel::audio {

/// Hands on what comes in, a mono input to both channels.
class OutputProcessor final : public NodeProcessor {
 public:
  void prepare(double /*sampleRate*/) VREL_NOT_AUDIO_THREAD override {}
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t /*inputChannelCount*/) const override { return 2; }
  void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD override {
    if (block.inputs.empty() || block.inputs[0].channelCount == 0) {
      return;
    }
    const Stream& input = block.inputs[0];
    for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
      std::copy_n(input.channels[std::min(channel, input.channelCount - 1)], block.frameCount,
                  block.output.channels[channel]);
    }
  }
};

/// The end of the graph: what arrives here goes to the device.
class OutputNode final : public GraphNodeOf<AVAudioOutputNode> {
 public:
  [[nodiscard]] std::shared_ptr<NodeProcessor> processor() const override { return processor_; }
  [[nodiscard]] std::uint32_t ownChannelCount() const override { return 2; }

 private:
  std::shared_ptr<OutputProcessor> processor_ = std::make_shared<OutputProcessor>();
};

}  // namespace vrel::audio
