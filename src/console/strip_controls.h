// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;

/// The controls on a strip and on the master, as the performer moves them. They work in every mode, but for the colour
/// of the master. A value that stays the same leaves the setlist unmarked. Main thread.
class StripControls {
 public:
  /// Both are borrowed.
  StripControls(AppState& state, AudioEngine& engine) : state_(state), engine_(engine) {}

  /// The master is a channel like any other here; the mark of an edit is set for all of them but the fader.
  void setName(AudioChannel& channel, const std::string& name);
  /// A position, 0 to 1.
  void setVolume(AudioChannel& channel, float position);
  void toggleMute(AudioChannel& channel);
  void toggleSolo(AudioChannel& channel);

  /// Where a knob is dragged to; see knobChange.
  void setGain(AudioChannel& channel, double position);
  void setReverb(AudioChannel& channel, double position);

  /// Red, green and blue, 0 to 1.
  void setColor(AudioChannel& channel, const std::array<float, 3>& components);
  /// Refused in Live mode.
  void setMasterColor(const std::array<float, 3>& components);

  void setTranspose(AudioChannel& channel, int semitones);
  /// The two notes of a split rest on each other; see lowSplitNote.
  void setMinNote(AudioChannel& channel, int note);
  void setMaxNote(AudioChannel& channel, int note);
  /// What is typed over a badge; see badgeCommit.
  void enterTranspose(AudioChannel& channel, std::string_view draft);
  void enterMinNote(AudioChannel& channel, std::string_view draft);
  void enterMaxNote(AudioChannel& channel, std::string_view draft);

  void toggleSendSustain(AudioChannel& channel);
  void toggleSendExpression(AudioChannel& channel);
  void toggleSustainControlsRotor(AudioChannel& channel);

 private:
  AppState& state_;
  AudioEngine& engine_;
};

}  // namespace vrel
