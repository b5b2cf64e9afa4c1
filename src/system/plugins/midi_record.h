// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

#include "foundation/spsc_ring.h"

namespace vrel {

/// One MIDI message on its way into a plug-in: raw bytes, status first, and the frame of the block at which it comes.
struct MidiRecord {
  std::array<std::uint8_t, 3> bytes;
  std::uint16_t frame = 0;
};
static_assert(std::is_trivially_copyable_v<MidiRecord> && sizeof(MidiRecord) == 6);

/// How many of the three bytes belong to a message with this status; 0 for a byte that is not a status.
[[nodiscard]] constexpr std::uint32_t midiMessageBytes(std::uint8_t status) {
  if (status < 0x80) {
    return 0;
  }
  if (status >= 0xF8) {
    return 1;
  }
  const auto kind = static_cast<std::uint8_t>(status & 0xF0U);
  return kind == 0xC0 || kind == 0xD0 ? 2 : 3;
}

/// To the block. A panic is 192 events; ten of them fit before one block.
using MidiRing = SpscRing<MidiRecord, 2048>;
static_assert(MidiRing::capacity >= 10 * 192);

}  // namespace vrel
