// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVariantList>

#include "shell/menu_item.h"

namespace vrel::app {

/// The menus as QML takes them: a list of maps with `title` and `items`, and for each item `title`, `shortcut` (in Qt's
/// portable text), `enabled`, `checkable`, `checked`, `separator`, `path` (for ConsoleCommands::activateMenuItem) and
/// `items` of its own.
[[nodiscard]] QVariantList menusForQml(const MenuBar& menus);

}  // namespace vrel::app
