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
#include "text/text.h"

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

SongSwitch::SongSwitch(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      mainQueue_(collaborators.mainQueue),
      clock_(collaborators.clock),
      console_(collaborators.console),
      selection_(collaborators.selection),
      builder_(collaborators.builder),
      loadsFollowed_(builder_.willLoad.connect([this](auto& channel, const auto& record) {
        rememberSource(channel, record);  // also of a strip that is pasted
      })) {
  engine_.pluginPool().setResolver(
      [&state = state_](const std::string& key) { return resolvePluginPath(key, state.scannedPlugins.get()); });
}

bool SongSwitch::isSongOnStage() const {
  const auto selected = state_.selectedSongIndex.get();
  return selected && *selected < state_.songs.get().size();
}

/// A song that is built again, is deleted or goes with its setlist does not ring.
double SongSwitch::secondsToRing(std::size_t next) const {
  const bool isAnother = isSongOnStage() && *state_.selectedSongIndex.get() != next;
  return isAnother ? state_.songControl.get().letRingSeconds : 0U;
}

void SongSwitch::requestStates() {
  if (!isSongOnStage()) {
    return;
  }
  engine_.pluginState().requestStates(*engine_.masterChannel());
  for (const auto& channel : engine_.channels()) {
    engine_.pluginState().requestStates(*channel);
  }
}

void SongSwitch::capture(SongConfig& song, StateRead read, SourceOfLoading ofLoading) {
  song.songNotes = state_.songNotes.get();
  song.tempoBpm = state_.tempoBpm.get();
  song.keyboardStartNote = state_.keyboardStartNote.get();
  song.keyboardKeyCount = state_.keyboardKeyCount.get();
  song.masterChannelColor = engine_.masterChannel()->color.get();
  song.masterEffectSlots = engine_.pluginState().captureEffectSlots(*engine_.masterChannel(), read);
  song.channels.clear();
  for (const auto& channel : engine_.channels()) {
    auto& record = song.channels.emplace_back(makeChannelConfig(*channel, engine_.pluginState(), read));
    if (amendRecord) {
      amendRecord(*channel, record);
    }
    if (ofLoading == SourceOfLoading::kept || channel->status.get() != ChannelStatus::loading) {
      keepMissingSource(*channel, record);
    }
  }
}

void SongSwitch::rememberSource(AudioChannel& channel, const ChannelConfig& record) {
  const auto kind = pluginPathKind(record.pluginPath);
  if (kind == PluginPathKind::empty || isInternal(kind)) {
    return;
  }
  // Once the strip has played something, or was emptied, it says itself what it has.
  auto followed = channel.status.changed.connect([this, id = channel.id](ChannelStatus status) {
    const auto source = sources_.find(id);
    if (source != sources_.end() && (status == ChannelStatus::running || status == ChannelStatus::noPlugin)) {
      source->second.isReplaced = true;
    }
  });
  sources_[channel.id] = {record.pluginPath, record.pluginStateBase64, std::move(followed), false};
}

std::optional<ChannelConfig> SongSwitch::missingSource(const AudioChannel& channel) const {
  const auto found = sources_.find(channel.id);
  if (found == sources_.end() || found->second.isReplaced || channel.instrumentNode.get() != nullptr) {
    return std::nullopt;
  }
  ChannelConfig source;
  source.pluginPath = found->second.pluginPath;
  source.pluginStateBase64 = found->second.pluginStateBase64;
  return source;
}

void SongSwitch::keepMissingSource(const AudioChannel& channel, ChannelConfig& record) const {
  const auto source = missingSource(channel);
  if (!source) {
    return;
  }
  if (record.pluginPath.empty()) {
    record.pluginPath = source->pluginPath;
  }
  if (record.pluginPath == source->pluginPath && !record.pluginStateBase64) {
    record.pluginStateBase64 = source->pluginStateBase64;
  }
}

void SongSwitch::captureCurrentSong() {
  if (!isSongOnStage()) {
    return;
  }
  requestStates();
  const auto selected = *state_.selectedSongIndex.get();
  contents_.changeSong(selected, [this, selected] {
    state_.songs.modify([this, selected](std::vector<SongConfig>& songs) {
      capture(songs[selected], StateRead::now, SourceOfLoading::dropped);
    });
  });
}

std::vector<SongConfig> SongSwitch::songsAsPlayed(StateRead read) {
  auto songs = state_.songs.get();
  if (isSongOnStage()) {
    if (read == StateRead::now) {
      requestStates();
    }
    capture(songs[*state_.selectedSongIndex.get()], read, SourceOfLoading::kept);
  }
  return songs;
}

void SongSwitch::applySong(std::ptrdiff_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= state_.songs.get().size()) {
    return;
  }
  captureCurrentSong();
  if (cancelMidiLearn) {
    cancelMidiLearn();
  }
  const auto song = state_.songs.get()[static_cast<std::size_t>(index)];
  const double ring = secondsToRing(static_cast<std::size_t>(index));
  // Counted before the first load starts: one that ends at once must not end the switch.
  const auto token = Uuid::fresh();
  beginSongSwitch(token, loadsOf(song));
  state_.selectedSongIndex.set(static_cast<std::size_t>(index));
  takeOver(song);
  stripsWillGo.emit();
  engine_.pluginPool().prewarmPlugins(contents_.instruments());
  engine_.decodeAhead(contents_.tracksBehind(static_cast<std::size_t>(index)));
  engine_.removeAllChannels(ring);
  sources_.clear();
  for (const auto& record : song.channels) {
    buildChannel(record, token);
  }
  restoreMasterEffects(song.masterEffectSlots, token);
  finishSongSwitchIfReady(token);
  const auto& channels = engine_.channels();
  selection_.selectedChannelId.set(channels.empty() ? std::nullopt : std::optional(channels.front()->id));
  selection_.channelsViewVersion.set(selection_.channelsViewVersion.get() + 1);
  state_.isDirty.set(false);
  stripsChanged.emit();
}

/// Takes over the new song's values in the session and the beat clock while the old song's channels still exist.
void SongSwitch::takeOver(const SongConfig& song) {
  state_.songNotes.set(song.songNotes);
  state_.tempoBpm.set(song.tempoBpm);
  engine_.musicalContext().songSwitchBegan(song.tempoBpm);
  sendToInstruments(midiStop);
  state_.keyboardStartNote.set(song.keyboardStartNote);
  state_.keyboardKeyCount.set(song.keyboardKeyCount);
  engine_.masterChannel()->color.set(song.masterChannelColor);
}

void SongSwitch::sendToInstruments(std::uint8_t status) {
  for (const auto& channel : engine_.channels()) {
    if (auto* instrument = channel->midiInstrument()) {
      instrument->sendMIDIEvent(status, 0);
    }
  }
}

void SongSwitch::buildChannel(const ChannelConfig& record, const Uuid& token) {
  ChannelBuilder::Progress progress;
  progress.isWanted = [this, life = life_.watch(), token] {
    return life.isAlive() && state_.songSwitchLoadToken.get() == token;
  };
  progress.instrumentEnded = [this, token] { completeSongSwitchLoad(token); };
  progress.effectsEnded = [this, life = life_.watch(), loads = loadsOf(record.effectSlots), token] {
    if (life.isAlive()) {
      completeLoads(loads, token);
    }
  };
  builder_.load(builder_.addChannel(record), record, progress);
}

void SongSwitch::restoreMasterEffects(const std::vector<AudioPluginSlot>& slots, const Uuid& token) {
  builder_.restoreEffects(engine_.masterChannel(), slots, [this, life = life_.watch(), loads = loadsOf(slots), token] {
    if (life.isAlive() && state_.songSwitchLoadToken.get() == token) {
      engine_.chains().rebuildMasterEffectChain(true);
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
  return state_.songSwitchLoadToken.get() == token && state_.songSwitchInProgress.get();
}

void SongSwitch::beginSongSwitch(const Uuid& token, int pendingLoads) {
  state_.songSwitchLoadToken.set(token);
  state_.songSwitchInProgress.set(true);
  state_.songSwitchElapsedMs.set(std::nullopt);
  state_.songSwitchPendingLoads.set(pendingLoads);
  state_.songSwitchStartedAtUptime.set(clock_.CACurrentMediaTime());
  state_.beginLoadingSession(pendingLoads, std::string(text(TextKey::loadingAudioUnits, state_.language.get())));
  mainQueue_.asyncAfter(songSwitchTimeoutSeconds, [this, life = life_.watch(), token] {
    if (life.isAlive()) {
      songSwitchTimedOut(token);
    }
  });
}

void SongSwitch::completeSongSwitchLoad(const Uuid& token) {
  if (!isUnderWay(token)) {
    return;
  }
  state_.songSwitchPendingLoads.set(std::max(state_.songSwitchPendingLoads.get() - 1, 0));
  state_.completeOneLoad();
  finishSongSwitchIfReady(token);
}

void SongSwitch::finishSongSwitchIfReady(const Uuid& token) {
  if (!isUnderWay(token) || state_.songSwitchPendingLoads.get() != 0) {
    return;
  }
  engine_.musicalContext().songSwitchEnded();
  for (const auto& channel : engine_.channels()) {
    if (auto* instrument = channel->midiInstrument()) {
      instrument->sendMIDIEvent(midiStop, 0);
      instrument->sendMIDIEvent(midiStart, 0);
    }
  }
  constexpr double millisecondsPerSecond = 1000.0;
  const auto started = state_.songSwitchStartedAtUptime.get();
  const double seconds = started ? clock_.CACurrentMediaTime() - *started : 0.0;
  state_.songSwitchElapsedMs.set(std::max(static_cast<int>(std::lround(seconds * millisecondsPerSecond)), 0));
  state_.songSwitchInProgress.set(false);
  state_.songSwitchStartedAtUptime.set(std::nullopt);
}

void SongSwitch::songSwitchTimedOut(const Uuid& token) {
  if (!isUnderWay(token)) {
    return;
  }
  console_.print("Song switch timed out after " + std::to_string(static_cast<int>(songSwitchTimeoutSeconds)) +
                 " seconds");
  state_.songSwitchPendingLoads.set(0);
  state_.finishLoadingSession();
  finishSongSwitchIfReady(token);
}

}  // namespace vrel
