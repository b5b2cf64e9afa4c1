// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QtGlobal>

#include "platform/key_event.h"

class QKeyEvent;

namespace vrel::app {

/// Distinguishes the first press of a key from the repetitions of a held one.
///
/// On X a held key is released and pressed again at one and the same instant. Qt marks the two as a repetition only
/// when it happens to have read both already, so its mark alone lets some of them through as fresh presses. The
/// window's thread.
class KeyRepeat {
 public:
  /// To be shown every press and release of the window's keys, and every question whether a press is a shortcut, in
  /// their order. Whether it is a press, or such a question, of a key that was held already.
  [[nodiscard]] bool isOfHeldKey(const QKeyEvent& event);

 private:
  quint32 releasedKey_ = 0;  // by its place on the board; 0 before the first release
  quint64 releasedAt_ = 0;   // milliseconds of the display
};

}  // namespace vrel::app

class QKeyEvent;

namespace vrel::app {

/// A key of Qt in the logic's terms. Command is the Control key of the board, Control its Meta key, Option Alt.
[[nodiscard]] KeyEvent keyEventOf(const QKeyEvent& event);

}  // namespace vrel::app
