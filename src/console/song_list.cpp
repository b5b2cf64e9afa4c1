// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/song_list.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "console/reorder.h"
#include "document/app_state.h"
#include "document/entered_text.h"
#include "engine/audio_engine.h"
#include "foundation/move_item.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"

namespace vrel {
namespace {

std::string numbered(std::size_t position, const std::string& name) {
  const std::string number = std::to_string(position);
  return (number.size() < 2 ? "0" : "") + number + ". " + name;
}

}  // namespace

KeyboardNoteRange keyboardNoteRange(const AppState& state) {
  const int low = state.keyboardStartNote.get();
  const int high = std::max(low, std::min(low + int{state.keyboardKeyCount.get()}, 128) - 1);
  return {static_cast<std::uint8_t>(low), static_cast<std::uint8_t>(high)};
}

ChannelConfig newSongChannel(KeyboardNoteRange range) {
  ChannelConfig channel;
  channel.name = "Piano Lead";
  channel.minNote = range.low;
  channel.maxNote = range.high;
  return channel;
}

void SongList::addSong() {
  const auto& name = state_.newSongName.get();
  if (name.empty()) {
    return;
  }
  const auto& songs = state_.songs.get();
  SongConfig song;
  song.name = numbered(songs.size() + 1, name);
  if (!songs.empty()) {
    song.keyboardStartNote = songs.back().keyboardStartNote;
    song.keyboardKeyCount = songs.back().keyboardKeyCount;
  }
  song.channels = {newSongChannel(keyboardNoteRange(state_))};
  state_.songs.modify([&song](auto& list) { list.push_back(std::move(song)); });
  state_.newSongName.set("");
  state_.markEdited();
}

void SongList::clickSong(std::size_t row) {
  if (editingSongId.get()) {
    commitSongRename();
  }
  songSwitch_.applySong(static_cast<std::ptrdiff_t>(row));
}

void SongList::beginSongRename(Uuid songId) {
  const auto index = indexOf(songId);
  if (index && LiveModePolicy::isAllowed(LiveModeAction::renameSong, state_)) {
    editingSongId.set(songId);
    focusedSongEditorId.set(songId);
    editingSongNameDraft.set(state_.songs.get()[*index].name);
  }
}

void SongList::commitSongRename() {
  const auto index = editingSongId.get() ? indexOf(*editingSongId.get()) : std::nullopt;
  if (index) {
    const std::string name(withoutBlanksAround(editingSongNameDraft.get()));
    if (!name.empty() && name != state_.songs.get()[*index].name) {
      state_.songs.modify([&](auto& list) { list[*index].name = name; });
      state_.markEdited();
    }
  }
  cancelSongRename();
}

void SongList::cancelSongRename() {
  editingSongId.set(std::nullopt);
  focusedSongEditorId.set(std::nullopt);
  editingSongNameDraft.set("");
}

void SongList::deleteSong(Uuid songId) {
  const auto index = indexOf(songId);
  if (!index) {
    return;
  }
  const auto onStage = songOnStage();
  state_.songs.modify([&](auto& list) { list.erase(list.begin() + static_cast<std::ptrdiff_t>(*index)); });
  if (state_.songs.get().empty()) {
    clearStage();
  } else if (onStage == songId) {
    state_.selectedSongIndex.set(std::nullopt);  // what is gone is not captured
    songSwitch_.applySong(static_cast<std::ptrdiff_t>(std::min(state_.songs.get().size() - 1, *index)));
  } else if (onStage) {
    state_.selectedSongIndex.set(indexOf(*onStage));
  }
  if (editingSongId.get() == songId) {
    cancelSongRename();
  }
  state_.markEdited();  // behind the switch, which clears it
}

void SongList::clearStage() {
  state_.selectedSongIndex.set(std::nullopt);
  state_.songNotes.set("");
  engine_.removeAllChannels();
  selection_.selectedChannelId.set(std::nullopt);
  selection_.channelsViewVersion.set(selection_.channelsViewVersion.get() + 1);
}

void SongList::moveSongs(const std::set<std::size_t>& fromOffsets, std::size_t toOffset) {
  const auto count = state_.songs.get().size();
  if (fromOffsets.empty() || *fromOffsets.begin() >= count || toOffset > count) {
    return;
  }
  const auto from = *fromOffsets.begin();
  if (toOffset == from || toOffset == from + 1) {
    return;
  }
  const auto onStage = songOnStage();
  state_.songs.modify([&](auto& list) { moveItem(list, from, toOffset); });
  state_.selectedSongIndex.set(onStage ? indexOf(*onStage) : std::nullopt);
  state_.markEdited();
}

void SongList::moveSongBy(const Uuid& songId, int by) {
  const auto from = indexOf(songId);
  const auto to = from ? offsetMovedBy(*from, by, state_.songs.get().size()) : std::nullopt;
  if (to) {
    moveSongs({*from}, *to);
  }
}

std::optional<std::size_t> SongList::indexOf(const Uuid& songId) const {
  const auto& songs = state_.songs.get();
  const auto found = std::find_if(songs.begin(), songs.end(), [&](const auto& song) { return song.id == songId; });
  return found == songs.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - songs.begin()));
}

std::optional<Uuid> SongList::songOnStage() const {
  const auto selected = state_.selectedSongIndex.get();
  const auto& songs = state_.songs.get();
  return selected && *selected < songs.size() ? std::optional(songs[*selected].id) : std::nullopt;
}

}  // namespace vrel
