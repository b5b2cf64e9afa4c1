// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;

/// What the keyboard panel of the window does: plays with the pointer, sets the splits and the range of keys. It works
/// in every mode. Main thread.
class KeyboardPanel {
 public:
  static constexpr int fewestKeys = 12;
  static constexpr int mostKeys = 88;

  /// Both are borrowed.
  KeyboardPanel(AppState& state, AudioEngine& engine) : state_(state), engine_(engine) {}

  /// Routes the note as MIDI input would, and shows its key as held.
  void pressNote(std::uint8_t note);
  void releaseNote(std::uint8_t note);

  /// An end of a strip's split, which rests on the other end and does not cross it. An edit.
  void setSplitMin(AudioChannel& channel, int note);
  void setSplitMax(AudioChannel& channel, int note);

  /// Limited to 12 to 88. An edit.
  void setKeyCount(int keys);
  /// 0 to 11, in the octave as it is. An edit.
  void setStartPitchClass(int pitchClass);
  /// Stays within 0 to 8; at the end of the range nothing happens. Else an edit.
  void stepStartOctave(int by);

 private:
  void setStartNote(int octave, int pitchClass);

  AppState& state_;
  AudioEngine& engine_;
};

}  // namespace vrel
