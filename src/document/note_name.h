// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vrel {

/// The name of a MIDI note with its octave, in sharps: "C4" for note 60, "C-1" for note 0.
[[nodiscard]] std::string noteName(std::uint8_t note);

}  // namespace vrel
