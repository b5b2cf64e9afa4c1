// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "foundation/midi_message.h"

namespace vrel {

/// The messages that end a sound, by number, so that a queue that is full can keep each of them once: the controllers
/// of a panic on all MIDI channels, one after the other, then the keys of each channel. Pure functions.
struct MidiReleases {
  static constexpr std::array<std::uint8_t, 5> controllers = {64, 1, 121, 120, 123};
  static constexpr std::uint32_t midiChannels = 16;
  static constexpr std::uint32_t keys = 128;
  static constexpr std::uint32_t firstKey = controllers.size() * midiChannels;
  static constexpr std::uint32_t count = firstKey + midiChannels * keys;

  /// The number of a message; none for one that ends nothing.
  [[nodiscard]] static constexpr std::optional<std::uint32_t> numberOf(const MidiMessage& message) noexcept {
    const std::uint32_t kind = message.status & 0xF0U;
    const std::uint32_t midiChannel = message.status & 0x0FU;
    if (kind == 0x80 || (kind == 0x90 && message.data2 == 0)) {
      return firstKey + midiChannel * keys + message.data1 % keys;
    }
    const auto* const found = std::find(controllers.begin(), controllers.end(), message.data1);
    const bool isRest = message.data2 == 0 || message.data1 >= 120;
    if (kind != 0xB0 || found == controllers.end() || !isRest) {
      return std::nullopt;
    }
    return static_cast<std::uint32_t>(found - controllers.begin()) * midiChannels + midiChannel;
  }

  /// A message with this number.
  [[nodiscard]] static constexpr MidiMessage messageOf(std::uint32_t number) noexcept {
    if (number >= firstKey) {
      const std::uint32_t key = number - firstKey;
      return {static_cast<std::uint8_t>(0x80 + key / keys), static_cast<std::uint8_t>(key % keys), 0};
    }
    return {static_cast<std::uint8_t>(0xB0 + number % midiChannels), controllers[number / midiChannels], 0};
  }
};

}  // namespace vrel
