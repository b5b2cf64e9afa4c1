// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/routing_rules.h"

#include <algorithm>
#include <cstdint>

#include "channel/audio_channel.h"
#include "midi/midi_bytes.h"

namespace vrel {
namespace {

using std::uint8_t;

constexpr int highestNote = 127;

// The upper half of the pedal's travel. Raw bytes are routed unmasked, hence two bits and not one.
constexpr uint8_t upperHalfMask = 0xC0;

MidiMessage transposed(const AudioChannel& channel, MidiMessage message) {
  const int note = int{message.data1} + int{channel.transpose.get()};
  message.data1 = static_cast<uint8_t>(std::clamp(note, 0, highestNote));
  return message;
}

// A rotary speaker has two speeds, so the pedal becomes a switch.
MidiMessage rotorSwitch(MidiMessage sustain) {
  const bool isFast = (sustain.data2 & upperHalfMask) != 0;
  return {sustain.status, controllerModulation, isFast ? uint8_t{127} : uint8_t{0}};
}

std::optional<MidiMessage> sustainEvent(const AudioChannel& channel, MidiMessage message) {
  if (channel.sustainControlsRotor.get()) {
    return rotorSwitch(message);
  }
  return channel.sendSustain.get() ? std::optional(message) : std::nullopt;
}

std::optional<MidiMessage> expressionEvent(const AudioChannel& channel, MidiMessage message) {
  return channel.sendExpression.get() ? std::optional(message) : std::nullopt;
}

std::optional<MidiMessage> controllerEvent(const AudioChannel& channel, MidiMessage message) {
  switch (message.data1) {
    case controllerSustain:
      return sustainEvent(channel, message);
    case controllerExpression:
      return expressionEvent(channel, message);
    case controllerBankSelect:
    case controllerBankSelectFine:
      // On purpose: a keyboard must not change the sound of a plug-in.
      return std::nullopt;
    default:
      return message;
  }
}

}  // namespace

MessageClass classify(MidiMessage message) {
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

bool splitHolds(const AudioChannel& channel, uint8_t note) {
  return channel.minNote.get() <= note && note <= channel.maxNote.get();
}

std::optional<MidiMessage> instrumentEvent(const AudioChannel& channel, MidiMessage message) {
  switch (highNibble(message.status)) {
    case statusNoteOff:
    case statusNoteOn:
    case statusPolyphonicAftertouch:
      return splitHolds(channel, message.data1) ? std::optional(transposed(channel, message)) : std::nullopt;
    case statusController:
      return controllerEvent(channel, message);
    case statusPitchBend:
    case statusChannelPressure:
      return message;
    default:
      return std::nullopt;
  }
}

std::optional<MidiMessage> performanceEvent(const AudioChannel& channel, MidiMessage message) {
  if (highNibble(message.status) == statusController && message.data1 == controllerSustain) {
    return sustainEvent(channel, message);
  }
  if (highNibble(message.status) == statusController && message.data1 == controllerExpression) {
    return expressionEvent(channel, message);
  }
  return message;
}

}  // namespace vrel
