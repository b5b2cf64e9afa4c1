// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_stage.h"

#include <utility>

#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"

namespace vrel {
namespace {

void applyMix(AudioChannel& channel, const ChannelConfig& record) {
  channel.volume.set(record.volume);
  channel.gain.set(record.gain);
  channel.reverb.set(record.reverb);
  channel.mute.set(record.mute);
  channel.solo.set(record.solo);
  channel.color.set(record.color);
}

void applyRouting(AudioChannel& channel, const ChannelConfig& record) {
  channel.minNote.set(record.minNote);
  channel.maxNote.set(record.maxNote);
  channel.transpose.set(record.transpose);
  channel.sendSustain.set(record.sendSustain);
  channel.sendExpression.set(record.sendExpression);
  channel.sustainControlsRotor.set(record.sustainControlsRotor);
}

// Keeps what the file says of a playback, so that a save loses none of it should the file be missing today.
void keepPlayback(AudioChannel& channel, const ChannelConfig& record) {
  channel.pluginPath.set(record.pluginPath);
  channel.playbackFilePath.set(record.playbackFilePath);
  channel.playbackLoop.set(record.playbackLoop);
  channel.playbackStartTime.set(record.playbackStartTime);
  channel.playbackEndTime.set(record.playbackEndTime);
  channel.playbackStopMode.set(record.playbackStopMode);
}

}  // namespace

SongStage::SongStage(AudioEngine& engine, ConsoleOutput& console, Components components)
    : engine_(engine), console_(console), components_(std::move(components)) {
  engine_.pluginPool().setResolver(
      [instruments = components_.instruments](const std::string& key) { return resolvePluginPath(key, instruments); });
}

void SongStage::applySong(std::ptrdiff_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= songs.size()) {
    return;
  }
  captureCurrentSong();
  const auto song = songs[static_cast<std::size_t>(index)];
  loadToken_ = Uuid::fresh();
  pendingLoads_ = 0;
  selectedSongIndex.set(static_cast<std::size_t>(index));
  songApplied.emit(static_cast<std::size_t>(index));
  engine_.masterChannel()->color.set(song.masterChannelColor);
  engine_.pluginPool().prewarmPlugins(songs);
  engine_.removeAllChannels();
  for (const auto& record : song.channels) {
    buildChannel(record);
  }
  restoreEffects(engine_.masterChannel(), song.masterEffectSlots);
}

void SongStage::buildChannel(const ChannelConfig& record) {
  const auto channel = engine_.addChannel(record.name);
  applyMix(*channel, record);
  applyRouting(*channel, record);
  channel->effectSlots.set(record.effectSlots);
  if (record.pluginPath == pathVisual) {
    engine_.instruments().loadVisualInstrument(*channel, record.visualClipMappings, nullptr);
  } else if (record.pluginPath == pathPlayback) {
    keepPlayback(*channel, record);
    engine_.playbackLoader().loadPlaybackInstrument(*channel, record);
  } else if (!record.pluginPath.empty()) {
    loadInstrument(channel, record);
    return;
  }
  restoreEffects(channel, record.effectSlots);
}

void SongStage::loadInstrument(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record) {
  const auto component = resolvePluginPath(record.pluginPath, components_.instruments);
  if (!component) {
    console_.print("Failed to load plugin: " + record.pluginPath + " is not installed (" + record.name + ")");
    channel->status.set(channel_status::loadFailed);
    restoreEffects(channel, record.effectSlots);
    return;
  }
  beginLoad();
  // The rack follows the instrument, whether that came or not.
  engine_.instruments().loadInstrument(channel, *component, record.pluginStateBase64,
                                       [this, life = life_.watch(), token = loadToken_, slots = record.effectSlots,
                                        weakChannel = std::weak_ptr(channel)](bool /*succeeded*/) {
                                         const auto loaded = weakChannel.lock();
                                         if (!life.isAlive()) {
                                           return;
                                         }
                                         if (loaded != nullptr && token == loadToken_) {
                                           restoreEffects(loaded, slots);
                                         }
                                         endLoad(token);
                                       });
}

void SongStage::restoreEffects(const std::shared_ptr<AudioChannel>& channel,
                               const std::vector<AudioPluginSlot>& slots) {
  beginLoad();
  const bool isMaster = channel == engine_.masterChannel();
  engine_.effects().restoreEffectSlots(
      slots, channel,
      [effects = components_.effects](const std::string& key) { return resolvePluginPath(key, effects); },
      [this, life = life_.watch(), token = loadToken_, isMaster] {
        if (!life.isAlive()) {
          return;
        }
        if (isMaster) {
          engine_.chains().rebuildMasterEffectChain(true);
        }
        endLoad(token);
      });
}

void SongStage::endLoad(const Uuid& token) {
  if (token == loadToken_ && pendingLoads_ > 0) {
    --pendingLoads_;
  }
}

void SongStage::captureCurrentSong() {
  const auto& selected = selectedSongIndex.get();
  if (!selected || *selected >= songs.size()) {
    return;
  }
  auto& song = songs[*selected];
  song.masterChannelColor = engine_.masterChannel()->color.get();
  song.masterEffectSlots = engine_.pluginState().captureEffectSlots(*engine_.masterChannel());
  song.channels.clear();
  for (const auto& channel : engine_.channels()) {
    song.channels.push_back(makeChannelConfig(*channel, engine_.pluginState()));
  }
}

}  // namespace vrel
