// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "foundation/observable.h"

namespace vrel {

class NSUserDefaults;

/// What the user has chosen for the main window, kept from one run to the next. Main thread.
class WindowSettings {
 public:
  /// Reads the settings. They are borrowed.
  explicit WindowSettings(NSUserDefaults& defaults);

  Observable<int> zoomPercent{100};
  Observable<bool> isKeyboardFolded{false};  // to the bars of the splits
  Observable<bool> isStageFolded{true};      // the preview of the stage
  Observable<int> notesTextSize{40};         // of the large notes, points
  Observable<std::string> notesDisplay;      // the screen that they are shown on; empty for the console

  /// 1 for larger, -1 for smaller, 0 for the normal size.
  void zoom(int by);
  void toggleKeyboard();
  void toggleStage();
  /// 1 for larger, -1 for smaller.
  void stepNotesText(int by);
  /// By the name that the desktop has for the screen.
  void showNotesOn(const std::string& display);

 private:
  NSUserDefaults& defaults_;
};

}  // namespace vrel
