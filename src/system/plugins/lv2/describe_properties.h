// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include "system/plugins/lv2/plugin_description.h"
#include "system/plugins/lv2/property_description.h"

namespace vrel::lv2 {

/// Numbers, switches and paths that the plug-in's data calls writable or readable, by name; none where no port takes
/// messages. Their addresses come from their URIs, so that every process finds the same. World thread.
[[nodiscard]] PropertyDescriptions describeProperties(LilvWorld* world, const LilvPlugin* plugin,
                                                      const PluginDescription& description);

}  // namespace vrel::lv2
