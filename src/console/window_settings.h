// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

  /// 1 for larger, -1 for smaller, 0 for the normal size.
  void zoom(int by);
  void toggleKeyboard();
  void toggleStage();

 private:
  NSUserDefaults& defaults_;
};

}  // namespace vrel
