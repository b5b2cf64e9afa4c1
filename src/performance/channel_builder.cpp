// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/channel_builder.h"

#include "channel/channel_values.h"
#include "document/app_state.h"
#include "document/plugin_names.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {

std::shared_ptr<AudioChannel> ChannelBuilder::addChannel(const ChannelConfig& record) {
  auto channel = engine_.addChannel(record.name);
  applyStripValues(*channel, record);
  channel->effectSlots.set(record.effectSlots);
  return channel;
}

void ChannelBuilder::load(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record,
                          const Progress& progress) {
  willLoad.emit(*channel, record);
  const auto kind = pluginPathKind(record.pluginPath);
  if (kind == PluginPathKind::visual) {
    engine_.instruments().loadVisualInstrument(*channel, record.visualClipMappings, nullptr);
    instrumentEnded(channel, record.effectSlots, progress);
  } else if (kind == PluginPathKind::playback) {
    // Before the load, so that a save loses nothing when the file is missing today.
    channel->pluginPath.set(record.pluginPath);
    applyPlaybackValues(*channel, record);
    engine_.playbackLoader().loadPlaybackInstrument(*channel, record);
    instrumentEnded(channel, record.effectSlots, progress);
  } else if (kind == PluginPathKind::empty) {
    restoreEffects(channel, record.effectSlots, progress.effectsEnded);
  } else {
    loadInstrument(channel, record, progress);
  }
}

void ChannelBuilder::loadInstrument(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record,
                                    const Progress& progress) {
  const auto component = resolvePluginPath(record.pluginPath, state_.scannedPlugins.get());
  if (!component) {
    const auto name = knownPluginName(record.pluginPath, knownPlugins(state_));
    console_.printFailure(
        FailureKind::instrument,
        "Failed to load plugin: " + notInstalledText(name.empty() ? record.pluginPath : name, record.name));
    channel->pluginName.set(name);  // what it wanted
    channel->status.set(ChannelStatus::loadFailed);
    instrumentEnded(channel, record.effectSlots, progress);
    return;
  }
  engine_.instruments().loadInstrument(channel, *component, record.pluginStateBase64,
                                       [this, life = life_.watch(), weakChannel = std::weak_ptr(channel),
                                        slots = record.effectSlots, progress, name = component->name](bool succeeded) {
                                         const auto loaded = weakChannel.lock();
                                         if (!succeeded && loaded != nullptr) {
                                           loaded->pluginName.set(name);  // what it wanted
                                         }
                                         if (life.isAlive()) {
                                           instrumentEnded(loaded, slots, progress);
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
