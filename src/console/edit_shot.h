// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/uuid.h"
#include "text/text.h"

// What a person has made at one moment, light enough to be taken at every edit: the undo and redo steps are made of the
// differences between two. Main thread.

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class AVAudioNode;
class AVAudioUnit;
class PluginState;

/// A strip on stage, or the master.
struct StripShot {
  Uuid strip;              // the same in two shots as long as the song stays on stage
  bool isLoading = false;  // what it plays comes without a further edit
  ChannelConfig record;    // with the states of those plug-ins that went later
  // The plug-ins, while this is the last shot: a state can be taken of one that has left its strip.
  std::shared_ptr<AVAudioNode> instrument;
  std::map<Uuid, std::shared_ptr<AVAudioUnit>> effects;
};

struct EditShot {
  std::optional<Uuid> songOnStage;
  std::vector<StripShot> strips;
  StripShot master;
  SongConfig onStage;  // of the song on stage, beside its strips: notes, tempo, keyboard
  std::vector<std::shared_ptr<const SongConfig>> songs;  // shared by shots in which they are the same
  std::vector<MidiControlAssignment> learnedForAll;      // the controls that hold in every song
  SongControl songControl;

  [[nodiscard]] std::optional<std::size_t> indexOfStrip(const Uuid& strip) const;
  [[nodiscard]] std::optional<std::size_t> indexOfSong(const Uuid& song) const;
  /// The same, quick where the song is at `likely`.
  [[nodiscard]] std::optional<std::size_t> indexOfSong(const Uuid& song, std::size_t likely) const;
};

/// Where two shots differ first: a name for the edit, and what it was made on.
struct EditDifference {
  TextKey name;
  std::string target;

  bool operator==(const EditDifference&) const = default;
};

/// Which records of songs may have changed between two shots.
struct ChangedSongs {
  bool isAny = true;
  std::set<Uuid> songs;
};

/// The present state. Records of songs that are as in `former` are shared with it; those that cannot have changed are
/// not compared.
[[nodiscard]] EditShot takeShot(AppState& state, AudioEngine& engine, const EditShot& former,
                                const ChangedSongs& changed);

/// The files that a song plays, before and after an edit, in the order of its strips.
struct FileDifference {
  Uuid song;
  std::vector<std::string> before;
  std::vector<std::string> after;
};

/// Of the songs that are on stage in neither shot; nothing where the songs are not the same ones in the same order.
[[nodiscard]] std::vector<FileDifference> differencesInFiles(const EditShot& before, const EditShot& after);

/// None for two that look alike to a person; what else happens on stage than edits is not looked at.
[[nodiscard]] std::optional<EditDifference> differenceOf(const EditShot& before, const EditShot& after);

/// Whether the songs or strips are not the same ones in the same order.
[[nodiscard]] bool differInOrder(const EditShot& before, const EditShot& after);

/// Whether both songs have learned the same controls, and the same program change.
[[nodiscard]] bool haveLearnedTheSame(const SongConfig& a, const SongConfig& b);

[[nodiscard]] bool haveSameEffects(const ChannelConfig& a, const ChannelConfig& b);

/// Sets the values of a strip that differ between `from` and `to` to those of `to`.
void changeValues(AudioChannel& channel, const ChannelConfig& from, const ChannelConfig& to);

/// Puts the states of the plug-ins that `after` no longer has into the records of `before`, and the whole of a song
/// that went from the stage; then releases its plug-ins.
void keepWhatWent(EditShot& before, const EditShot& after, PluginState& states);

}  // namespace vrel
