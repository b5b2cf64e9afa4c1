// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

// Status bytes of channel messages, channel nibble zero, and the controllers that the program knows
// by number (MIDI 1.0 Detailed Specification, tables I to III).

inline constexpr std::uint8_t statusNoteOff = 0x80;
inline constexpr std::uint8_t statusNoteOn = 0x90;
inline constexpr std::uint8_t statusPolyphonicAftertouch = 0xA0;
inline constexpr std::uint8_t statusController = 0xB0;
inline constexpr std::uint8_t statusProgramChange = 0xC0;
inline constexpr std::uint8_t statusChannelPressure = 0xD0;
inline constexpr std::uint8_t statusPitchBend = 0xE0;

inline constexpr std::uint8_t controllerBankSelect = 0;
inline constexpr std::uint8_t controllerModulation = 1;
inline constexpr std::uint8_t controllerExpression = 11;
inline constexpr std::uint8_t controllerBankSelectFine = 32;
inline constexpr std::uint8_t controllerSustain = 64;
inline constexpr std::uint8_t controllerSostenuto = 66;
inline constexpr std::uint8_t controllerSoftPedal = 67;
inline constexpr std::uint8_t controllerAllSoundOff = 120;
inline constexpr std::uint8_t controllerResetAll = 121;
inline constexpr std::uint8_t controllerAllNotesOff = 123;

/// `status` without its channel.
[[nodiscard]] constexpr std::uint8_t highNibble(std::uint8_t status) {
  return status & 0xF0;
}

}  // namespace vrel
