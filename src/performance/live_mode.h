// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "platform/key_event.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class Desktop;
class SongSwitch;

/// The mode for the stage, in which the computer's keyboard is a remote control.
///
///   P, space       panic
///   1 to 9         mute of that strip
///   0              mute of the master
///   Cmd+1 to 9     only that strip is soloed, or none
///   up, down       the song before, the song after
///
/// Sound and MIDI are the same in both modes; LiveModePolicy has what is blocked. A mute and a solo are edits; the mode
/// is not part of the setlist. Main thread.
class LiveMode {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    SongSwitch& songSwitch;
    Desktop& desktop;
  };

  /// All are borrowed.
  explicit LiveMode(const Collaborators& collaborators)
      : state_(collaborators.state),
        engine_(collaborators.engine),
        songSwitch_(collaborators.songSwitch),
        desktop_(collaborators.desktop) {}

  /// The interface forgets which of its fields has the caret. Called when the mode is switched on.
  std::function<void()> clearFocus;

  void setLiveMode(bool enabled);

  /// What a key does while the mode is on.
  struct Command {
    enum class Kind { panic, exclusiveSolo, nextSong, previousSong, masterMute, channelMute };
    Kind kind = Kind::panic;
    std::size_t position = 0;  // of the strip, from 0; it need not be there
  };

  /// None for a key that is for others. Any thread.
  [[nodiscard]] static std::optional<Command> commandFor(const KeyEvent& event);

  /// Whether the key was used, which all that stand for something are, also where they change nothing: a hand that
  /// misses its moment must not move something else. All but the arrows work during a song switch.
  bool handleLiveKeyDown(const KeyEvent& event);

  /// Solos the strip alone, or none when it is soloed alone already.
  void applyExclusiveSolo(std::size_t position);

 private:
  void stepSong(bool isForward);
  void toggleMute(AudioChannel& channel);

  AppState& state_;
  AudioEngine& engine_;
  SongSwitch& songSwitch_;
  Desktop& desktop_;
};

}  // namespace vrel
