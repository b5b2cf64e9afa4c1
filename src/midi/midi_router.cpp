// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/midi_router.h"

#include <optional>

#include "channel/audio_channel.h"
#include "document/plugin_path.h"
#include "midi/midi_bytes.h"
#include "midi/routing_rules.h"
#include "midi/strip_rules.h"
#include "platform/audio_engine.h"

namespace vrel {
namespace {

using std::uint8_t;

constexpr uint8_t midiChannelCount = 16;
constexpr uint8_t noteCount = 128;

void send(AVAudioUnitMIDIInstrument& instrument, const std::optional<MidiMessage>& event) {
  if (event) {
    instrument.sendMIDIEvent(event->status, event->data1, event->data2);
  }
}

// The plug-in that takes this channel's events, if it has one.
AVAudioUnitMIDIInstrument* playedInstrument(const AudioChannel& channel) {
  return hasPlayedInstrument(channel) ? channel.midiInstrument() : nullptr;
}

}  // namespace

void MidiRouter::routeMIDI(uint8_t status, uint8_t data1, uint8_t data2, Instruments instruments) {
  if (!engine_.isRunning()) {
    return;
  }
  const MidiMessage message{status, data1, data2};
  raiseCallbacks(message);
  for (const auto* const channels : {&channels_, &ringing_}) {
    for (const auto& channel : *channels) {
      deliver(*channel, message, instruments);
    }
  }
}

void MidiRouter::raiseCallbacks(MidiMessage message) const {
  const auto kind = classify(message);
  const bool isNote = kind.isNoteOn || kind.isNoteOff;
  const bool isControl = kind.isController || kind.isPitchBend;
  if (isNote && callbacks_.onMidiNoteActivity) {
    callbacks_.onMidiNoteActivity(message.data1, kind.isNoteOn);
  }
  if ((isNote || isControl) && callbacks_.onMidiControlMessage) {
    callbacks_.onMidiControlMessage(message.status, message.data1, message.data2);
  }
  if (isControl && callbacks_.onMidiPerformanceControlMessage) {
    callbacks_.onMidiPerformanceControlMessage(message.status, message.data1, message.data2);
  }
  const bool isBank =
      kind.isController && (message.data1 == controllerBankSelect || message.data1 == controllerBankSelectFine);
  if ((isBank || highNibble(message.status) == statusProgramChange) && callbacks_.onMidiProgramMessage) {
    callbacks_.onMidiProgramMessage(message);
  }
}

void MidiRouter::deliver(AudioChannel& channel, MidiMessage message, Instruments instruments) const {
  const auto kind = classify(message);
  const auto rules = rulesOf(channel);
  if (rules.isVisual && splitHolds(rules, message.data1)) {
    if (visuals_ != nullptr && kind.isNoteOn) {
      visuals_->noteOn(message.data1, channel);
    } else if (visuals_ != nullptr && kind.isNoteOff) {
      visuals_->noteOff(message.data1, channel);
    }
    return;
  }
  if (startsPlayback(channel, message)) {
    if (playbacks_ != nullptr) {
      playbacks_->triggerPlayback(channel);
    }
    return;
  }
  auto* const instrument = instruments == Instruments::waiting ? playedInstrument(channel) : nullptr;
  if (instrument != nullptr) {
    send(*instrument, instrumentEvent(rules, message));
  }
}

bool MidiRouter::startsPlayback(const AudioChannel& channel, MidiMessage message) const {
  return classify(message).isNoteOn && channel.pluginKind() == PluginPathKind::playback &&
         splitHolds(rulesOf(channel), message.data1) &&
         dynamic_cast<AVAudioPlayerNode*>(channel.instrumentNode.get().get()) != nullptr &&
         (channel.playbackBuffer.get() != nullptr || channel.playbackFile.get() != nullptr);
}

void MidiRouter::sendPerformanceMIDI(uint8_t status, uint8_t data1, uint8_t data2) {
  if (!engine_.isRunning()) {
    return;
  }
  const MidiMessage message{status, data1, data2};
  for (const auto* const channels : {&channels_, &ringing_}) {
    for (const auto& channel : *channels) {
      if (auto* instrument = playedInstrument(*channel)) {
        send(*instrument, performanceEvent(rulesOf(*channel), message));
      }
    }
  }
}

void MidiRouter::silence(AVAudioUnitMIDIInstrument& instrument) {
  for (uint8_t midiChannel = 0; midiChannel < midiChannelCount; ++midiChannel) {
    const auto status = static_cast<uint8_t>(statusController + midiChannel);
    instrument.sendMIDIEvent(status, controllerSustain, 0);
    instrument.sendMIDIEvent(status, controllerModulation, 0);
    instrument.sendMIDIEvent(status, controllerResetAll, 0);
    instrument.sendMIDIEvent(status, controllerAllNotesOff, 0);
  }
  for (uint8_t note = 0; note < noteCount; ++note) {
    instrument.sendMIDIEvent(statusNoteOff, note, 0);
  }
}

void MidiRouter::panic() {
  if (!engine_.isRunning()) {
    return;
  }
  for (const auto* const channels : {&channels_, &ringing_}) {
    for (const auto& channel : *channels) {
      if (auto* player = dynamic_cast<AVAudioPlayerNode*>(channel->instrumentNode.get().get())) {
        player->stop();
      }
      if (auto* instrument = channel->midiInstrument()) {
        silence(*instrument);
      }
    }
  }
}

}  // namespace vrel
