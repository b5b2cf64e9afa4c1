// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/setlist.h"
#include "foundation/result.h"

// The JSON form of a setlist.
//
// Reading accepts what is missing and nothing else: a missing or null key gives the record's
// default where it has one, and unknown keys are skipped, but one value of the wrong type or width
// fails the whole document. Numbers that fit pass through unlimited; only colours are normalised to
// three components. Every record gets a fresh id. Of a repeated key, the last counts.
// Writing gives every key; an absent optional is left out, never written as null.
//
// Any bytes may be given: broken, endless or hostile ones end in an error that says where, with
// memory bounded by their size. No exception leaves these functions. Any thread.

namespace vrel {

/// What is written as "version". A reader takes any number and acts on none.
inline constexpr std::uint32_t setlistVersion = 3;

/// A larger file is not a setlist.
inline constexpr std::uintmax_t mostSetlistBytes = std::uintmax_t{1} << 30U;

/// The document as indented UTF-8 JSON. Fails on a NaN or infinite number and on text that is not UTF-8.
[[nodiscard]] Result<std::string> encodeSetlist(const SetlistFile& setlist);

/// The setlist in `bytes`. The root must be an object; an empty one is an empty setlist.
[[nodiscard]] Result<SetlistFile> decodeSetlist(std::string_view bytes);

/// The songs of the oldest files, whose root is a bare array of songs.
[[nodiscard]] Result<std::vector<SongConfig>> decodeLegacySongs(std::string_view bytes);

/// What opening a file does: `decodeSetlist`, and when that fails `decodeLegacySongs`, whose error is
/// then the one reported.
[[nodiscard]] Result<SetlistFile> readSetlist(std::string_view bytes);

/// The same by the JSON library alone: many times slower, and what says why a document cannot be read.
[[nodiscard]] Result<SetlistFile> readSetlistByLibrary(std::string_view bytes);

/// A single MIDI message, all three keys required.
[[nodiscard]] std::string encodeMidiMessage(const MidiMessage& message);
[[nodiscard]] Result<MidiMessage> decodeMidiMessage(std::string_view bytes);

}  // namespace vrel
