// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/midi_message.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioEngine;
class ConsoleOutput;
class HostClock;
class MainQueue;
class MidiLearn;
class SongSwitch;

/// The song that a program change names: the first with this bank and program, or else the first with this program
/// and no bank.
[[nodiscard]] std::optional<std::size_t> songWithProgram(const std::vector<SongConfig>& songs, std::uint16_t bank,
                                                         std::uint8_t program);

/// Changes songs for the hardware: by program change with its bank, and step by step with learned controls.
///
/// A change comes behind the message that asks for it, which the song on stage still gets, and no sooner than the
/// guard's time after the one before. A step within that time, or while a song loads, is dropped, like an arrow key of
/// Live mode; behind the last song and before the first it leads nowhere. A program change waits instead, and the last
/// one wins: one for the song on stage leaves that there. One for no song does nothing.
///
/// Works in Live mode and behind questions, as all learned controls do. Main thread.
class SongRequests {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    SongSwitch& songSwitch;
    MidiLearn& midiLearn;
    MainQueue& mainQueue;
    const HostClock& clock;
    ConsoleOutput& console;
  };

  /// All are borrowed.
  explicit SongRequests(const Collaborators& collaborators);

  /// From now on the program changes of the engine's traffic come here.
  void listenToEngine();

  /// What the hardware sent last, also while it changes no songs.
  Observable<std::optional<SongProgram>> lastProgram;

  /// A program change, or one of the two controllers of its bank. Others do nothing.
  void handleProgramMessage(MidiMessage message);

  /// To the next song, or to the previous one.
  void step(bool isForward);

 private:
  void selectProgram(std::uint8_t midiChannel, std::uint8_t program);
  void logMissing(std::uint8_t midiChannel, const SongProgram& program);
  void carryOutSoon();
  void carryOut();
  [[nodiscard]] double secondsGuarded() const;

  AppState& state_;
  AudioEngine& engine_;
  SongSwitch& songSwitch_;
  MainQueue& mainQueue_;
  const HostClock& clock_;
  ConsoleOutput& console_;
  std::array<std::uint16_t, 16> banks_{};  // by MIDI channel
  std::optional<Uuid> wanted_;             // the song that waits to be put on stage
  bool isScheduled_ = false;
  std::optional<double> lastChange_;   // seconds
  std::optional<double> lastMissing_;  // seconds, when one was logged
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
