// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/key_event.h"

class QKeyEvent;

namespace vrel::app {

/// A key of Qt in the logic's terms. Command is the Control key of the board, Control its Meta key, Option Alt.
[[nodiscard]] KeyEvent keyEventOf(const QKeyEvent& event);

}  // namespace vrel::app
