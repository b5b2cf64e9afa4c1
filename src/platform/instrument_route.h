// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

namespace vrel {

class AVAudioNode;

/// The fields of a strip that decide what its instrument gets of what is played. What they do: `midi/routing_rules.h`.
struct InstrumentRules {
  std::uint8_t minNote = 0;
  std::uint8_t maxNote = 127;
  std::int8_t transpose = 0;  // semitones
  bool sendSustain = true;
  bool sendExpression = true;
  bool sustainControlsRotor = false;
  bool isVisual = false;   // what is within the split goes to clips
  bool isRinging = false;  // of a song that went: only what ends notes

  bool operator==(const InstrumentRules&) const = default;
};

/// What is played, on its way to one instrument.
struct InstrumentRoute {
  std::shared_ptr<AVAudioNode> instrument;
  InstrumentRules rules;

  bool operator==(const InstrumentRoute&) const = default;
};

}  // namespace vrel
