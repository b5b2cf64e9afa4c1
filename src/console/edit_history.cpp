// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/edit_history.h"

#include <algorithm>
#include <map>
#include <utility>

#include "channel/channel_values.h"
#include "console/instrument_selector.h"
#include "console/learned_steps.h"
#include "console/song_list.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "document/find_slot.h"
#include "document/played_files.h"
#include "engine/audio_engine.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/clock.h"

namespace vrel {
namespace {

constexpr double secondsOfOneEdit = 1.0;

const ChannelBuilder::Progress unwatched{
    .isWanted = [] { return true; }, .instrumentEnded = [] {}, .effectsEnded = [] {}};

/// Announces the captures of what a strip has in `from` and not in `to`.
void requestStatesThatGo(const AudioChannel& channel, const ChannelConfig& from, const ChannelConfig& to) {
  auto* const instrument = dynamic_cast<AVAudioUnit*>(channel.instrumentNode.get().get());
  if (instrument != nullptr && !playSameSource(from, to)) {
    instrument->auAudioUnit().requestFullStateForDocument();
  }
  if (!haveSameEffects(from, to)) {
    for (const auto& [slot, effect] : channel.effectNodes.get()) {
      effect->auAudioUnit().requestFullStateForDocument();
    }
  }
}

using SongPlaces = std::map<Uuid, std::size_t>;

SongPlaces placesOf(const EditShot& shot) {
  SongPlaces places;
  for (std::size_t place = 0; place < shot.songs.size(); ++place) {
    places.emplace(shot.songs[place]->id, place);
  }
  return places;
}

/// What a step has changed in a song beside its learned controls.
void changeSongValues(SongConfig& present, const SongConfig& from, const SongConfig& to) {
  if (from.name != to.name) {
    present.name = to.name;
  }
  if (from.program != to.program) {
    present.program = to.program;
  }
}

void replaceFiles(SongConfig& song, const FileDifference& difference) {
  std::size_t index = 0;
  for (auto& channel : song.channels) {
    visitPlayedFiles(channel, [&](std::string& path) {
      if (index < difference.before.size() && path == difference.before[index]) {
        path = difference.after[index];
      }
      ++index;
    });
  }
}

bool haveSongInCommon(const EditShot& one, const std::vector<SongConfig>& songs) {
  return std::any_of(songs.begin(), songs.end(), [&](const auto& song) { return one.indexOfSong(song.id); });
}

}  // namespace

EditHistory::EditHistory(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      builder_(collaborators.builder),
      selection_(collaborators.selection),
      clock_(collaborators.clock),
      songSwitch_(collaborators.songSwitch),
      songList_(collaborators.songList),
      instruments_(collaborators.instruments) {
  connections_.push_back(state_.edited.connect([this] { noteEdit(); }));
  connections_.push_back(songSwitch_.stripsChanged.connect([this] { noteSwitch(); }));
  connections_.push_back(state_.songs.changed.connect([this](const auto& songs) {
    if (songSwitch_.isCapturing()) {
      changedSongs_.songs.insert(songs[*state_.selectedSongIndex.get()].id);
    } else {
      changedSongs_.isAny = true;
    }
  }));
  connections_.push_back(state_.language.changed.connect([this](const Language&) { showNames(); }));
  rebase();
}

void EditHistory::noteEdit() {
  if (isTravelling_) {
    return;
  }
  for (const auto& channel : engine_.channels()) {
    if (channel->status.get() == ChannelStatus::loading && !current_.indexOfStrip(channel->id)) {
      loading_.insert(channel->id);  // pasted or duplicated
    }
  }
  auto after = shoot();
  const bool mayUndo = LiveModePolicy::isAllowed(LiveModeAction::undo, state_);
  if (!haveSongInCommon(current_, state_.songs.get()) && !current_.songs.empty() && !after.songs.empty()) {
    forget();  // another setlist
  } else if (!mayUndo && differInOrder(current_, after)) {
    forget();
  } else if (const auto difference = mayUndo ? differenceOf(current_, after) : std::nullopt) {
    steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(doneCount_), steps_.end());
    const double now = clock_.CACurrentMediaTime();
    keepWhatWent(current_, after, engine_.pluginState());
    if (!steps_.empty() && steps_.back().difference == *difference &&
        now - steps_.back().changedAt < secondsOfOneEdit) {
      steps_.back().after = after;
      steps_.back().changedAt = now;
    } else {
      steps_.push_back({*difference, std::move(current_), after, now});
    }
    if (steps_.size() > mostSteps) {
      steps_.pop_front();
    }
    doneCount_ = steps_.size();
    auto& kept = steps_.back().after;
    keepWhatWent(kept, kept, engine_.pluginState());
  }
  current_ = std::move(after);
  followPlugins();
  showNames();
}

/// What has come on stage loads without a further edit.
void EditHistory::awaitLoads() {
  loading_.clear();
  for (const auto& channel : engine_.channels()) {
    if (channel->status.get() == ChannelStatus::loading) {
      loading_.insert(channel->id);
    }
  }
}

void EditHistory::sourceCame(const AudioChannel& channel) {
  const auto complete = [&](EditShot& shot) {
    const auto index = shot.indexOfStrip(channel.id);
    if (index && shot.strips[*index].isLoading) {
      shot.strips[*index].record.pluginPath = channel.pluginPath.get();
      songSwitch_.keepMissingSource(channel, shot.strips[*index].record);
      shot.strips[*index].isLoading = false;
    }
  };
  complete(current_);
  for (Step& step : steps_) {
    complete(step.before);
    complete(step.after);
  }
}

/// A switch is not an edit. Where the song that was on stage is gone, the edit that took it is noted behind the switch.
void EditHistory::noteSwitch() {
  if (isTravelling_) {
    return;
  }
  const auto& songs = state_.songs.get();
  const bool isThere = !current_.songOnStage || std::any_of(songs.begin(), songs.end(), [&](const auto& song) {
    return song.id == *current_.songOnStage;
  });
  if (!haveSongInCommon(current_, songs)) {
    forget();
    rebase();
  } else if (isThere) {
    rebase();
  }
}

/// What is tried out on a strip is not there yet.
EditShot EditHistory::shoot() {
  auto shot = takeShot(state_, engine_, current_, std::exchange(changedSongs_, {.isAny = false, .songs = {}}));
  for (std::size_t index = 0; index < shot.strips.size(); ++index) {
    const AudioChannel& channel = *engine_.channels()[index];
    instruments_.amendRecord(channel, shot.strips[index].record);
    shot.strips[index].isLoading = loading_.contains(channel.id);
    if (!shot.strips[index].isLoading) {
      songSwitch_.keepMissingSource(channel, shot.strips[index].record);
    }
  }
  return shot;
}

void EditHistory::rebase() {
  awaitLoads();
  current_ = shoot();
  followPlugins();
}

void EditHistory::forget() {
  steps_.clear();
  doneCount_ = 0;
  showNames();
}

void EditHistory::showNames() {
  const auto language = state_.language.get();
  const auto named = [&](TextKey what, bool isThere, std::size_t index) {
    return isThere
               ? std::string(text(what, language)) + ": " + std::string(text(steps_[index].difference.name, language))
               : std::string();
  };
  state_.undoTitle.set(named(TextKey::undoEdit, doneCount_ > 0, doneCount_ - 1));
  state_.redoTitle.set(named(TextKey::redoEdit, doneCount_ < steps_.size(), doneCount_));
}

/// Plug-ins come later than the edit that asked for them, and their states are wanted when they go.
void EditHistory::followPlugins() {
  pluginConnections_.clear();
  const auto follow = [this](AudioChannel& channel) {
    const auto refresh = [this](const auto&) { refreshPlugins(); };
    pluginConnections_.push_back(channel.pluginPath.changed.connect(refresh));
    pluginConnections_.push_back(channel.status.changed.connect(refresh));
    pluginConnections_.push_back(channel.effectNodes.changed.connect(refresh));
  };
  for (const auto& channel : engine_.channels()) {
    follow(*channel);
  }
  follow(*engine_.masterChannel());
}

void EditHistory::refreshPlugins() {
  const auto refresh = [](StripShot& shot, const AudioChannel& channel) {
    if (channel.instrumentNode.get() != nullptr && channel.pluginPath.get() == shot.record.pluginPath) {
      shot.instrument = channel.instrumentNode.get();
    }
    for (const auto& [slot, node] : channel.effectNodes.get()) {
      shot.effects[slot] = node;
    }
  };
  for (const auto& channel : engine_.channels()) {
    if (channel->status.get() != ChannelStatus::loading && loading_.erase(channel->id) > 0) {
      sourceCame(*channel);
    }
    if (const auto index = current_.indexOfStrip(channel->id)) {
      refresh(current_.strips[*index], *channel);
    }
  }
  refresh(current_.master, *engine_.masterChannel());
}

void EditHistory::undo() {
  if (doneCount_ == 0 || !LiveModePolicy::isAllowed(LiveModeAction::undo, state_)) {
    return;
  }
  Step& step = steps_[--doneCount_];
  travel(step.after, step.before);
}

void EditHistory::redo() {
  if (doneCount_ == steps_.size() || !LiveModePolicy::isAllowed(LiveModeAction::undo, state_)) {
    return;
  }
  Step& step = steps_[doneCount_++];
  travel(step.before, step.after);
}

void EditHistory::travel(EditShot& from, const EditShot& to) {
  isTravelling_ = true;
  changeSongs(from, to);
  const bool isThere = bringOnStage(from, to);
  if (isThere && from.songOnStage == to.songOnStage) {
    changeFiles(from, to);  // behind the switch, which captures the song that leaves
    changeStrips(from, to);
  }
  state_.markEdited();
  isTravelling_ = false;
  if (!isThere) {
    forget();  // the stage is not what the step knew
  }
  rebase();
  showNames();
}

void EditHistory::changeSongs(EditShot& from, const EditShot& to) {
  const SongPlaces wanted = placesOf(to);
  for (auto& song : from.songs) {
    if (!wanted.contains(song->id)) {
      songSwitch_.captureCurrentSong();
      const auto& songs = state_.songs.get();
      const auto live = std::find_if(songs.begin(), songs.end(), [&](const auto& each) { return each.id == song->id; });
      if (live != songs.end()) {
        song = std::make_shared<const SongConfig>(*live);
        songList_.deleteSong(song->id);
      }
    }
  }
  const auto onStage = songList_.songOnStage();
  const SongPlaces former = placesOf(from);
  state_.songs.modify([&](std::vector<SongConfig>& songs) {
    std::set<Uuid> present;
    for (SongConfig& song : songs) {
      present.insert(song.id);
      if (wanted.contains(song.id) && former.contains(song.id)) {
        changeSongValues(song, *from.songs[former.at(song.id)], *to.songs[wanted.at(song.id)]);
        if (!haveLearnedTheSame(*from.songs[former.at(song.id)], *to.songs[wanted.at(song.id)]) ||
            from.songOnStage == song.id) {
          changeLearned(song, from, to);
        }
      }
    }
    for (const auto& song : to.songs) {
      if (!present.contains(song->id) && !former.contains(song->id)) {
        songs.push_back(*song);
      }
    }
    const auto rank = [&](const SongConfig& song) {
      const auto place = wanted.find(song.id);
      return place == wanted.end() ? wanted.size() : place->second;
    };
    std::stable_sort(songs.begin(), songs.end(), [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
  });
  state_.selectedSongIndex.set(onStage ? songList_.indexOf(*onStage) : std::nullopt);
  if (from.learnedForAll != to.learnedForAll) {
    state_.globalMidiControlAssignments.modify(
        [&](auto& learned) { changeLearned(learned, from.learnedForAll, to.learnedForAll); });
  }
  if (from.songControl != to.songControl) {
    state_.songControl.set(to.songControl);
  }
}

void EditHistory::changeFiles(const EditShot& from, const EditShot& to) {
  std::map<Uuid, FileDifference> differences;
  for (auto& difference : differencesInFiles(from, to)) {
    differences.emplace(difference.song, std::move(difference));
  }
  if (differences.empty()) {
    return;
  }
  state_.songs.modify([&](std::vector<SongConfig>& songs) {
    for (SongConfig& song : songs) {
      if (const auto found = differences.find(song.id); found != differences.end()) {
        replaceFiles(song, found->second);
      }
    }
  });
}

/// The song of the step, when it is not on stage and is needed there. False when it cannot be.
bool EditHistory::bringOnStage(const EditShot& from, const EditShot& to) {
  const bool isForStrips =
      from.songOnStage == to.songOnStage && differenceOf(from, to) && songList_.songOnStage() != to.songOnStage;
  const bool hasSwitched = from.songOnStage != to.songOnStage;
  if (to.songOnStage && (isForStrips || hasSwitched)) {
    const auto index = songList_.indexOf(*to.songOnStage);
    if (index && songList_.songOnStage() != to.songOnStage) {
      songSwitch_.applySong(static_cast<std::ptrdiff_t>(*index));
    }
  }
  return from.songOnStage != to.songOnStage ||
         (songList_.songOnStage() == to.songOnStage && engine_.channels().size() == from.strips.size());
}

void EditHistory::changeStrips(EditShot& from, const EditShot& to) {
  const auto before = engine_.channels();
  for (std::size_t index = 0; index < before.size(); ++index) {
    if (const auto wanted = to.indexOfStrip(from.strips[index].strip)) {
      requestStatesThatGo(*before[index], from.strips[index].record, to.strips[*wanted].record);
    } else {
      engine_.pluginState().requestStates(*before[index]);
    }
  }
  requestStatesThatGo(*engine_.masterChannel(), from.master.record, to.master.record);
  for (std::size_t index = 0; index < before.size(); ++index) {
    if (!to.indexOfStrip(from.strips[index].strip)) {
      auto& record = from.strips[index].record;
      record.pluginStateBase64 = engine_.pluginState().capturePluginState(*before[index]);
      record.effectSlots = engine_.pluginState().captureEffectSlots(*before[index]);
      instruments_.amendRecord(*before[index], record);
      songSwitch_.keepMissingSource(*before[index], record);
      engine_.removeChannel(*before[index]);
    }
  }
  for (std::size_t index = 0; index < to.strips.size(); ++index) {
    const auto former = from.indexOfStrip(to.strips[index].strip);
    if (former) {
      changeStrip(before[*former], from.strips[*former], to.strips[index]);
    } else {
      addStrip(to.strips[index].record);
    }
    const auto& id = former ? before[*former]->id : engine_.channels().back()->id;
    engine_.moveChannel(*indexOfStrip(engine_, id), index);
  }
  changeStrip(engine_.masterChannel(), from.master, to.master);
  engine_.applyMixerLevels();
  if (!indexOfStrip(engine_, selection_.selectedChannelId.get())) {
    selectFirstStrip(selection_, engine_);
  }
  selection_.channelsViewVersion.set(selection_.channelsViewVersion.get() + 1);
}

void EditHistory::addStrip(const ChannelConfig& record) {
  builder_.load(builder_.addChannel(record), record, unwatched);
}

void EditHistory::changeStrip(const std::shared_ptr<AudioChannel>& channel, StripShot& from, const StripShot& to) {
  changeValues(*channel, from.record, to.record);
  if (!playSameSource(from.record, to.record)) {
    from.record.pluginStateBase64 = engine_.pluginState().capturePluginState(*channel);
    instruments_.amendRecord(*channel, from.record);
    songSwitch_.keepMissingSource(*channel, from.record);
    instruments_.put(channel, to.record);
  }
  if (!haveSameEffects(from.record, to.record)) {
    auto live = engine_.pluginState().captureEffectSlots(*channel);
    for (auto& slot : from.record.effectSlots) {
      const auto found = findSlot(live, slot.id);
      slot.stateBase64 = found == live.end() ? slot.stateBase64 : found->stateBase64;
    }
    changeRack(channel, from.record, to.record);
  }
}

void EditHistory::changeRack(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& from,
                             const ChannelConfig& to) {
  auto slots = to.effectSlots;
  for (auto& slot : slots) {
    const auto found = std::find_if(from.effectSlots.begin(), from.effectSlots.end(), [&](const auto& each) {
      return each.id == slot.id && each.pluginPath == slot.pluginPath;
    });
    if (found != from.effectSlots.end()) {
      slot.stateBase64 = found->stateBase64;
    }
  }
  const bool isMaster = channel == engine_.masterChannel();
  builder_.restoreEffects(channel, slots, [this, life = life_.watch(), isMaster] {
    if (isMaster && life.isAlive()) {
      engine_.chains().rebuildMasterEffectChain(true);
    }
  });
}

}  // namespace vrel
