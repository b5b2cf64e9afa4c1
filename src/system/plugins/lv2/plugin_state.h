// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "foundation/result.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/state_snapshot.h"

struct LilvStateImpl;  // the library's name for a state read from a file

namespace vrel::lv2 {

/// Takes the whole state out of a plug-in, which may be running in another thread meanwhile. What
/// could not be taken along goes to the plug-in's log. Not inside a block.
[[nodiscard]] StateSnapshot captureState(HostedPlugin& plugin);

/// Puts a state into a plug-in and runs it once with no frames. The caller holds the unit's gate. On
/// failure the plug-in has the state it had before.
[[nodiscard]] Outcome restoreState(HostedPlugin& plugin, const StateSnapshot& snapshot);

/// The same with the state of a preset. What the plug-in answers to a preset of nothing but controls does not count.
[[nodiscard]] Outcome restorePreset(HostedPlugin& plugin, const LilvStateImpl* preset);

/// Stored values as this process understands them; fails on a value whose numbers cannot be found.
[[nodiscard]] Result<std::vector<StateProperty>> inThisProcess(UridMap& urids,
                                                               const std::vector<StateProperty>& stored);

}  // namespace vrel::lv2
