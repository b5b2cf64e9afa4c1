// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

/// A channel message in flight: three bytes, raw, the channel still in the status.
struct MidiMessage {
  std::uint8_t status = 0;
  std::uint8_t data1 = 0;
  std::uint8_t data2 = 0;

  bool operator==(const MidiMessage&) const = default;
};

}  // namespace vrel
