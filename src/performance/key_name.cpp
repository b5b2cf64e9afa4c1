// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/key_name.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vrel {
namespace {

struct NamedKey {
  std::string_view name;
  std::string_view characters;
  std::uint16_t keyCode;
};

/// Arrows have characters of the private use area, U+F700 and U+F701.
constexpr std::array<NamedKey, 14> keys{{{"p", "p", 35},
                                         {"space", " ", 49},
                                         {"0", "0", 29},
                                         {"1", "1", 18},
                                         {"2", "2", 19},
                                         {"3", "3", 20},
                                         {"4", "4", 21},
                                         {"5", "5", 23},
                                         {"6", "6", 22},
                                         {"7", "7", 26},
                                         {"8", "8", 28},
                                         {"9", "9", 25},
                                         {"up", "\xEF\x9C\x80", KeyEvent::upArrow},
                                         {"down", "\xEF\x9C\x81", KeyEvent::downArrow}}};

}  // namespace

std::optional<KeyEvent> keyEventFromName(std::string_view name) {
  constexpr std::string_view commandPrefix = "cmd+";
  KeyEvent event;
  if (name.starts_with(commandPrefix)) {
    event.modifierFlags = ModifierFlags::command;
    name.remove_prefix(commandPrefix.size());
  }
  const auto* const key = std::find_if(keys.begin(), keys.end(), [&](const auto& known) { return known.name == name; });
  if (key == keys.end()) {
    return std::nullopt;
  }
  event.charactersIgnoringModifiers = key->characters;
  event.keyCode = key->keyCode;
  return event;
}

}  // namespace vrel
