// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/note_name.h"

#include <array>

namespace vrel {

std::string noteName(std::uint8_t note) {
  constexpr std::array pitchClasses = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  return pitchClasses[note % pitchClasses.size()] + std::to_string(note / 12 - 1);
}

}  // namespace vrel
