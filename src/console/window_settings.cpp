// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window_settings.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "console/window_layout.h"
#include "platform/user_defaults.h"

namespace vrel {
namespace {

const std::string zoomKey = "vrel.window.zoomPercent";
const std::string keyboardFoldedKey = "vrel.window.isKeyboardFolded";
const std::string stageShownKey = "vrel.window.isStageShown";
const std::string notesTextKey = "vrel.window.notesTextSize";
const std::string notesDisplayKey = "vrel.window.notesDisplay";

constexpr std::int64_t smallestNotesText = 22;
constexpr std::int64_t largestNotesText = 112;
constexpr int notesTextStep = 6;

}  // namespace

WindowSettings::WindowSettings(NSUserDefaults& defaults) : defaults_(defaults) {
  zoomPercent.set(storedZoom(defaults_.integerForKey(zoomKey)));
  isKeyboardFolded.set(defaults_.integerForKey(keyboardFoldedKey) != 0);
  isStageFolded.set(defaults_.integerForKey(stageShownKey) == 0);
  if (const auto size = defaults_.integerForKey(notesTextKey); size != 0) {
    notesTextSize.set(static_cast<int>(std::clamp(size, smallestNotesText, largestNotesText)));
  }
  notesDisplay.set(defaults_.stringForKey(notesDisplayKey).value_or(""));
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

void WindowSettings::stepNotesText(int by) {
  const std::int64_t size = notesTextSize.get() + std::int64_t{by} * notesTextStep;
  notesTextSize.set(static_cast<int>(std::clamp(size, smallestNotesText, largestNotesText)));
  defaults_.setInteger(notesTextKey, notesTextSize.get());
}

void WindowSettings::showNotesOn(const std::string& display) {
  notesDisplay.set(display);
  defaults_.setString(notesDisplayKey, display);
}

}  // namespace vrel
