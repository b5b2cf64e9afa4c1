// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>

#include <optional>

#include "system/plugins/editor_place.h"
#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {

/// The plug-in's own editor: the first for X11, or else for Gtk 2, whose library is there and which requires nothing
/// that an editor is not given; or else one for X11 that requires the plug-in's memory, or one with windows of its own.
/// None without one. World thread.
[[nodiscard]] std::optional<EditorPlace> describeEditor(LilvWorld* world, const LilvPlugin* plugin,
                                                        const PluginDescription& description);

}  // namespace vrel::lv2
