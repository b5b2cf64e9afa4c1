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

/// Each song's third strip, its keeper, has the last note that it was played as its state. It hears this note, which
/// the show does not play; only that of one song hears a note of the show.
[[nodiscard]] std::uint8_t keeperNoteOf(std::size_t song);

/// The state of the one keeper that is played in the show.
[[nodiscard]] const std::optional<std::string>& playedState(const SetlistFile& setlist);

/// How often it came to what is more than notes and faders.
struct GigDeeds {
  std::size_t tracks = 0;  // that were started
  std::size_t clips = 0;
  std::size_t panics = 0;

  bool operator==(const GigDeeds&) const = default;
};

/// The instruments of each song.
inline constexpr std::size_t gigInstruments = 3;

/// What a performer does in so many song switches, and what has become of the setlist then.
struct GigShow {
  std::string midi;              // the bytes of a MIDI file
  SetlistFile expected;          // what a save at the end must hold, but for what nobody can foretell
  std::set<std::size_t> tapped;  // songs whose tempo was tapped
  std::size_t switches = 0;
  GigDeeds deeds;
};

/// Plays notes, moves learned controls, learns others, taps, panics, and uses the keys of Live mode, on a setlist like
/// the one above.
[[nodiscard]] GigShow gigShow(const SetlistFile& opened, std::size_t switches);

/// Takes over from what was saved what nobody can foretell: tempos that were tapped, and the state of the one
/// instrument that keeps what was played. False where something of that is not as it must be.
[[nodiscard]] bool takeUnforeseen(GigShow& show, const SetlistFile& saved);

}  // namespace vrel
