// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "foundation/life_token.h"
#include "foundation/midi_message.h"
#include "platform/midi_service.h"

namespace vrel {

class ConsoleOutput;
class MainQueue;

/// Connects every MIDI source of the machine and brings the first message of each packet to the main
/// queue, raw. The connection repairs itself whenever sources appear or vanish.
///
/// Deliberately minimal: further messages of a packet, time stamps, running status and single-byte
/// messages are ignored, and no byte is masked.
///
/// Threads: main thread, but for the service's blocks, which touch nothing of this object and post to
/// the main queue, first in, first out, with no limit and no dropping.
/// Failure: a client or port that cannot be made is logged; there is then no input.
class MidiInput {
 public:
  using Route = std::function<void(MidiMessage message, bool areInstrumentsServed)>;

  /// `route` gets every message on the main thread. All else is borrowed.
  MidiInput(MIDIService& service, MainQueue& mainQueue, ConsoleOutput& console, Route route);
  ~MidiInput();
  MidiInput(const MidiInput&) = delete;
  MidiInput& operator=(const MidiInput&) = delete;

  /// Makes client and port, and connects. Once.
  void setupMIDI();

  /// Connects all present sources and reports the name of the last one that has a name.
  void connectMIDISources();

  [[nodiscard]] const std::string& currentMidiPortName() const { return currentMidiPortName_; }

  /// Gets the name at every connection. Set by the interface when it first appears.
  std::function<void(const std::string& name)> onMidiPortNameChanged;

  /// Called for each message before it is routed.
  std::function<void()> onMessage;

 private:
  MIDIService::NotifyBlock notifyBlock();
  MIDIService::ReadBlock readBlock();

  MIDIService& service_;
  MainQueue& mainQueue_;
  ConsoleOutput& console_;
  Route route_;
  MIDIClientRef midiClient_ = 0;
  MIDIPortRef midiInputPort_ = 0;
  std::string currentMidiPortName_ = "Disconnected";
  LifeToken life_;
};

}  // namespace vrel
