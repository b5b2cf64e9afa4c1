// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/audio_device_settings.h"
#include "shell/menu_item.h"

namespace vrel {

class AppState;

/// What the menus tell of.
struct MenuContents {
  const AppState& state;
  std::size_t screenCount = 0;
  std::vector<AudioOutputDevice> outputDevices;  // in the order of the menu
};

/// The whole bar, in the language of the session. Of `former`, the bar that stands now, the application's menu is kept
/// when there is one; only the words of our own Quit follow the language.
[[nodiscard]] MenuBar buildMenuBar(const MenuContents& contents, const MenuBar& former);

/// Whether an item with this action is enabled now. What is told by name alone; rows that only inform never are.
[[nodiscard]] bool isMenuActionEnabled(const std::string& action, const AppState& state);

/// Whether the setlist or any of its songs has a learned control.
[[nodiscard]] bool hasMidiAssignments(const AppState& state);

}  // namespace vrel
