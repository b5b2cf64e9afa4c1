// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string_view>

#include "platform/key_event.h"

namespace vrel {

/// The key with this name in a script: "p", "space", "0" to "9", "up" or "down", each also with the prefix "cmd+". None
/// for any other name.
[[nodiscard]] std::optional<KeyEvent> keyEventFromName(std::string_view name);

}  // namespace vrel
