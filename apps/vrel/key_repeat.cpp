// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/key_repeat.h"

#include <QKeyEvent>

namespace vrel::app {

bool KeyRepeat::isOfHeldKey(const QKeyEvent& event) {
  if (event.type() == QEvent::KeyRelease) {
    releasedKey_ = event.nativeScanCode();
    releasedAt_ = event.timestamp();
    return false;
  }
  // What programs send in place of a board has no time.
  const bool isReleasedNow = releasedKey_ != 0 && event.nativeScanCode() == releasedKey_ && event.timestamp() != 0 &&
                             event.timestamp() == releasedAt_;
  return event.isAutoRepeat() || isReleasedNow;
}

}  // namespace vrel::app
