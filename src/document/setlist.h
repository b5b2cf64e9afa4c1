// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/playback_stop_mode.h"
#include "document/shared_text.h"
#include "foundation/midi_message.h"
#include "foundation/uuid.h"

// The records of a setlist: plain values with no behaviour, copied freely. Their JSON form is in
// setlist_coding.h. A record made here has the values that a decoder gives to missing keys.
//
// Numbers are not limited here, unless a record says so: every user of a field limits it where it is used. An `id`
// names a record while the program runs; it is fresh in every decoded record, is never written, and takes part in
// equality. A copy keeps the id of its original.

namespace vrel {

enum class VisualTriggerMode { hold, toggle };

/// A clip that a note of a visual channel shows.
struct VisualClipMapping {
  Uuid id = Uuid::fresh();
  std::uint8_t note = 60;
  std::string filePath{};
  VisualTriggerMode triggerMode = VisualTriggerMode::hold;
  bool holdsLastPicture = false;  // plays once and stays on its last picture; otherwise it loops

  bool operator==(const VisualClipMapping&) const = default;
};

/// One place for an effect, in a channel or in the master.
struct AudioPluginSlot {
  Uuid id = Uuid::fresh();
  std::string pluginPath{};  // forms in plugin_path.h
  std::string pluginName{};
  std::string manufacturerName{};
  std::optional<SharedText> stateBase64{};

  bool operator==(const AudioPluginSlot&) const = default;
};

/// What a moved control of a MIDI device can act on.
enum class MidiControlKind {
  panic,
  tapTempo,
  channelVolume,
  channelGain,
  channelReverb,
  channelMute,
  channelSolo,
  masterVolume,
  masterMute,
  performancePitchBend,
  performanceModulation,
  performanceSustain,
  performanceExpression,
  // Stored in fields of their own, which other readers pass over.
  projectionBlackout,
  nextSong,
  previousSong,
  notesPosition,  // how far down the large notes are
};

struct MidiControlTarget {
  MidiControlKind kind = MidiControlKind::panic;
  std::optional<std::int64_t> channelIndex{};  // position in the song's channels; absent where no channel is concerned

  bool operator==(const MidiControlTarget&) const = default;
};

/// The control of a MIDI device that was learnt.
struct MidiControlBinding {
  std::uint8_t statusType = 0;
  std::uint8_t midiChannel = 0;
  std::uint8_t number = 0;

  bool operator==(const MidiControlBinding&) const = default;
};

struct MidiControlAssignment {
  MidiControlTarget target{};
  MidiControlBinding binding{};

  bool operator==(const MidiControlAssignment&) const = default;
};

/// A control of a plug-in that was learnt: of which plug-in, and where it is.
struct PluginControlTarget {
  std::optional<std::int64_t> channelIndex{};  // as of MidiControlTarget; absent for the master
  std::optional<std::int64_t> slotIndex{};     // position in the rack; absent for the strip's instrument
  std::string pluginPath{};                    // another plug-in in that place is not moved
  std::string control{};                       // its symbol

  bool operator==(const PluginControlTarget&) const = default;
};

struct PluginControlAssignment {
  PluginControlTarget target{};
  MidiControlBinding binding{};
  std::string controlName{};  // as a person reads it, also where the plug-in is not installed

  bool operator==(const PluginControlAssignment&) const = default;
};

/// One strip of a song, as it is stored. Its live counterpart is AudioChannel.
struct ChannelConfig {
  Uuid id = Uuid::fresh();
  std::string name = "Untitled Channel";
  float volume = 0.85F;  // position on ChannelFaderScale
  float gain = 0.5F;     // position on ChannelGainScale
  float reverb = 0.0F;   // proportion
  bool mute = false;
  bool solo = false;
  std::string pluginPath{};  // forms in plugin_path.h
  std::optional<SharedText> pluginStateBase64{};
  std::vector<float> color = {1.0F, 0.33F, 0.0F};  // red, green, blue, 0 to 1
  std::uint8_t minNote = 0;
  std::uint8_t maxNote = 127;
  std::int8_t transpose = 0;  // semitones
  bool sendSustain = true;
  bool sendExpression = true;
  bool sustainControlsRotor = false;
  std::vector<AudioPluginSlot> effectSlots{};  // in signal order
  std::string playbackFilePath{};
  bool playbackLoop = false;
  double playbackStartTime = 0.0;  // seconds
  double playbackEndTime = 0.0;    // seconds
  PlaybackStopMode playbackStopMode{};
  std::vector<VisualClipMapping> visualClipMappings{};

  bool operator==(const ChannelConfig&) const = default;
};

/// The program change that puts a song on stage.
struct SongProgram {
  std::optional<std::uint16_t> bank{};  // 0 to 16383, controller 0 times 128 and controller 32; absent for any
  std::uint8_t program = 0;             // 0 to 127

  bool operator==(const SongProgram&) const = default;
};

/// How songs change: what MIDI does, and what goes on of the song that goes. Not written while it is as it is made
/// here. The two times are limited when they are read.
struct SongControl {
  static constexpr std::uint32_t mostStepGuardMilliseconds = 2000;
  static constexpr std::uint32_t mostLetRingSeconds = 30;

  bool byProgramChange = false;
  std::optional<std::uint8_t> midiChannel{};  // of program changes, 0 to 15; absent for all
  std::uint32_t stepGuardMilliseconds = 300;  // one change of song in so long
  std::uint32_t letRingSeconds = 0;           // for how long the strips of the song that goes may sound on

  bool operator==(const SongControl&) const = default;
};

struct SongConfig {
  Uuid id = Uuid::fresh();
  std::string name = "Untitled Song";
  std::uint32_t tempoBpm = 120;
  std::string songNotes{};
  std::uint8_t keyboardStartNote = 21;
  std::uint8_t keyboardKeyCount = 88;
  std::vector<ChannelConfig> channels{};
  std::vector<float> masterChannelColor = {0.5F, 0.5F, 0.5F};  // red, green, blue, 0 to 1
  std::vector<AudioPluginSlot> masterEffectSlots{};
  std::vector<MidiControlAssignment> midiControlAssignments{};
  std::vector<PluginControlAssignment> pluginControlAssignments{};  // not written while there are none
  std::optional<SongProgram> program{};

  bool operator==(const SongConfig&) const = default;
};

/// A whole setlist, its songs in the order of the performance.
struct SetlistFile {
  std::uint32_t version = 1;  // as it was read; what is written is always setlistVersion
  std::vector<SongConfig> songs{};
  std::vector<MidiControlAssignment> globalMidiControlAssignments{};
  std::string collectedFolder{};  // see collected_setlist.h; not written while it is empty
  SongControl songControl{};

  bool operator==(const SetlistFile&) const = default;
};

}  // namespace vrel
