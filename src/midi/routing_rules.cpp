// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/routing_rules.h"

#include <algorithm>
#include <cstdint>

#include "midi/midi_bytes.h"

namespace vrel {
namespace {

using std::uint8_t;

constexpr int highestNote = 127;

// The upper half of the pedal's travel. Raw bytes are routed unmasked, hence two bits and not one.
constexpr uint8_t upperHalfMask = 0xC0;

MidiMessage transposed(const InstrumentRules& rules, MidiMessage message) noexcept {
  const int note = int{message.data1} + int{rules.transpose};
  message.data1 = static_cast<uint8_t>(std::clamp(note, 0, highestNote));
  return message;
}

// A rotary speaker has two speeds, so the pedal becomes a switch.
MidiMessage rotorSwitch(MidiMessage sustain) noexcept {
  const bool isFast = (sustain.data2 & upperHalfMask) != 0;
  return {sustain.status, controllerModulation, isFast ? uint8_t{127} : uint8_t{0}};
}

std::optional<MidiMessage> sustainEvent(const InstrumentRules& rules, MidiMessage message) noexcept {
  if (rules.sustainControlsRotor) {
    return rotorSwitch(message);
  }
  return rules.sendSustain ? std::optional(message) : std::nullopt;
}

std::optional<MidiMessage> expressionEvent(const InstrumentRules& rules, MidiMessage message) noexcept {
  return rules.sendExpression ? std::optional(message) : std::nullopt;
}

std::optional<MidiMessage> controllerEvent(const InstrumentRules& rules, MidiMessage message) noexcept {
  switch (message.data1) {
    case controllerSustain:
      return sustainEvent(rules, message);
    case controllerExpression:
      return expressionEvent(rules, message);
    case controllerBankSelect:
    case controllerBankSelectFine:
      // On purpose: a keyboard must not change the sound of a plug-in.
      return std::nullopt;
    default:
      return message;
  }
}

/// Releases of keys and of the pedals that hold notes, and the two controllers that end all of them. A pedal that
/// switches a rotor holds none.
bool endsNotes(const InstrumentRules& rules, MidiMessage message) noexcept {
  const auto kind = classify(message);
  if (!kind.isController) {
    return kind.isNoteOff;
  }
  const bool isUp = (message.data2 & upperHalfMask) == 0;
  switch (message.data1) {
    case controllerSustain:
      return isUp && !rules.sustainControlsRotor;
    case controllerSostenuto:
      return isUp;
    case controllerAllSoundOff:
    case controllerAllNotesOff:
      return true;
    default:
      return false;
  }
}

bool reaches(const InstrumentRules& rules, MidiMessage message) noexcept {
  return !rules.isRinging || endsNotes(rules, message);
}

}  // namespace

MessageClass classify(MidiMessage message) noexcept {
  MessageClass result;
  switch (highNibble(message.status)) {
    case statusNoteOff:
      result.isNoteOff = true;
      break;
    case statusNoteOn:
      result.isNoteOn = message.data2 != 0;
      result.isNoteOff = message.data2 == 0;
      break;
    case statusController:
      result.isController = true;
      break;
    case statusPitchBend:
      result.isPitchBend = true;
      break;
    default:
      break;
  }
  return result;
}

bool splitHolds(const InstrumentRules& rules, uint8_t note) noexcept {
  return rules.minNote <= note && note <= rules.maxNote;
}

std::optional<MidiMessage> instrumentEvent(const InstrumentRules& rules, MidiMessage message) noexcept {
  if (!reaches(rules, message) || (rules.isVisual && splitHolds(rules, message.data1))) {
    return std::nullopt;
  }
  switch (highNibble(message.status)) {
    case statusNoteOff:
    case statusNoteOn:
    case statusPolyphonicAftertouch:
      return splitHolds(rules, message.data1) ? std::optional(transposed(rules, message)) : std::nullopt;
    case statusController:
      return controllerEvent(rules, message);
    case statusPitchBend:
    case statusChannelPressure:
      return message;
    default:
      return std::nullopt;
  }
}

std::optional<MidiMessage> performanceEvent(const InstrumentRules& rules, MidiMessage message) noexcept {
  if (!reaches(rules, message)) {
    return std::nullopt;
  }
  if (highNibble(message.status) == statusController && message.data1 == controllerSustain) {
    return sustainEvent(rules, message);
  }
  if (highNibble(message.status) == statusController && message.data1 == controllerExpression) {
    return expressionEvent(rules, message);
  }
  return message;
}

}  // namespace vrel
