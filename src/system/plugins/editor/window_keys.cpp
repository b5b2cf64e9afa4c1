// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/editor/window_keys.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <array>
#include <cstddef>
#include <string>

namespace vrel::editor {
namespace {

/// X11 gives the text of a key in Latin-1.
std::string fromLatin1(const char* text, int length) {
  std::string result;
  for (int index = 0; index < length; ++index) {
    const auto code = static_cast<unsigned char>(text[index]);
    if (code < 0x80) {
      result += static_cast<char>(code);
    } else {
      result += static_cast<char>(0xC0 | (code >> 6U));
      result += static_cast<char>(0x80 | (code & 0x3FU));
    }
  }
  return result;
}

ModifierFlags modifiersOf(unsigned int state) {
  ModifierFlags flags = ModifierFlags::none;
  const auto add = [&](unsigned int mask, ModifierFlags flag) {
    if ((state & mask) != 0) {
      flags = flags | flag;
    }
  };
  add(ShiftMask, ModifierFlags::shift);
  add(ControlMask, ModifierFlags::command);
  add(Mod1Mask, ModifierFlags::option);
  add(Mod4Mask, ModifierFlags::control);
  return flags;
}

}  // namespace

std::optional<KeyEvent> HeldKeys::keyOf(const _XEvent& event) {
  if (event.type == KeyRelease) {
    held_.erase(event.xkey.keycode);
    return std::nullopt;
  }
  const bool isHeld = !held_.insert(event.xkey.keycode).second;
  XKeyEvent plain = event.xkey;
  plain.state &= ~static_cast<unsigned int>(ControlMask | Mod1Mask | Mod4Mask);
  std::array<char, 16> text{};
  KeySym symbol = NoSymbol;
  const int length = XLookupString(&plain, text.data(), static_cast<int>(text.size()), &symbol, nullptr);
  KeyEvent key;
  key.modifierFlags = modifiersOf(event.xkey.state);
  const bool isUp = symbol == XK_Up || symbol == XK_KP_Up;
  if (isUp || symbol == XK_Down || symbol == XK_KP_Down) {
    key.keyCode = isUp ? KeyEvent::upArrow : KeyEvent::downArrow;
    key.charactersIgnoringModifiers = "";
    return key;
  }
  if (isHeld || length <= 0 || static_cast<unsigned char>(text[0]) < ' ') {
    return std::nullopt;
  }
  key.charactersIgnoringModifiers = fromLatin1(text.data(), length);
  return key;
}

void takePanicKeys(_XDisplay* display, unsigned long window, bool areTaken) {
  // Caps Lock and Num Lock make no difference.
  constexpr std::array<unsigned int, 8> states{0,
                                               ShiftMask,
                                               LockMask,
                                               LockMask | ShiftMask,
                                               Mod2Mask,
                                               Mod2Mask | ShiftMask,
                                               Mod2Mask | LockMask,
                                               Mod2Mask | LockMask | ShiftMask};
  for (const KeySym symbol : {XK_p, XK_space}) {
    const int code = XKeysymToKeycode(display, symbol);
    if (code == AnyKey) {
      continue;  // the layout has none
    }
    for (const unsigned int state : states) {
      if (areTaken) {
        XGrabKey(display, code, state, window, False, GrabModeAsync, GrabModeAsync);
      } else {
        XUngrabKey(display, code, state, window);
      }
    }
  }
  XFlush(display);
}

}  // namespace vrel::editor
