// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/key_event.h"

namespace vrel {

/// A line of a menu, as data: a command, a menu within the menu, a row that only informs, or a separator. What draws it
/// gives `action` and `representedObject` back when it is chosen; see VrelMenuController::perform.
struct MenuItem {
  std::string title;              // UTF-8
  std::string hint;               // what the command does, or why it does nothing now; empty where there is no command
  std::string action;             // by its name in menu_commands.cpp; empty for a menu and for what cannot be chosen
  std::string representedObject;  // what the action is about: a path, a number, the id of a device

  std::string key;  // as it is typed, in upper case where Shift is held; empty without one
  ModifierFlags modifiers = ModifierFlags::none;

  bool isEnabled = true;
  bool isChecked = false;
  bool isSeparator = false;
  std::vector<MenuItem> children;

  bool operator==(const MenuItem&) const = default;
};

/// The menus of the bar, the application's first.
using MenuBar = std::vector<MenuItem>;

}  // namespace vrel
