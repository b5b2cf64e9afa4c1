// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/result.h"
#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/state_snapshot.h"

namespace vrel::lv2 {

/// Takes the whole state out of a plug-in, which may be running in another thread meanwhile. What
/// could not be taken along goes to the plug-in's log. Not inside a block.
[[nodiscard]] StateSnapshot captureState(HostedPlugin& plugin);

/// Puts a state into a plug-in and runs it once with no frames. The caller holds the unit's gate. On
/// failure the plug-in has the state it had before.
[[nodiscard]] Outcome restoreState(HostedPlugin& plugin, const StateSnapshot& snapshot);

}  // namespace vrel::lv2
