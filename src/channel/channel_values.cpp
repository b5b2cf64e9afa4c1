// SPDX-License-Identifier: GPL-3.0-or-later
#include "channel/channel_values.h"

#include <tuple>

#include "channel/audio_channel.h"
#include "document/setlist.h"
#include "foundation/observable.h"

namespace vrel {
namespace {

template <typename Value>
struct SharedValue {
  Value ChannelConfig::*stored;
  Observable<Value> AudioChannel::*live;
};
template <typename Value>
SharedValue(Value ChannelConfig::*, Observable<Value> AudioChannel::*) -> SharedValue<Value>;

constexpr std::tuple stripValues = {
    SharedValue{&ChannelConfig::volume, &AudioChannel::volume},
    SharedValue{&ChannelConfig::gain, &AudioChannel::gain},
    SharedValue{&ChannelConfig::reverb, &AudioChannel::reverb},
    SharedValue{&ChannelConfig::mute, &AudioChannel::mute},
    SharedValue{&ChannelConfig::solo, &AudioChannel::solo},
    SharedValue{&ChannelConfig::color, &AudioChannel::color},
    SharedValue{&ChannelConfig::minNote, &AudioChannel::minNote},
    SharedValue{&ChannelConfig::maxNote, &AudioChannel::maxNote},
    SharedValue{&ChannelConfig::transpose, &AudioChannel::transpose},
    SharedValue{&ChannelConfig::sendSustain, &AudioChannel::sendSustain},
    SharedValue{&ChannelConfig::sendExpression, &AudioChannel::sendExpression},
    SharedValue{&ChannelConfig::sustainControlsRotor, &AudioChannel::sustainControlsRotor},
};

constexpr std::tuple playbackValues = {
    SharedValue{&ChannelConfig::playbackFilePath, &AudioChannel::playbackFilePath},
    SharedValue{&ChannelConfig::playbackLoop, &AudioChannel::playbackLoop},
    SharedValue{&ChannelConfig::playbackStartTime, &AudioChannel::playbackStartTime},
    SharedValue{&ChannelConfig::playbackEndTime, &AudioChannel::playbackEndTime},
    SharedValue{&ChannelConfig::playbackStopMode, &AudioChannel::playbackStopMode},
};

template <typename Values>
void apply(const Values& values, AudioChannel& channel, const ChannelConfig& record) {
  std::apply([&](const auto&... each) { ((channel.*each.live).set(record.*each.stored), ...); }, values);
}

template <typename Values>
void store(const Values& values, const AudioChannel& channel, ChannelConfig& record) {
  std::apply([&](const auto&... each) { ((record.*each.stored = (channel.*each.live).get()), ...); }, values);
}

}  // namespace

void applyStripValues(AudioChannel& channel, const ChannelConfig& record) {
  apply(stripValues, channel, record);
}

void storeStripValues(const AudioChannel& channel, ChannelConfig& record) {
  store(stripValues, channel, record);
}

void applyPlaybackValues(AudioChannel& channel, const ChannelConfig& record) {
  apply(playbackValues, channel, record);
}

void storePlaybackValues(const AudioChannel& channel, ChannelConfig& record) {
  store(playbackValues, channel, record);
}

bool playSameSource(const ChannelConfig& a, const ChannelConfig& b) {
  const bool isSamePlayback =
      std::apply([&](const auto&... each) { return ((a.*each.stored == b.*each.stored) && ...); }, playbackValues);
  return isSamePlayback && a.pluginPath == b.pluginPath && a.visualClipMappings == b.visualClipMappings;
}

void copySource(const ChannelConfig& from, ChannelConfig& to) {
  std::apply([&](const auto&... each) { ((to.*each.stored = from.*each.stored), ...); }, playbackValues);
  to.pluginPath = from.pluginPath;
  to.pluginStateBase64 = from.pluginStateBase64;
  to.visualClipMappings = from.visualClipMappings;
}

}  // namespace vrel
