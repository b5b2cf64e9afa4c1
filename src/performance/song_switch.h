// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioEngine;
class ChannelBuilder;
class ConsoleOutput;
struct ConsoleSelection;
class HostClock;
class MainQueue;

/// Puts songs of the open setlist on stage: the channels of the one before are taken down and the new ones built in one
/// pass, while their plug-ins arrive in the background.
///
/// The values of the song on stage live in the engine's channels and in the session; `AppState::songs` is brought up
/// to date by `captureCurrentSong`, which every switch and every save begin with. A plug-in that is not installed or
/// fails never stops a switch: its strip stays, silent, with its status. One that never answers ends the switch
/// after `songSwitchTimeoutSeconds`. A switch is not an edit: it clears the mark. Main thread.
class SongSwitch {
 public:
  static constexpr double songSwitchTimeoutSeconds = 30.0;

  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    const HostClock& clock;
    ConsoleOutput& console;
    ConsoleSelection& selection;
    ChannelBuilder& builder;
  };

  /// All are borrowed.
  explicit SongSwitch(const Collaborators& collaborators);

  /// What is being learned or held by a learned control ends here. Called in each switch after the capture.
  std::function<void()> cancelMidiLearn;

  /// Emitted in each switch when the outgoing song is stored and has been told to stop, before its strips go. No load
  /// of the next one has begun.
  Signal<> stripsWillGo;

  /// Puts a song on stage, also one that is there already. Does nothing with an index out of range.
  void applySong(std::ptrdiff_t index);

  /// Stores what is on stage in the selected song; nothing when there is none. Does not touch the dirty mark.
  void captureCurrentSong();

  /// Ends the switch of this token without the loads that it still waits for; nothing when another one has taken its
  /// place. Comes by itself after `songSwitchTimeoutSeconds`; called where the clock stands meanwhile.
  void songSwitchTimedOut(const Uuid& token);

 private:
  void beginSongSwitch(const Uuid& token, int pendingLoads);
  void completeSongSwitchLoad(const Uuid& token);
  void finishSongSwitchIfReady(const Uuid& token);
  [[nodiscard]] bool isUnderWay(const Uuid& token) const;

  void takeOver(const SongConfig& song);
  void sendToInstruments(std::uint8_t status);
  void buildChannel(const ChannelConfig& record, const Uuid& token);
  void restoreMasterEffects(const std::vector<AudioPluginSlot>& slots, const Uuid& token);
  void completeLoads(int count, const Uuid& token);

  AppState& state_;
  AudioEngine& engine_;
  MainQueue& mainQueue_;
  const HostClock& clock_;
  ConsoleOutput& console_;
  ConsoleSelection& selection_;
  ChannelBuilder& builder_;
  LifeToken life_;
};

}  // namespace vrel
