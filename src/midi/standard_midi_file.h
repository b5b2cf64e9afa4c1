// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// A channel message of a MIDI file. `data2` is 0 in the messages that have one data byte.
struct MidiFileMessage {
  std::uint8_t status = 0;
  std::uint8_t data1 = 0;
  std::uint8_t data2 = 0;

  bool operator==(const MidiFileMessage&) const = default;
};

/// A text or a marker of a MIDI file, as its bytes are in the file.
struct MidiFileText {
  enum class Kind { text, marker };
  Kind kind = Kind::text;
  std::string text{};

  bool operator==(const MidiFileText&) const = default;
};

struct MidiFileEvent {
  double seconds = 0;  // since the start of the file
  std::variant<MidiFileMessage, MidiFileText> content{};

  bool operator==(const MidiFileEvent&) const = default;
};

/// A performance: its events by time; events of the same time by track, then as in the file.
struct MidiFile {
  std::vector<MidiFileEvent> events{};
  double lengthSeconds = 0;  // up to the last end of a track
};

/// Reads a Standard MIDI File of format 0 or 1.
///
/// The tempo map of all tracks is honoured, and times are exact: they are summed in whole numbers and
/// turned into seconds once, so nothing drifts. System exclusive messages, unknown chunks and other
/// meta events are passed over. Fails, with the byte offset, on a file that is cut short or breaks the
/// format, and on format 2. Never reads outside `bytes`; memory is bounded by their size. Any thread.
[[nodiscard]] Result<MidiFile> readStandardMidiFile(std::span<const std::uint8_t> bytes);

}  // namespace vrel
