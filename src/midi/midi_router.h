// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "channel/note_targets.h"
#include "foundation/midi_message.h"

namespace vrel {

class AudioChannel;
class AVAudioEngine;
class AVAudioUnitMIDIInstrument;

/// Carries one message at a time from the input to the channels. This is where a note finds its
/// instruments: `routing_rules.h` decides, per channel, what it gets. Instruments that the audio thread has served
/// already are left out; see `InstrumentRoutes`.
///
/// Routing keeps no memory: no list of sounding notes, no map from a note-off to its note-on. A
/// note-off is routed with the settings of the moment at which it arrives. Mute and solo are not
/// read; they act on the mix alone, so that a muted instrument can be opened in the middle of a note.
///
/// Threads: main thread. Allocates nothing per channel. A stopped engine makes every operation
/// return at once; no message ever starts it.
class MidiRouter {
 public:
  using Channels = std::vector<std::shared_ptr<AudioChannel>>;

  /// Notifies the interface of the traffic. All optional; they run before the channels get the message.
  struct Callbacks {
    std::function<void(std::uint8_t note, bool isOn)> onMidiNoteActivity;
    std::function<void(std::uint8_t status, std::uint8_t data1, std::uint8_t data2)> onMidiControlMessage;
    std::function<void(std::uint8_t status, std::uint8_t data1, std::uint8_t data2)> onMidiPerformanceControlMessage;
    std::function<void(MidiMessage message)> onMidiProgramMessage;  // a program change or a part of its bank
  };

  /// All are borrowed; of the ringing channels only instruments play. A target may be null: its channels then get
  /// nothing.
  MidiRouter(const AVAudioEngine& engine, const Channels& channels, const Channels& ringing, const Callbacks& callbacks)
      : engine_(engine), channels_(channels), ringing_(ringing), callbacks_(callbacks) {}

  void setVisualNoteTarget(VisualNoteTarget* target) { visuals_ = target; }
  void setPlaybackTarget(PlaybackTarget* target) { playbacks_ = target; }

  /// Whether the instruments still have to get a message, or have got it on the audio thread.
  enum class Instruments { waiting, served };

  /// One raw message from a keyboard or another source, channel nibble and all. Every channel sees it, those that ring
  /// what ends their notes.
  void routeMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
                 Instruments instruments = Instruments::waiting);

  /// A controller or bend that a learned control injects; no callback is raised.
  void sendPerformanceMIDI(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);

  /// Stops every player and sends 192 events to every instrument, those that ring included: on each of the 16 MIDI
  /// channels sustain off, modulation zero, reset all controllers, all notes off; then 128 note-offs on the first.
  void panic();

  /// Sends an instrument those 192 events.
  static void silence(AVAudioUnitMIDIInstrument& instrument);

 private:
  void raiseCallbacks(MidiMessage message) const;
  void deliver(AudioChannel& channel, MidiMessage message, Instruments instruments) const;
  [[nodiscard]] bool startsPlayback(const AudioChannel& channel, MidiMessage message) const;

  const AVAudioEngine& engine_;
  const Channels& channels_;
  const Channels& ringing_;
  const Callbacks& callbacks_;
  VisualNoteTarget* visuals_ = nullptr;
  PlaybackTarget* playbacks_ = nullptr;
};

}  // namespace vrel
