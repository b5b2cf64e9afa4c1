// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "document/setlist.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioEngine;
class SongSwitch;
struct ConsoleSelection;

/// The lowest and the highest note of the keyboard on the screen.
struct KeyboardNoteRange {
  std::uint8_t low = 0;
  std::uint8_t high = 0;

  bool operator==(const KeyboardNoteRange&) const = default;
};
[[nodiscard]] KeyboardNoteRange keyboardNoteRange(const AppState& state);

/// The one strip that a new song begins with, over these notes.
[[nodiscard]] ChannelConfig newSongChannel(KeyboardNoteRange range);

/// The songs as the performer arranges them: added, renamed, moved, deleted, clicked.
///
/// To add, rename, move or delete a song is an edit; a click is none.
///
/// An id that is not found and a move that leads nowhere do nothing, and nothing asks back. Main thread.
class SongList {
 public:
  /// All are borrowed.
  SongList(AppState& state, AudioEngine& engine, SongSwitch& songSwitch, ConsoleSelection& selection)
      : state_(state), engine_(engine), songSwitch_(songSwitch), selection_(selection) {}

  // The song whose name is being edited, and its text so far.
  Observable<std::optional<Uuid>> editingSongId;
  Observable<std::string> editingSongNameDraft;
  Observable<std::optional<Uuid>> focusedSongEditorId;

  // A drag under way.
  Observable<std::optional<Uuid>> draggedSongId;
  Observable<std::optional<Uuid>> dropTargetSongId;

  /// Appends a song under the name in `newSongName`, numbered by its place, and leaves the stage as it is. Nothing
  /// without a name.
  void addSong();

  /// A click on a row: ends an edit of a name, then puts the song on stage, in every mode.
  void clickSong(std::size_t row);

  /// Nothing in Live mode.
  void beginSongRename(Uuid songId);
  /// Takes over the name without the blanks around it, unless nothing is left or it is the same.
  void commitSongRename();
  void cancelSongRename();

  /// Deletes at once; the id may be one of the list itself. Another song goes on stage when it was the one there.
  void deleteSong(Uuid songId);

  /// Moves the song at the first of `fromOffsets` before what is at `toOffset`; the song on stage stays there.
  void moveSongs(const std::set<std::size_t>& fromOffsets, std::size_t toOffset);

  /// Moves a song by so many places, towards the end above 0; nothing beyond an end.
  void moveSongBy(const Uuid& songId, int by);

  [[nodiscard]] std::optional<std::size_t> indexOf(const Uuid& songId) const;
  [[nodiscard]] std::optional<Uuid> songOnStage() const;

 private:
  void clearStage();

  AppState& state_;
  AudioEngine& engine_;
  SongSwitch& songSwitch_;
  ConsoleSelection& selection_;
};

}  // namespace vrel
