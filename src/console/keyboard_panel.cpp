// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/keyboard_panel.h"

#include <algorithm>

#include "console/control_laws.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"

namespace vrel {
namespace {

constexpr std::uint8_t noteOn = 0x90;
constexpr std::uint8_t noteOff = 0x80;
constexpr std::uint8_t velocity = 100;
constexpr int lastNote = 127;

}  // namespace

void KeyboardPanel::pressNote(std::uint8_t note) {
  state_.noteActivity(note, true);
  engine_.routeMIDI(noteOn, note, velocity);
}

void KeyboardPanel::releaseNote(std::uint8_t note) {
  state_.noteActivity(note, false);
  engine_.routeMIDI(noteOff, note, 0);
}

void KeyboardPanel::setSplitMin(AudioChannel& channel, int note) {
  channel.minNote.set(static_cast<std::uint8_t>(std::clamp(note, 0, int{channel.maxNote.get()})));
  state_.markEdited();
}

void KeyboardPanel::setSplitMax(AudioChannel& channel, int note) {
  const int lowest = channel.minNote.get();
  channel.maxNote.set(static_cast<std::uint8_t>(std::clamp(note, lowest, std::max(lowest, lastNote))));
  state_.markEdited();
}

void KeyboardPanel::setKeyCount(int keys) {
  state_.keyboardKeyCount.set(static_cast<std::uint8_t>(std::clamp(keys, fewestKeys, mostKeys)));
  state_.markEdited();
}

void KeyboardPanel::setStartPitchClass(int pitchClass) {
  setStartNote(octaveOf(state_.keyboardStartNote.get()), pitchClass);
}

void KeyboardPanel::stepStartOctave(int by) {
  const int start = state_.keyboardStartNote.get();
  const int nudged = nudgedStartNote(start, by);
  if (nudged != start) {
    setStartNote(octaveOf(nudged), nudged % 12);
  }
}

void KeyboardPanel::setStartNote(int octave, int pitchClass) {
  const int inRange = std::clamp(octave, 0, highestOctave);
  const int note = (inRange + 1) * 12 + std::clamp(pitchClass, 0, 11);
  state_.keyboardStartNote.set(static_cast<std::uint8_t>(note));
  state_.markEdited();
}

}  // namespace vrel
