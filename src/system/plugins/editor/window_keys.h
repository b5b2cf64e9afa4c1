// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <set>

#include "platform/key_event.h"

union _XEvent;     // NOLINT(bugprone-reserved-identifier): X11's names
struct _XDisplay;  // NOLINT(bugprone-reserved-identifier)

namespace vrel::editor {

/// The keys that are held, by their places on the board.
class HeldKeys {
 public:
  /// A press or a release of X11 in the console's terms. None for a release, for a key without a text, and for the
  /// repetition of a held key, unless that is an arrow.
  [[nodiscard]] std::optional<KeyEvent> keyOf(const _XEvent& event);

 private:
  std::set<unsigned int> held_;
};

/// Takes the keys of panic, with and without Shift, from whichever window within this one has the keyboard; or gives
/// them back.
void takePanicKeys(_XDisplay* display, unsigned long window, bool areTaken);

}  // namespace vrel::editor
