// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {

/// Copies out of the library what the host wants to know of a plug-in. World thread. A plug-in whose
/// data is broken comes out with what could be read, in the worst case with no ports.
[[nodiscard]] PluginDescription describePlugin(LilvWorld* world, const LilvPlugin* plugin);

}  // namespace vrel::lv2
