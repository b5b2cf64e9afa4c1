// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "engine/audio_device_settings.h"
#include "shell/menu_item.h"

namespace vrel {

class AppState;

/// What the menus show.
struct MenuContents {
  const AppState& state;
  std::size_t screenCount = 0;
  std::vector<AudioOutputDevice> outputDevices;  // in the order of the menu
  bool isProjectionBlack = false;
  bool showsTestPicture = false;
};

/// The whole bar, in the language of the session. Of `former`, the current bar, the application's menu is kept
/// when there is one; only the words of our own Quit follow the language.
[[nodiscard]] MenuBar buildMenuBar(const MenuContents& contents, const MenuBar& former);

}  // namespace vrel
