// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "performance/midi_learn.h"
#include "performance/tempo.h"
#include "support/simulated_session.h"

namespace vrel {

using Kind = MidiControlKind;
using Assignments = std::vector<MidiControlAssignment>;

/// A session in which controls are learned. The song on stage has three strips that play nothing, and is not edited.
class MidiLearnStage : public SimulatedSession {
 protected:
  MidiLearnStage() {
    songSwitch.cancelMidiLearn = [this] { learn.cancelMidiLearn(); };
    addSong("One", {record("A", ""), record("B", ""), record("C", "")});
    addSong("Two", {record("D", ""), record("E", ""), record("F", "")});
    songSwitch.applySong(0);
    settle();
    learn.listenToEngine();
  }

  static MidiControlTarget onChannel(Kind kind, std::int64_t index) { return {kind, index}; }
  static MidiControlTarget onConsole(Kind kind) { return {kind, std::nullopt}; }

  /// A click on the Learn button and one on the control.
  void waitFor(const MidiControlTarget& target) {
    learn.toggleMidiLearnMode();
    learn.selectMidiLearnTarget(target);
  }

  /// The whole visit to learn mode; the setlist counts as saved behind it.
  void learnOn(const MidiControlTarget& target, MidiMessage message) {
    waitFor(target);
    play(message);
    state.isDirty.set(false);
  }

  void play(MidiMessage message) { engine->routeMIDI(message.status, message.data1, message.data2); }

  [[nodiscard]] const Assignments& globals() const { return state.globalMidiControlAssignments.get(); }
  [[nodiscard]] const Assignments& assignmentsOf(std::size_t songIndex) const {
    return song(songIndex).midiControlAssignments;
  }

  Tempo tempo{state, *engine, clock};
  MidiLearn learn{state, *engine, tempo};
};

}  // namespace vrel
