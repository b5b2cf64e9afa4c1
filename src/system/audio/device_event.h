// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "foundation/midi_message.h"

namespace vrel::audio {

/// A message of a MIDI source, with the block that it falls into.
struct DeviceEvent {
  std::uint32_t frame = 0;  // of the block
  MidiMessage message;
  bool isRouted = false;  // the instruments have it
};

}  // namespace vrel::audio
