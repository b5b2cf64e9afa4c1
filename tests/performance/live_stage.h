// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "performance/key_name.h"
#include "performance/live_mode.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {

/// A session in Live mode with three songs, the first on stage with strips A, B and C. Nothing is edited.
class LiveStage : public SimulatedSession {
 protected:
  LiveStage() {
    addSong("One", {record("A", ""), record("B", ""), record("C", "")});
    addSong("Two", {});
    addSong("Three", {record("Piano", pianoKey)});
    songSwitch.applySong(0);
    settle();
    live.setLiveMode(true);
  }

  /// Presses the key of this name; whether it was used.
  bool press(const std::string& name) { return live.handleLiveKeyDown(keyEventFromName(name).value()); }

  /// Presses a key with this text.
  bool press(const std::optional<std::string>& characters, ModifierFlags flags) {
    return live.handleLiveKeyDown({characters, flags, 0});
  }

  /// What the strips show, e.g. "A C" for those of the first and the third.
  [[nodiscard]] std::string soloed() const { return stripsWith(&AudioChannel::solo); }
  [[nodiscard]] std::string muted() const { return stripsWith(&AudioChannel::mute); }

  simulation::ScriptedDesktop desktop;
  LiveMode live{{state, *engine, songSwitch, desktop}};

 private:
  [[nodiscard]] std::string stripsWith(Observable<bool> AudioChannel::*button) const {
    std::string names;
    for (const auto& channel : engine->channels()) {
      if (((*channel).*button).get()) {
        names += (names.empty() ? "" : " ") + channel->name.get();
      }
    }
    return names;
  }
};

}  // namespace vrel
