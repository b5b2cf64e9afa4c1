// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "document/setlist.h"

namespace vrel {

class AudioChannel;

/// What a message is to the router, by its high nibble. A note-on with velocity 0 is a note-off.
struct MessageClass {
  bool isNoteOn = false;
  bool isNoteOff = false;
  bool isController = false;
  bool isPitchBend = false;
};

[[nodiscard]] MessageClass classify(MidiMessage message);

/// Whether `note`, as played, lies within the channel's key split; both ends belong to it.
[[nodiscard]] bool splitHolds(const AudioChannel& channel, std::uint8_t note);

/// The event that the channel's instrument gets for `message`: split, transposed and filtered by the
/// channel's settings of this moment. None when the message is not for it.
///
/// The split is tested on the note as played; the transposed note is limited to 0 to 127. Notes and
/// polyphonic aftertouch have a split, all else has none.
[[nodiscard]] std::optional<MidiMessage> instrumentEvent(const AudioChannel& channel, MidiMessage message);

/// The same for a controller or bend that a learned hardware control injects: no split and no
/// removal of bank select, only the two send switches and the rotor.
[[nodiscard]] std::optional<MidiMessage> performanceEvent(const AudioChannel& channel, MidiMessage message);

}  // namespace vrel
