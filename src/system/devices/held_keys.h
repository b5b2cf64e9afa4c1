// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

#include "foundation/midi_message.h"
#include "foundation/midi_releases.h"

namespace vrel::system {

/// The keys and pedals that some sources hold, so that they can be released where messages of the sources were lost:
/// their own releases may be among those. A value.
class HeldKeys {
 public:
  void follow(MidiMessage message) {
    const auto kind = static_cast<std::uint8_t>(message.status & 0xF0U);
    const auto midiChannel = static_cast<std::uint8_t>(message.status & 0x0FU);
    const bool isPress = kind == 0x90 && message.data2 > 0;
    const bool isPedalDown = kind == 0xB0 && message.data1 == sustainPedal && message.data2 > 0;
    const MidiMessage release{static_cast<std::uint8_t>(isPress ? 0x80U | midiChannel : message.status), message.data1,
                              0};
    if (kind < 0x80 || kind == 0xF0) {
      return;
    }
    used_.set(midiChannel);
    if (isPress || isPedalDown) {
      held_.set(*MidiReleases::numberOf(release));
    } else if (const auto number = MidiReleases::numberOf(message)) {
      held_.reset(*number);
    }
  }

  /// What releases all of them, and what else a panic may have ended on their MIDI channels; nothing is held then.
  [[nodiscard]] std::vector<MidiMessage> takeReleases() {
    std::vector<MidiMessage> releases;
    for (std::uint32_t number = 0; number < MidiReleases::count; ++number) {
      if (held_.test(number)) {
        releases.push_back(MidiReleases::messageOf(number));
      }
    }
    for (std::uint8_t midiChannel = 0; midiChannel < MidiReleases::midiChannels; ++midiChannel) {
      if (used_.test(midiChannel)) {
        releases.push_back({static_cast<std::uint8_t>(0xB0U | midiChannel), allNotesOff, 0});
      }
    }
    *this = HeldKeys();
    return releases;
  }

 private:
  static constexpr std::uint8_t sustainPedal = 64;
  static constexpr std::uint8_t allNotesOff = 123;

  std::bitset<MidiReleases::count> held_;
  std::bitset<MidiReleases::midiChannels> used_;
};

}  // namespace vrel::system
