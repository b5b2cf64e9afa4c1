// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/mix_levels.h"

#include <algorithm>

#include "document/value_scales.h"
#include "engine/strips.h"
#include "platform/audio_engine.h"

namespace vrel {
namespace {

bool anySolo(const Strips& strips) {
  return std::any_of(strips.channels.begin(), strips.channels.end(),
                     [](const auto& channel) { return channel->solo.get(); });
}

float outputLevel(const AudioChannel& channel, bool someStripIsSoloed) {
  if ((someStripIsSoloed && !channel.solo.get()) || channel.mute.get()) {
    return 0.0F;
  }
  return ChannelFaderScale::linearGain(channel.volume.get()) * ChannelGainScale::linearGain(channel.gain.get());
}

void setNodeLevel(AudioChannel& channel, float level) {
  channel.meterLevel.store(level, std::memory_order_relaxed);
  if (const auto& meter = channel.meterNode.get()) {
    meter->setOutputVolume(level);
  } else if (auto* source = dynamic_cast<AVAudioMixing*>(channel.instrumentNode.get().get())) {
    source->setVolume(level);
  }
}

}  // namespace

float MixLevels::channelOutputLevel(const AudioChannel& channel) const {
  return outputLevel(channel, anySolo(strips_));
}

float MixLevels::masterOutputLevel() const {
  const auto& master = *strips_.masterChannel;
  return master.mute.get() ? 0.0F : ChannelFaderScale::linearGain(master.volume.get());
}

void MixLevels::applyMixerLevels() {
  const bool someStripIsSoloed = anySolo(strips_);
  for (const auto& channel : strips_.channels) {
    setNodeLevel(*channel, outputLevel(*channel, someStripIsSoloed));
  }
  const float masterLevel = masterOutputLevel();
  strips_.masterChannel->meterLevel.store(masterLevel, std::memory_order_relaxed);
  engine_.mainMixerNode()->setOutputVolume(masterLevel);
}

}  // namespace vrel
