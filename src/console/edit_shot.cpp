// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/edit_shot.h"

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <utility>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "document/app_state.h"
#include "document/played_files.h"
#include "engine/audio_engine.h"

namespace vrel {
namespace {

template <typename Value>
struct EditedField {
  Value ChannelConfig::*value;
  TextKey name;
};
template <typename Value>
EditedField(Value ChannelConfig::*, TextKey) -> EditedField<Value>;

constexpr std::tuple editedFields = {
    EditedField{&ChannelConfig::volume, TextKey::volume},
    EditedField{&ChannelConfig::gain, TextKey::stripSettings},
    EditedField{&ChannelConfig::reverb, TextKey::stripSettings},
    EditedField{&ChannelConfig::mute, TextKey::mute},
    EditedField{&ChannelConfig::solo, TextKey::solo},
    EditedField{&ChannelConfig::color, TextKey::stripSettings},
    EditedField{&ChannelConfig::minNote, TextKey::splitTranspose},
    EditedField{&ChannelConfig::maxNote, TextKey::splitTranspose},
    EditedField{&ChannelConfig::transpose, TextKey::splitTranspose},
    EditedField{&ChannelConfig::sendSustain, TextKey::stripSettings},
    EditedField{&ChannelConfig::sendExpression, TextKey::stripSettings},
    EditedField{&ChannelConfig::sustainControlsRotor, TextKey::stripSettings},
};

template <typename Visit>
void forEachField(Visit visit) {
  std::apply([&](const auto&... field) { (visit(field), ...); }, editedFields);
}

StripShot shotOf(const AudioChannel& channel) {
  StripShot shot{.strip = channel.id,
                 .record = {},
                 .instrument = channel.instrumentNode.get(),
                 .effects = channel.effectNodes.get()};
  shot.record.name = channel.name.get();
  shot.record.pluginPath = channel.pluginPath.get();
  storeStripValues(channel, shot.record);
  storePlaybackValues(channel, shot.record);
  shot.record.visualClipMappings = channel.visualClipMappings.get();
  shot.record.effectSlots = channel.effectSlots.get();
  return shot;
}

/// The first thing about a strip that a person has edited.
std::optional<EditDifference> stripDifference(const ChannelConfig& before, const ChannelConfig& after,
                                              const std::string& target) {
  if (before.name != after.name) {
    return EditDifference{TextKey::renameStrip, target + " name"};
  }
  if (!playSameSource(before, after)) {
    return EditDifference{after.pluginPath.empty() ? TextKey::removeInstrument : TextKey::changeInstrument,
                          target + " source " + Uuid::fresh().text()};
  }
  if (!haveSameEffects(before, after)) {
    return EditDifference{TextKey::effectsTitle, target + " effects " + Uuid::fresh().text()};
  }
  std::optional<EditDifference> found;
  int number = 0;
  forEachField([&](const auto& field) {
    ++number;
    if (!found && before.*field.value != after.*field.value) {
      // A press on a button is a step, what a hand draws or turns is one for the whole gesture.
      constexpr bool isButton = std::is_same_v<std::remove_cvref_t<decltype(before.*field.value)>, bool>;
      found = EditDifference{field.name, target + " " + (isButton ? Uuid::fresh().text() : std::to_string(number))};
    }
  });
  return found;
}

template <typename List, typename IdOf>
std::vector<Uuid> idsOf(const List& list, IdOf idOf) {
  std::vector<Uuid> ids;
  for (const auto& each : list) {
    ids.push_back(idOf(each));
  }
  return ids;
}

std::vector<Uuid> songIds(const EditShot& shot) {
  return idsOf(shot.songs, [](const auto& song) { return song->id; });
}

std::vector<Uuid> stripIds(const EditShot& shot) {
  return idsOf(shot.strips, [](const auto& strip) { return strip.strip; });
}

EditDifference orderDifference(std::size_t before, std::size_t after, TextKey added, TextKey removed, TextKey moved) {
  // Each is a step of its own, whatever comes after it.
  return {after > before ? added : after < before ? removed : moved, Uuid::fresh().text()};
}

std::optional<EditDifference> stageDifference(const EditShot& before, const EditShot& after) {
  if (stripIds(before) != stripIds(after)) {
    return orderDifference(before.strips.size(), after.strips.size(), TextKey::addStrip, TextKey::deleteChannel,
                           TextKey::moveStrip);
  }
  for (std::size_t index = 0; index < before.strips.size(); ++index) {
    const auto found =
        stripDifference(before.strips[index].record, after.strips[index].record, before.strips[index].strip.text());
    if (found) {
      return found;
    }
  }
  return stripDifference(before.master.record, after.master.record, "master");
}

std::vector<std::string> filesOf(const SongConfig& song) {
  std::vector<std::string> files;
  for (const auto& channel : song.channels) {
    visitPlayedFiles(channel, [&files](const std::string& path) { files.push_back(path); });
  }
  return files;
}

/// A plug-in that went, and where its state goes.
struct GonePlugin {
  AUAudioUnit* unit;
  std::optional<SharedText>* stateBase64;
};

void addGone(StripShot& before, const StripShot* after, std::vector<GonePlugin>& gone) {
  auto* const instrument = dynamic_cast<AVAudioUnit*>(before.instrument.get());
  if (instrument != nullptr && (after == nullptr || after->record.pluginPath != before.record.pluginPath)) {
    gone.push_back({&instrument->auAudioUnit(), &before.record.pluginStateBase64});
  }
  for (auto& slot : before.record.effectSlots) {
    const auto node = before.effects.find(slot.id);
    const bool isKept =
        after != nullptr &&
        std::any_of(after->record.effectSlots.begin(), after->record.effectSlots.end(),
                    [&](const auto& each) { return each.id == slot.id && each.pluginPath == slot.pluginPath; });
    if (node != before.effects.end() && !isKept) {
      gone.push_back({&node->second->auAudioUnit(), &slot.stateBase64});
    }
  }
}

/// All are asked before the first is waited for.
void keepStates(const std::vector<GonePlugin>& gone, PluginState& states) {
  for (const GonePlugin& each : gone) {
    each.unit->requestFullStateForDocument();
  }
  for (const GonePlugin& each : gone) {
    *each.stateBase64 = states.captureAudioUnitState(*each.unit);
  }
}

}  // namespace

std::optional<std::size_t> EditShot::indexOfStrip(const Uuid& strip) const {
  const auto found = std::find_if(strips.begin(), strips.end(), [&](const auto& each) { return each.strip == strip; });
  return found == strips.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - strips.begin()));
}

std::optional<std::size_t> EditShot::indexOfSong(const Uuid& song) const {
  const auto found = std::find_if(songs.begin(), songs.end(), [&](const auto& each) { return each->id == song; });
  return found == songs.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - songs.begin()));
}

std::optional<std::size_t> EditShot::indexOfSong(const Uuid& song, std::size_t likely) const {
  return likely < songs.size() && songs[likely]->id == song ? std::optional(likely) : indexOfSong(song);
}

EditShot takeShot(AppState& state, AudioEngine& engine, const EditShot& former, const ChangedSongs& changed) {
  const auto& songs = state.songs.get();
  const auto selected = state.selectedSongIndex.get();
  EditShot shot;
  if (selected && *selected < songs.size()) {
    shot.songOnStage = songs[*selected].id;
  }
  for (const auto& channel : engine.channels()) {
    shot.strips.push_back(shotOf(*channel));
  }
  shot.master = shotOf(*engine.masterChannel());
  shot.onStage.songNotes = state.songNotes.get();
  shot.onStage.tempoBpm = state.tempoBpm.get();
  shot.onStage.keyboardStartNote = state.keyboardStartNote.get();
  shot.onStage.keyboardKeyCount = state.keyboardKeyCount.get();
  shot.learnedForAll = state.globalMidiControlAssignments.get();
  shot.songControl = state.songControl.get();
  shot.songs.reserve(songs.size());
  std::size_t likely = 0;
  for (const auto& song : songs) {
    const auto index = former.indexOfSong(song.id, likely);
    likely = index ? *index + 1 : likely;
    const bool mayDiffer = changed.isAny || changed.songs.contains(song.id);
    const bool isSame = index && (!mayDiffer || *former.songs[*index] == song);
    shot.songs.push_back(isSame ? former.songs[*index] : std::make_shared<const SongConfig>(song));
  }
  return shot;
}

bool haveLearnedTheSame(const SongConfig& a, const SongConfig& b) {
  return a.midiControlAssignments == b.midiControlAssignments &&
         a.pluginControlAssignments == b.pluginControlAssignments && a.program == b.program;
}

bool haveSameEffects(const ChannelConfig& a, const ChannelConfig& b) {
  return std::equal(
      a.effectSlots.begin(), a.effectSlots.end(), b.effectSlots.begin(), b.effectSlots.end(),
      [](const auto& one, const auto& other) { return one.id == other.id && one.pluginPath == other.pluginPath; });
}

bool differInOrder(const EditShot& before, const EditShot& after) {
  return songIds(before) != songIds(after) || stripIds(before) != stripIds(after);
}

std::vector<FileDifference> differencesInFiles(const EditShot& before, const EditShot& after) {
  std::vector<FileDifference> differences;
  const auto count = before.songs.size() == after.songs.size() ? before.songs.size() : 0;
  for (std::size_t index = 0; index < count; ++index) {
    const SongConfig& song = *before.songs[index];
    const bool isOnStage = before.songOnStage == song.id || after.songOnStage == song.id;
    if (before.songs[index] == after.songs[index] || song.id != after.songs[index]->id || isOnStage) {
      continue;  // the record of the song on stage may be out of date
    }
    FileDifference difference{song.id, filesOf(song), filesOf(*after.songs[index])};
    if (difference.before != difference.after && difference.before.size() == difference.after.size()) {
      differences.push_back(std::move(difference));
    }
  }
  return differences;
}

std::optional<EditDifference> differenceOf(const EditShot& before, const EditShot& after) {
  if (songIds(before) != songIds(after)) {
    return orderDifference(before.songs.size(), after.songs.size(), TextKey::addSong, TextKey::deleteSong,
                           TextKey::moveSong);
  }
  for (std::size_t index = 0; index < before.songs.size(); ++index) {
    if (before.songs[index]->name != after.songs[index]->name) {
      return EditDifference{TextKey::renameSong, Uuid::fresh().text()};
    }
  }
  if (!differencesInFiles(before, after).empty()) {
    return EditDifference{TextKey::visualFile, Uuid::fresh().text()};
  }
  if (before.songOnStage == after.songOnStage) {
    if (const auto found = stageDifference(before, after)) {
      return found;  // also where learned controls have followed it
    }
  }
  const bool isLearnedTheSame =
      before.learnedForAll == after.learnedForAll && before.songControl == after.songControl &&
      std::equal(before.songs.begin(), before.songs.end(), after.songs.begin(), after.songs.end(),
                 [](const auto& one, const auto& other) { return haveLearnedTheSame(*one, *other); });
  return isLearnedTheSame ? std::nullopt
                          : std::optional(EditDifference{TextKey::learnedControls, Uuid::fresh().text()});
}

void changeValues(AudioChannel& channel, const ChannelConfig& from, const ChannelConfig& to) {
  ChannelConfig record;
  storeStripValues(channel, record);
  forEachField([&](const auto& field) {
    if (from.*field.value != to.*field.value) {
      record.*field.value = to.*field.value;
    }
  });
  applyStripValues(channel, record);
  if (from.name != to.name) {
    channel.name.set(to.name);
  }
}

void keepWhatWent(EditShot& before, const EditShot& after, PluginState& states) {
  const auto song = before.songOnStage ? before.indexOfSong(*before.songOnStage) : std::nullopt;
  const bool isGone = song && !after.indexOfSong(*before.songOnStage);
  const bool isOnStage = before.songOnStage == after.songOnStage;
  if (isOnStage || isGone) {
    std::vector<GonePlugin> gone;
    for (auto& strip : before.strips) {
      const auto index = isOnStage ? after.indexOfStrip(strip.strip) : std::nullopt;
      addGone(strip, index ? &after.strips[*index] : nullptr, gone);
    }
    addGone(before.master, isGone ? nullptr : &after.master, gone);
    keepStates(gone, states);
  }
  for (auto& strip : before.strips) {
    strip.instrument = nullptr;
    strip.effects.clear();
  }
  before.master.instrument = nullptr;
  before.master.effects.clear();
  if (isGone) {
    auto whole = *before.songs[*song];
    whole.songNotes = before.onStage.songNotes;
    whole.tempoBpm = before.onStage.tempoBpm;
    whole.keyboardStartNote = before.onStage.keyboardStartNote;
    whole.keyboardKeyCount = before.onStage.keyboardKeyCount;
    whole.masterChannelColor = before.master.record.color;
    whole.channels.clear();
    for (const auto& strip : before.strips) {
      whole.channels.push_back(strip.record);
    }
    whole.masterEffectSlots = before.master.record.effectSlots;
    before.songs[*song] = std::make_shared<const SongConfig>(std::move(whole));
  }
}

}  // namespace vrel
