// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <vector>

#include "console/window/menu_entry.h"
#include "shell/menu_item.h"

namespace vrel::app {

/// The menus, or the lines of one, as QML takes them.
[[nodiscard]] QList<window::MenuEntry> menusForQml(const std::vector<MenuItem>& items);

}  // namespace vrel::app
