// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "platform/audio_component.h"

namespace vrel {

class AudioChannel;
class AudioEngine;
class ConsoleOutput;

/// Puts a song of the open setlist on stage: its channels are built anew and their plug-ins load in
/// the background.
///
/// The values of the song on stage live in the engine's channels; `songs` is brought up to date by
/// `captureCurrentSong`, which every applied song and every save begin with. A plug-in that is not
/// installed or fails never stops a song: its strip stays, silent, with its status. Main thread.
class SongStage {
 public:
  /// What the machine has, as the scan found it. `instruments` and `effects` are searched by path.
  struct Components {
    std::vector<AVAudioUnitComponent> instruments;
    std::vector<AVAudioUnitComponent> effects;
  };

  /// The engine is borrowed.
  SongStage(AudioEngine& engine, ConsoleOutput& console, Components components);

  std::vector<SongConfig> songs;
  Observable<std::optional<std::size_t>> selectedSongIndex;

  /// Emitted when a song goes on stage, before its channels are built, also when it was there already.
  Signal<std::size_t> songApplied;

  /// Builds the song's channels. An index out of range changes nothing and captures nothing.
  void applySong(std::ptrdiff_t index);

  /// Stores the live channels and the master's rack in the selected song.
  void captureCurrentSong();

  /// Plug-ins of the last applied song that have not answered yet. 0: the song stands.
  [[nodiscard]] std::size_t pendingLoads() const { return pendingLoads_; }

 private:
  void buildChannel(const ChannelConfig& record);
  void loadInstrument(const std::shared_ptr<AudioChannel>& channel, const ChannelConfig& record);
  void restoreEffects(const std::shared_ptr<AudioChannel>& channel, const std::vector<AudioPluginSlot>& slots);
  void beginLoad() { ++pendingLoads_; }
  void endLoad(const Uuid& token);

  AudioEngine& engine_;
  ConsoleOutput& console_;
  Components components_;
  std::size_t pendingLoads_ = 0;
  Uuid loadToken_;
  LifeToken life_;
};

}  // namespace vrel
