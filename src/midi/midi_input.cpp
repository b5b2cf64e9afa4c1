// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/midi_input.h"

#include <cstdint>
#include <utility>

#include "platform/console_output.h"
#include "platform/dispatch.h"

namespace vrel {

MidiInput::MidiInput(MIDIService& service, MainQueue& mainQueue, ConsoleOutput& console, Route route)
    : service_(service), mainQueue_(mainQueue), console_(console), route_(std::move(route)) {}

MidiInput::~MidiInput() {
  service_.MIDIPortDispose(midiInputPort_);
  service_.MIDIClientDispose(midiClient_);
}

void MidiInput::setupMIDI() {
  if (const auto status = service_.MIDIClientCreateWithBlock("VRELMIDIClient", notifyBlock(), midiClient_);
      status != 0) {
    console_.print("Error creating MIDI client: " + std::to_string(status));
    return;
  }
  if (const auto status =
          service_.MIDIInputPortCreateWithBlock(midiClient_, "VRELMIDIInputPort", readBlock(), midiInputPort_);
      status != 0) {
    console_.print("Error creating MIDI port: " + std::to_string(status));
    return;
  }
  connectMIDISources();
}

void MidiInput::connectMIDISources() {
  std::string name = "Disconnected";
  for (std::size_t index = 0; index < service_.MIDIGetNumberOfSources(); ++index) {
    const auto source = service_.MIDIGetSource(index);
    service_.MIDIPortConnectSource(midiInputPort_, source);
    if (auto readName = service_.MIDIObjectGetName(source)) {
      name = std::move(*readName);
    }
  }
  currentMidiPortName_ = name;
  if (onMidiPortNameChanged) {
    onMidiPortNameChanged(currentMidiPortName_);
  }
  console_.printInfo("Connected MIDI port: " + currentMidiPortName_);
}

MIDIService::NotifyBlock MidiInput::notifyBlock() {
  return [this, life = life_.watch(), &mainQueue = mainQueue_](const MIDINotification& notification) {
    if (notification.messageID != kMIDIMsgSetupChanged || !life.isAlive()) {
      return;
    }
    mainQueue.async([this, life] {
      if (life.isAlive()) {
        connectMIDISources();
      }
    });
  };
}

MIDIService::ReadBlock MidiInput::readBlock() {
  return [this, life = life_.watch(), &mainQueue = mainQueue_](MIDIPacketList packets) {
    if (!life.isAlive()) {
      return;
    }
    for (const auto& packet : packets) {
      if (packet.size() < 2) {
        continue;
      }
      const MidiMessage message{packet[0], packet[1], packet.size() > 2 ? packet[2] : std::uint8_t{0}};
      mainQueue.async(
          [this, life, message, areServed = packets.areInstrumentsServed, owed = packets.untilRouted]() mutable {
            const auto untilRouted = std::move(owed);
            if (!life.isAlive()) {
              return;
            }
            if (onMessage) {
              onMessage();
            }
            route_(message, areServed);
          });
    }
  };
}

}  // namespace vrel
