// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/mixer_node.h"

#include <algorithm>

#include "system/audio/tap.h"

namespace vrel::audio {
namespace {

void add(const float* samples, float* sum, std::uint32_t frameCount) noexcept {
  for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
    sum[frame] += samples[frame];
  }
}

/// Into the first `channelCount` channels of `output`, whose samples are overwritten.
void sumInputs(const ProcessBlock& block, std::uint32_t channelCount) noexcept {
  bool first = true;
  for (const Stream& input : block.inputs) {
    for (std::uint32_t channel = 0; channel < channelCount && input.channelCount > 0; ++channel) {
      const float* const samples = input.channels[std::min(channel, input.channelCount - 1)];
      if (first) {
        std::copy_n(samples, block.frameCount, block.output.channels[channel]);
      } else {
        add(samples, block.output.channels[channel], block.frameCount);
      }
    }
    first = first && input.channelCount == 0;
  }
}

}  // namespace

void MixerProcessor::process(const ProcessBlock& block) noexcept {
  const bool mono = !block.inputs.empty() &&
                    std::ranges::all_of(block.inputs, [](const Stream& input) { return input.channelCount <= 1; });
  Stream sum = block.output;
  sum.channelCount = mono ? 1 : block.output.channelCount;
  sumInputs(block, sum.channelCount);
  if (block.tap != nullptr) {
    block.tap->push(sum, block.frameCount);
  }
  gain_.apply(sum, block.frameCount);
  if (mono) {
    std::copy_n(block.output.channels[0], block.frameCount, block.output.channels[1]);
  }
}

MixerNode::MixerNode() {
  setFormats({.sampleRate = 0, .channelCount = 2}, {.sampleRate = 0, .channelCount = 2});
}

}  // namespace vrel::audio
