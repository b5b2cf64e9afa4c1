// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/reverb_node.h"

#include <algorithm>
#include <utility>

#include "system/audio/finite_guard.h"

namespace vrel::audio {
namespace {

// A sound that is cut into the middle would ring in the hall as a click.
constexpr double entrySeconds = 0.01;

}  // namespace

ReverbProcessor::ReverbProcessor() : silence_(maximumBlockFrames) {
  for (std::vector<float>& channel : wet_) {
    channel.resize(maximumBlockFrames);
  }
}

void ReverbProcessor::prepare(double sampleRate) {
  mix_.prepare(sampleRate);
  hall_.prepare(sampleRate);
  const auto entryFrames = static_cast<std::uint32_t>(entrySeconds * sampleRate);
  if (entryFrames != entryFrames_) {  // at the same rate a block may be reading it
    entryFrames_ = entryFrames;
  }
}

std::uint32_t ReverbProcessor::outputChannelCount(std::uint32_t inputChannelCount) const {
  return inputChannelCount == 1 ? 1 : 2;
}

void ReverbProcessor::process(const ProcessBlock& block) noexcept {
  Stream input;
  if (!block.inputs.empty() && block.inputs[0].channelCount > 0) {
    input = block.inputs[0];
    for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
      std::copy_n(input.channels[std::min(channel, input.channelCount - 1)], block.frameCount,
                  block.output.channels[channel]);
    }
  } else {
    // The source is gone; what it left in the hall goes on.
    input.channelCount = 1;
    input.channels[0] = silence_.data();
  }
  const bool first = !std::exchange(begun_, true);
  if (mix_.restsAtZero()) {
    sounding_ = false;
    hall_.clearPortion();
    return;
  }
  if (!sounding_) {
    sounding_ = true;
    hall_.clearRest();
    entered_ = first ? entryFrames_ : 0;
  }
  enterSoftly(input, block.frameCount);
  addHall(input, block);
}

void ReverbProcessor::enterSoftly(Stream& input, std::uint32_t frameCount) noexcept {
  if (entered_ >= entryFrames_) {
    return;
  }
  for (std::uint32_t channel = 0; channel < input.channelCount; ++channel) {
    float* const faded = wet_[channel].data();
    for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
      const std::uint32_t position = std::min(entered_ + frame + 1, entryFrames_);
      faded[frame] = input.channels[channel][frame] * static_cast<float>(position) / static_cast<float>(entryFrames_);
    }
    input.channels[channel] = faded;
  }
  entered_ += frameCount;
}

void ReverbProcessor::addHall(const Stream& input, const ProcessBlock& block) noexcept {
  const bool stereo = block.output.channelCount > 1;
  const Stream wet{.channels = {wet_[0].data(), wet_[1].data()}, .channelCount = block.output.channelCount};
  if (!hall_.process(input.channels[0], input.channels[input.channelCount - 1], wet.channels[0],
                     stereo ? wet.channels[1] : nullptr, block.frameCount)) {
    mix_.apply(wet, block.frameCount);
    return;
  }
  if (silenceIfTooLarge(wet, block.frameCount)) {
    // A NaN would circulate forever, and what is too large for a long time.
    hall_.clearRest();
  }
  mix_.apply(wet, block.frameCount);
  for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
    float* const output = block.output.channels[channel];
    const float* const added = wet.channels[channel];
    for (std::uint32_t frame = 0; frame < block.frameCount; ++frame) {
      output[frame] += added[frame];
    }
  }
}

void ReverbNode::setWetDryMix(float percent) {
  percent_ = percent;
  const float share = percent > 0.0F ? std::min(percent, 100.0F) / 100.0F : 0.0F;
  processor_->mix().set(share);
}

}  // namespace vrel::audio
