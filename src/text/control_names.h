// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "document/app_state.h"
#include "document/setlist.h"

// What learned controls are called. Pure functions.

namespace vrel {

/// What of the console is moved, such as "Volume 2". The terms of MIDI are the same in every language.
[[nodiscard]] std::string controlTargetName(const MidiControlTarget& target, Language language);

/// What of the hardware moves it, such as "CC 20, MIDI 1".
[[nodiscard]] std::string controlSourceName(const MidiControlBinding& binding);

}  // namespace vrel
