// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/midi_message.h"
#include "platform/instrument_route.h"

namespace vrel {

// Pure functions of the message and of a few fields of a strip. The main thread and the audio thread run the same ones.

/// What a message is to the router, by its high nibble. A note-on with velocity 0 is a note-off.
struct MessageClass {
  bool isNoteOn = false;
  bool isNoteOff = false;
  bool isController = false;
  bool isPitchBend = false;
};

[[nodiscard]] MessageClass classify(MidiMessage message) noexcept;

/// Whether `note`, as played, lies within the key split; both ends belong to it.
[[nodiscard]] bool splitHolds(const InstrumentRules& rules, std::uint8_t note) noexcept;

/// The event that a strip's instrument gets for `message`: split, transposed and filtered. None when the message is not
/// for it.
///
/// The split is tested on the note as played; the transposed note is limited to 0 to 127. Notes and
/// polyphonic aftertouch have a split, all else has none. A strip that rings gets releases only: of keys, of sustain
/// and sostenuto, and of all notes.
[[nodiscard]] std::optional<MidiMessage> instrumentEvent(const InstrumentRules& rules, MidiMessage message) noexcept;

/// The same for a controller or bend that a learned hardware control injects: no split and no
/// removal of bank select, only the two send switches and the rotor.
[[nodiscard]] std::optional<MidiMessage> performanceEvent(const InstrumentRules& rules, MidiMessage message) noexcept;

}  // namespace vrel
