// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window_settings.h"

#include <string>

#include "console/window_layout.h"
#include "platform/user_defaults.h"

namespace vrel {
namespace {

const std::string zoomKey = "vrel.window.zoomPercent";
const std::string keyboardFoldedKey = "vrel.window.isKeyboardFolded";
const std::string stageShownKey = "vrel.window.isStageShown";

}  // namespace

WindowSettings::WindowSettings(NSUserDefaults& defaults) : defaults_(defaults) {
  zoomPercent.set(storedZoom(defaults_.integerForKey(zoomKey)));
  isKeyboardFolded.set(defaults_.integerForKey(keyboardFoldedKey) != 0);
  isStageFolded.set(defaults_.integerForKey(stageShownKey) == 0);
}

void WindowSettings::zoom(int by) {
  zoomPercent.set(steppedZoom(zoomPercent.get(), by));
  defaults_.setInteger(zoomKey, zoomPercent.get());
}

void WindowSettings::toggleKeyboard() {
  isKeyboardFolded.set(!isKeyboardFolded.get());
  defaults_.setInteger(keyboardFoldedKey, isKeyboardFolded.get() ? 1 : 0);
}

void WindowSettings::toggleStage() {
  isStageFolded.set(!isStageFolded.get());
  defaults_.setInteger(stageShownKey, isStageFolded.get() ? 0 : 1);
}

}  // namespace vrel
