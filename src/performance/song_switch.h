// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "performance/setlist_contents.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ChannelBuilder;
class ConsoleOutput;
struct ConsoleSelection;
class HostClock;
class MainQueue;
enum class StateRead;

/// Puts songs of the open setlist on stage: the channels of the previous one are removed and the new ones built in one
/// pass, while their plug-ins load in the background.
///
/// The values of the song on stage live in the engine's channels and in the session; `AppState::songs` is brought up
/// to date by `captureCurrentSong`, with which every switch and every save begins. A plug-in that is not installed or
/// fails never stops a switch: its strip stays, silent, with its status. One that never answers ends the switch
/// after `songSwitchTimeoutSeconds`. A switch is not an edit: it clears the mark. With `SongControl::letRingSeconds`
/// the strips of the song that goes sound on beside another one (`AudioEngine::removeAllChannels`); they are stored
/// before. Main thread.
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

  /// Ends learning and releases what learned controls hold. Called in each switch after the capture.
  std::function<void()> cancelMidiLearn;

  /// What a capture stores of a strip, where that is not what it plays now. May be empty.
  std::function<void(const AudioChannel& channel, ChannelConfig& record)> amendRecord;

  /// Emitted in each switch when the outgoing song is stored and its instruments are stopped, before its strips are
  /// removed. No load of the next one has begun.
  Signal<> stripsWillGo;

  /// Emitted at the end of each switch, when the strips of the song are there; what they play may still load.
  Signal<> stripsChanged;

  /// Puts a song on stage, also one that is there already. Does nothing with an index out of range.
  void applySong(std::ptrdiff_t index);

  /// Stores what is on stage in the selected song; nothing when there is none. Does not touch the dirty mark. A strip
  /// whose plug-in is missing or has failed keeps the source and state that it was built from; one that still loads is
  /// stored as it is.
  void captureCurrentSong();

  /// The plug-in, with its state, that a strip on stage was built for and lacks; none once it has played something.
  [[nodiscard]] std::optional<ChannelConfig> missingSource(const AudioChannel& channel) const;

  /// Adds that to the record of a strip which says nothing else.
  void keepMissingSource(const AudioChannel& channel, ChannelConfig& record) const;

  /// The songs with the one on stage as it is now, while the session's own stay as they were. A strip that still loads
  /// has its source, too.
  [[nodiscard]] std::vector<SongConfig> songsAsPlayed(StateRead read);

  /// Whether the change of the songs that is notified now is a capture, which changes only the selected one.
  [[nodiscard]] bool isCapturing() const { return contents_.isChangingOne(); }

  /// Ends the switch of this token without its pending loads; nothing when another one has replaced it. Called by a
  /// timer after `songSwitchTimeoutSeconds`, and directly where no clock runs meanwhile.
  void songSwitchTimedOut(const Uuid& token);

 private:
  /// The plug-in of a strip on stage when it was built.
  struct Source {
    std::string pluginPath;
    std::optional<SharedText> pluginStateBase64;
    std::shared_ptr<void> statusFollowed;
    bool isReplaced = false;  // by what the strip has played since, or by nothing
  };

  void beginSongSwitch(const Uuid& token, int pendingLoads);
  void completeSongSwitchLoad(const Uuid& token);
  void finishSongSwitchIfReady(const Uuid& token);
  [[nodiscard]] bool isUnderWay(const Uuid& token) const;

  [[nodiscard]] bool isSongOnStage() const;
  [[nodiscard]] double secondsToRing(std::size_t next) const;
  void requestStates();
  /// Of a strip whose plug-in has not arrived yet.
  enum class SourceOfLoading { kept, dropped };
  void capture(SongConfig& song, StateRead read, SourceOfLoading ofLoading);
  void rememberSource(AudioChannel& channel, const ChannelConfig& record);
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
  std::map<Uuid, Source> sources_;  // by strip
  std::shared_ptr<void> loadsFollowed_;
  SetlistContents contents_{state_};
  LifeToken life_;
};

}  // namespace vrel
