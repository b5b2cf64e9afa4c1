// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "foundation/result.h"
#include "system/plugins/preset_library.h"

struct LilvStateImpl;  // the library's name for a state read from a file

namespace vrel::lv2 {

class Lv2Processor;
class Lv2World;

/// Puts a preset into a plug-in by the plug-in's own restore, and sets its controls; its blocks are silent meanwhile.
/// On failure it has the state it had before. World thread.
[[nodiscard]] Outcome usePreset(Lv2World& world, Lv2Processor& processor, const PresetPlace& place);

/// How many values there are in a state, of controls and of the plug-in's own.
[[nodiscard]] std::size_t valueCount(const LilvStateImpl* state);

}  // namespace vrel::lv2
