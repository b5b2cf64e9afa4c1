// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/edit_shot.h"
#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/uuid.h"
#include "text/text.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ChannelBuilder;
class HostClock;
class InstrumentSelector;
class SongList;
class SongSwitch;
struct ConsoleSelection;

/// Undo and redo of what a person edits: strips, racks, songs and their order, and learned controls.
///
/// A step is the difference between the state before an edit and after it, so that what happens beside the edits is not
/// taken back. Edits of one value within a second are one step. A step of a song
/// that is not on stage brings it there first. In Live mode there are no steps, and one that changes songs or strips
/// there ends all earlier ones; so does another setlist. Main thread.
class EditHistory {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    ChannelBuilder& builder;
    ConsoleSelection& selection;
    const HostClock& clock;
    SongSwitch& songSwitch;
    SongList& songList;
    InstrumentSelector& instruments;
  };

  static constexpr std::size_t mostSteps = 200;

  /// All are borrowed.
  explicit EditHistory(const Collaborators& collaborators);

  /// Nothing in Live mode, or without a step. Both are edits.
  void undo();
  void redo();

  [[nodiscard]] std::size_t undoCount() const { return doneCount_; }
  [[nodiscard]] std::size_t redoCount() const { return steps_.size() - doneCount_; }

 private:
  struct Step {
    EditDifference difference;
    EditShot before;
    EditShot after;
    double changedAt;  // seconds
  };

  void noteEdit();
  void noteSwitch();
  [[nodiscard]] EditShot shoot();
  void rebase();
  void forget();
  void showNames();
  void followPlugins();
  void refreshPlugins();
  void awaitLoads();
  void sourceCame(const AudioChannel& channel);
  void travel(EditShot& from, const EditShot& to);
  void changeSongs(EditShot& from, const EditShot& to);
  void changeFiles(const EditShot& from, const EditShot& to);
  [[nodiscard]] bool bringOnStage(const EditShot& from, const EditShot& to);
  void changeStrips(EditShot& from, const EditShot& to);
  void changeStrip(const std::shared_ptr<AudioChannel>& channel, StripShot& from, const StripShot& to);
  void changeRack(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& from, const ChannelConfig& to);
  void addStrip(const ChannelConfig& record);

  AppState& state_;
  AudioEngine& engine_;
  ChannelBuilder& builder_;
  ConsoleSelection& selection_;
  const HostClock& clock_;
  SongSwitch& songSwitch_;
  SongList& songList_;
  InstrumentSelector& instruments_;
  EditShot current_;
  std::deque<Step> steps_;     // those that can be undone, then those that can be done again
  std::set<Uuid> loading_;     // strips whose instrument comes without a further edit
  std::size_t doneCount_ = 0;  // how many can be undone
  bool isTravelling_ = false;
  ChangedSongs changedSongs_;  // since the last shot: they are large, and a fader moves often
  std::vector<std::shared_ptr<void>> pluginConnections_;
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
