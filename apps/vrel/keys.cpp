// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/keys.h"

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

KeyEvent keyEventOf(const QKeyEvent& event) {
  KeyEvent key;
  const Qt::KeyboardModifiers held = event.modifiers();
  const auto add = [&](Qt::KeyboardModifier modifier, ModifierFlags flag) {
    if (held.testFlag(modifier)) {
      key.modifierFlags = key.modifierFlags | flag;
    }
  };
  add(Qt::ShiftModifier, ModifierFlags::shift);
  add(Qt::MetaModifier, ModifierFlags::control);
  add(Qt::AltModifier, ModifierFlags::option);
  add(Qt::ControlModifier, ModifierFlags::command);
  if (event.key() == Qt::Key_Down || event.key() == Qt::Key_Up) {
    key.keyCode = event.key() == Qt::Key_Down ? KeyEvent::downArrow : KeyEvent::upArrow;
    key.charactersIgnoringModifiers = "";  // a key without a letter
    return key;
  }
  // Qt names a key by what it says without Control, as is wanted here; Shift chooses among the digits of some boards.
  if (event.key() >= Qt::Key_Space && event.key() <= Qt::Key_AsciiTilde) {
    key.charactersIgnoringModifiers = std::string(1, static_cast<char>(event.key()));
  } else if (!event.text().isEmpty()) {
    key.charactersIgnoringModifiers = event.text().toStdString();
  }
  return key;
}

}  // namespace vrel::app
