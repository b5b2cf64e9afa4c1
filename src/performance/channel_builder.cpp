// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/channel_builder.h"

#include "document/app_state.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {
namespace {

/// What the record says of a file, so that a save loses none of it should the file be missing today.
void keepPlayback(AudioChannel& channel, const ChannelConfig& record) {
  channel.pluginPath.set(record.pluginPath);
  channel.playbackFilePath.set(record.playbackFilePath);
  channel.playbackLoop.set(record.playbackLoop);
  channel.playbackStartTime.set(record.playbackStartTime);
  channel.playbackEndTime.set(record.playbackEndTime);
  channel.playbackStopMode.set(record.playbackStopMode);
}

}  // namespace

std::shared_ptr<AudioChannel> ChannelBuilder::addChannel(const ChannelConfig& record) {
  auto channel = engine_.addChannel(record.name);
  channel->volume.set(record.volume);
  channel->gain.set(record.gain);
  channel->reverb.set(record.reverb);
  channel->mute.set(record.mute);
  channel->solo.set(record.solo);
  channel->color.set(record.color);
  channel->minNote.set(record.minNote);
  channel->maxNote.set(record.maxNote);
  channel->transpose.set(record.transpose);
  channel->sendSustain.set(record.sendSustain);
  channel->sendExpression.set(record.sendExpression);
  channel->sustainControlsRotor.set(record.sustainControlsRotor);
  channel->effectSlots.set(record.effectSlots);
  return channel;
}

void ChannelBuilder::load(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record,
                          const Progress& progress) {
  if (record.pluginPath == pathVisual) {
    engine_.instruments().loadVisualInstrument(*channel, record.visualClipMappings, nullptr);
    instrumentEnded(channel, record.effectSlots, progress);
  } else if (record.pluginPath == pathPlayback) {
    keepPlayback(*channel, record);
    engine_.playbackLoader().loadPlaybackInstrument(*channel, record);
    instrumentEnded(channel, record.effectSlots, progress);
  } else if (record.pluginPath.empty()) {
    restoreEffects(channel, record.effectSlots, progress.effectsEnded);
  } else {
    loadInstrument(channel, record, progress);
  }
}

void ChannelBuilder::loadInstrument(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record,
                                    const Progress& progress) {
  const auto component = resolvePluginPath(record.pluginPath, state_.scannedPlugins.get());
  if (!component) {
    console_.print("Failed to load plugin: " + record.pluginPath + " is not installed (" + record.name + ")");
    channel->status.set(ChannelStatus::loadFailed);
    instrumentEnded(channel, record.effectSlots, progress);
    return;
  }
  engine_.instruments().loadInstrument(channel, *component, record.pluginStateBase64,
                                       [this, life = life_.watch(), weakChannel = std::weak_ptr(channel),
                                        slots = record.effectSlots, progress](bool /*succeeded*/) {
                                         if (life.isAlive()) {
                                           instrumentEnded(weakChannel.lock(), slots, progress);
                                         }
                                       });
}

/// The rack follows the instrument, whether that came or not.
void ChannelBuilder::instrumentEnded(const std::shared_ptr<AudioChannel>& channel,
                                     const std::vector<AudioPluginSlot>& slots, const Progress& progress) {
  if (!progress.isWanted()) {
    return;
  }
  if (channel != nullptr) {
    restoreEffects(channel, slots, progress.effectsEnded);
  } else {
    progress.effectsEnded();
  }
  progress.instrumentEnded();
}

void ChannelBuilder::restoreEffects(const std::shared_ptr<AudioChannel>& channel,
                                    const std::vector<AudioPluginSlot>& slots, const std::function<void()>& ended) {
  engine_.effects().restoreEffectSlots(
      slots, channel,
      [this](const std::string& key) { return resolvePluginPath(key, state_.scannedAudioEffectPlugins.get()); },
      [life = life_.watch(), ended] {
        if (life.isAlive()) {
          ended();
        }
      });
}

}  // namespace vrel
