// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string_view>

#include "document/setlist.h"

namespace vrel {

/// The list that an assignment is stored in: that of its song, or that of the whole setlist, which holds in every song.
enum class MidiControlScope { song, setlist };

/// What is common to all assignments of one kind.
struct MidiControlTraits {
  MidiControlKind kind;
  std::string_view text;  // as stored in the lists of a file; empty for what has a field of its own
  MidiControlScope scope;
  bool needsStrip;              // the target has a `channelIndex`
  bool isTrigger;               // acts when pressed; the others follow a value
  std::string_view ownField{};  // of the setlist, for its binding; other readers pass over it
};

inline constexpr auto midiControlKinds = [] {
  using Kind = MidiControlKind;
  constexpr auto song = MidiControlScope::song;
  constexpr auto setlist = MidiControlScope::setlist;
  // kind, stored text, scope, needs a strip, is a trigger, own field
  return std::to_array<MidiControlTraits>({
      {Kind::panic, "panic", song, false, true},
      {Kind::tapTempo, "tap_tempo", song, false, true},
      {Kind::channelVolume, "channel_volume", setlist, true, false},
      {Kind::channelGain, "channel_gain", setlist, true, false},
      {Kind::channelReverb, "channel_reverb", song, true, false},
      {Kind::channelMute, "channel_mute", song, true, true},
      {Kind::channelSolo, "channel_solo", song, true, true},
      {Kind::masterVolume, "master_volume", song, false, false},
      {Kind::masterMute, "master_mute", song, false, true},
      {Kind::performancePitchBend, "performance_pitch_bend", setlist, false, false},
      {Kind::performanceModulation, "performance_modulation", setlist, false, false},
      {Kind::performanceSustain, "performance_sustain", setlist, false, false},
      {Kind::performanceExpression, "performance_expression", setlist, false, false},
      {Kind::projectionBlackout, "", setlist, false, true, "projection_blackout_control"},
      {Kind::nextSong, "", setlist, false, true, "next_song_control"},
      {Kind::previousSong, "", setlist, false, true, "previous_song_control"},
      {Kind::notesPosition, "", setlist, false, false, "notes_position_control"},
  });
}();

/// The row of a kind. A value outside the enumeration belongs to the song and to no strip.
[[nodiscard]] constexpr MidiControlTraits traitsOf(MidiControlKind kind) {
  for (const auto& row : midiControlKinds) {
    if (row.kind == kind) {
      return row;
    }
  }
  return {kind, {}, MidiControlScope::song, false, false, {}};
}

}  // namespace vrel
