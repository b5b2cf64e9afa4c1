// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/performance_display.h"

#include <cstdint>
#include <string>

#include "document/app_state.h"
#include "engine/audio_engine.h"

namespace vrel {

void performPanic(AppState& state, AudioEngine& engine) {
  state.pressedNotes.set({});
  state.resetPerformanceValues();
  engine.panic();
}

void showPerformance(AppState& state, AudioEngine& engine) {
  engine.midiCallbacks.onMidiNoteActivity = [&state](std::uint8_t note, bool isOn) { state.noteActivity(note, isOn); };
  engine.midiCallbacks.onMidiPerformanceControlMessage = [&state](std::uint8_t status, std::uint8_t data1,
                                                                  std::uint8_t data2) {
    state.performanceControl(status, data1, data2);
  };
}

void showMidiPortName(AppState& state, AudioEngine& engine) {
  if (auto* input = engine.midiInput()) {
    input->onMidiPortNameChanged = [&state](const std::string& name) { state.activeMidiPortName.set(name); };
    state.activeMidiPortName.set(input->currentMidiPortName());
  }
}

}  // namespace vrel
