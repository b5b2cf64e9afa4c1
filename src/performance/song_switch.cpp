// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_switch.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "document/app_state.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "platform/audio_unit.h"
#include "platform/clock.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr std::uint8_t midiStart = 0xFA;
constexpr std::uint8_t midiStop = 0xFC;

int loadsOf(const std::vector<AudioPluginSlot>& slots) {
  return static_cast<int>(
      std::count_if(slots.begin(), slots.end(), [](const auto& slot) { return !slot.pluginPath.empty(); }));
}

int loadsOf(const SongConfig& song) {
  int loads = loadsOf(song.masterEffectSlots);
  for (const auto& record : song.channels) {
    loads += (record.pluginPath.empty() ? 0 : 1) + loadsOf(record.effectSlots);
  }
  return loads;
}

}  // namespace

SongSwitch::SongSwitch(const Collaborators& collaborators) : with_(collaborators) {
  with_.engine.pluginPool().setResolver(
      [&state = with_.state](const std::string& key) { return resolvePluginPath(key, state.scannedPlugins.get()); });
}

void SongSwitch::captureCurrentSong() {
  const auto selected = with_.state.selectedSongIndex.get();
  if (!selected || *selected >= with_.state.songs.get().size()) {
    return;
  }
  with_.state.songs.modify([this, &selected](std::vector<SongConfig>& songs) {
    auto& song = songs[*selected];
    song.songNotes = with_.state.songNotes.get();
    song.tempoBpm = with_.state.tempoBpm.get();
    song.keyboardStartNote = with_.state.keyboardStartNote.get();
    song.keyboardKeyCount = with_.state.keyboardKeyCount.get();
    song.masterChannelColor = with_.engine.masterChannel()->color.get();
    song.masterEffectSlots = with_.engine.pluginState().captureEffectSlots(*with_.engine.masterChannel());
    song.channels.clear();
    for (const auto& channel : with_.engine.channels()) {
      song.channels.push_back(makeChannelConfig(*channel, with_.engine.pluginState()));
    }
  });
}

void SongSwitch::applySong(std::ptrdiff_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= with_.state.songs.get().size()) {
    return;
  }
  captureCurrentSong();
  if (cancelMidiLearn) {
    cancelMidiLearn();
  }
  const auto song = with_.state.songs.get()[static_cast<std::size_t>(index)];
  // Counted before the first load starts: one that ends at once must not end the switch.
  const auto token = Uuid::fresh();
  beginSongSwitch(token, loadsOf(song));
  with_.state.selectedSongIndex.set(static_cast<std::size_t>(index));
  takeOver(song);
  stripsWillGo.emit();
  with_.engine.pluginPool().prewarmPlugins(with_.state.songs.get());
  with_.engine.removeAllChannels();
  for (const auto& record : song.channels) {
    buildChannel(record, token);
  }
  restoreMasterEffects(song.masterEffectSlots, token);
  finishSongSwitchIfReady(token);
  const auto& channels = with_.engine.channels();
  with_.selection.selectedChannelId.set(channels.empty() ? std::nullopt : std::optional(channels.front()->id));
  with_.selection.channelsViewVersion.set(with_.selection.channelsViewVersion.get() + 1);
  with_.state.isDirty.set(false);
}

/// The session and the beat clock go over to the new song while the old one's channels still stand.
void SongSwitch::takeOver(const SongConfig& song) {
  with_.state.songNotes.set(song.songNotes);
  with_.state.tempoBpm.set(song.tempoBpm);
  with_.engine.musicalContext().songSwitchBegan(song.tempoBpm);
  sendToInstruments(midiStop);
  with_.state.keyboardStartNote.set(song.keyboardStartNote);
  with_.state.keyboardKeyCount.set(song.keyboardKeyCount);
  with_.engine.masterChannel()->color.set(song.masterChannelColor);
}

void SongSwitch::sendToInstruments(std::uint8_t status) {
  for (const auto& channel : with_.engine.channels()) {
    if (auto* instrument = channel->midiInstrument()) {
      instrument->sendMIDIEvent(status, 0);
    }
  }
}

void SongSwitch::buildChannel(const ChannelConfig& record, const Uuid& token) {
  ChannelBuilder::Progress progress;
  progress.isWanted = [this, life = life_.watch(), token] {
    return life.isAlive() && with_.state.songSwitchLoadToken.get() == token;
  };
  progress.instrumentEnded = [this, token] { completeSongSwitchLoad(token); };
  progress.effectsEnded = [this, life = life_.watch(), loads = loadsOf(record.effectSlots), token] {
    if (life.isAlive()) {
      completeLoads(loads, token);
    }
  };
  with_.builder.load(with_.builder.addChannel(record), record, progress);
}

void SongSwitch::restoreMasterEffects(const std::vector<AudioPluginSlot>& slots, const Uuid& token) {
  with_.builder.restoreEffects(with_.engine.masterChannel(), slots,
                               [this, life = life_.watch(), loads = loadsOf(slots), token] {
                                 if (life.isAlive() && with_.state.songSwitchLoadToken.get() == token) {
                                   with_.engine.chains().rebuildMasterEffectChain(true);
                                   completeLoads(loads, token);
                                 }
                               });
}

void SongSwitch::completeLoads(int count, const Uuid& token) {
  for (int load = 0; load < count; ++load) {
    completeSongSwitchLoad(token);
  }
}

bool SongSwitch::isUnderWay(const Uuid& token) const {
  return with_.state.songSwitchLoadToken.get() == token && with_.state.songSwitchInProgress.get();
}

void SongSwitch::beginSongSwitch(const Uuid& token, int pendingLoads) {
  with_.state.songSwitchLoadToken.set(token);
  with_.state.songSwitchInProgress.set(true);
  with_.state.songSwitchElapsedMs.set(std::nullopt);
  with_.state.songSwitchPendingLoads.set(pendingLoads);
  with_.state.songSwitchStartedAtUptime.set(with_.clock.CACurrentMediaTime());
  with_.state.beginLoadingSession(pendingLoads, audioUnitsLoadingMessage(with_.state.language.get()));
  with_.mainQueue.asyncAfter(songSwitchTimeoutSeconds, [this, life = life_.watch(), token] {
    if (life.isAlive()) {
      songSwitchTimedOut(token);
    }
  });
}

void SongSwitch::completeSongSwitchLoad(const Uuid& token) {
  if (!isUnderWay(token)) {
    return;
  }
  with_.state.songSwitchPendingLoads.set(std::max(with_.state.songSwitchPendingLoads.get() - 1, 0));
  with_.state.completeOneLoad();
  finishSongSwitchIfReady(token);
}

void SongSwitch::finishSongSwitchIfReady(const Uuid& token) {
  if (!isUnderWay(token) || with_.state.songSwitchPendingLoads.get() != 0) {
    return;
  }
  with_.engine.musicalContext().songSwitchEnded();
  for (const auto& channel : with_.engine.channels()) {
    if (auto* instrument = channel->midiInstrument()) {
      instrument->sendMIDIEvent(midiStop, 0);
      instrument->sendMIDIEvent(midiStart, 0);
    }
  }
  constexpr double millisecondsPerSecond = 1000.0;
  const auto started = with_.state.songSwitchStartedAtUptime.get();
  const double seconds = started ? with_.clock.CACurrentMediaTime() - *started : 0.0;
  with_.state.songSwitchElapsedMs.set(std::max(static_cast<int>(std::lround(seconds * millisecondsPerSecond)), 0));
  with_.state.songSwitchInProgress.set(false);
  with_.state.songSwitchStartedAtUptime.set(std::nullopt);
}

void SongSwitch::songSwitchTimedOut(const Uuid& token) {
  if (!isUnderWay(token)) {
    return;
  }
  with_.console.print("Song switch timed out after " + std::to_string(static_cast<int>(songSwitchTimeoutSeconds)) +
                      " seconds");
  with_.state.songSwitchPendingLoads.set(0);
  with_.state.finishLoadingSession();
  finishSongSwitchIfReady(token);
}

}  // namespace vrel
