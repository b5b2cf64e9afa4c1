// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vrel {

/// The modifier keys that are held, as bits.
enum class ModifierFlags : std::uint8_t { none = 0, shift = 1, control = 2, option = 4, command = 8 };

[[nodiscard]] constexpr ModifierFlags operator|(ModifierFlags a, ModifierFlags b) {
  return static_cast<ModifierFlags>(static_cast<std::uint8_t>(a) | static_cast<std::uint8_t>(b));
}

/// Whether any of `wanted` is among `flags`.
[[nodiscard]] constexpr bool contains(ModifierFlags flags, ModifierFlags wanted) {
  return (static_cast<std::uint8_t>(flags) & static_cast<std::uint8_t>(wanted)) != 0;
}

/// A key press on the computer's keyboard.
struct KeyEvent {
  /// The text of the key, ignoring all modifiers but Shift, UTF-8; absent for keys without text.
  std::optional<std::string> charactersIgnoringModifiers;
  ModifierFlags modifierFlags = ModifierFlags::none;
  /// The physical key, whatever its text.
  std::uint16_t keyCode = 0;

  static constexpr std::uint16_t downArrow = 125;
  static constexpr std::uint16_t upArrow = 126;
};

}  // namespace vrel
