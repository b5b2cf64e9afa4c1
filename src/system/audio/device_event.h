// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/midi_message.h"

namespace vrel::audio {

/// A message of a MIDI source, with the block that it falls into.
struct DeviceEvent {
  std::uint32_t frame = 0;  // of the block
  MidiMessage message;
  bool isRouted = false;  // the instruments have it
};

/// A packet of a MIDI source, for the main thread.
struct PlayedPacket {
  std::vector<std::uint8_t> bytes;
  bool areInstrumentsServed = false;
  std::shared_ptr<const void> untilRouted{};  // to be kept until then; null when nothing waits for it
};

}  // namespace vrel::audio
