// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "document/setlist.h"

namespace vrel {

inline constexpr std::size_t gigSongs = 40;

/// 40 songs on plug-ins of the zoo, audio files and clips, with effects, splits and learned controls.
[[nodiscard]] SetlistFile gigSetlist();

/// The state of each song's third strip, its keeper, is the last note that it received. It receives this note, which
/// the show does not play; only one song's keeper receives a note of the show.
[[nodiscard]] std::uint8_t keeperNoteOf(std::size_t song);

/// The state of the one keeper that is played in the show.
[[nodiscard]] const std::optional<SharedText>& playedState(const SetlistFile& setlist);

/// Counts of events other than notes and faders.
struct GigEvents {
  std::size_t tracks = 0;  // that were started
  std::size_t clips = 0;
  std::size_t panics = 0;

  bool operator==(const GigEvents&) const = default;
};

/// The instruments of each song.
inline constexpr std::size_t gigInstruments = 3;

/// A performance of a number of song switches, and the setlist as it must be afterwards.
struct GigShow {
  std::string midi;              // the bytes of a MIDI file
  SetlistFile expected;          // what a save at the end must hold, except what is not predictable
  std::set<std::size_t> tapped;  // songs whose tempo was tapped
  std::size_t switches = 0;
  GigEvents events;
};

/// Plays notes, moves and learns controls, taps, panics, and uses the keys of Live mode, on a setlist like the one
/// above.
[[nodiscard]] GigShow gigShow(const SetlistFile& opened, std::size_t switches);

/// Copies from the saved setlist what is not predictable: tapped tempos, and the state of the one instrument that
/// keeps what was played. False when one of these is wrong.
[[nodiscard]] bool takeUnpredictable(GigShow& show, const SetlistFile& saved);

}  // namespace vrel
