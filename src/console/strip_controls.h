// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;

/// The controls on a strip and on the master, as the performer moves them. They work in every mode. Main thread.
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

 private:
  AppState& state_;
  AudioEngine& engine_;
};

}  // namespace vrel
