// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "text/hints.h"

// The tables behind `hintText`, in the order of the hints: hints.cpp has those of the window's controls, menu_hints.cpp
// those of the menus' commands.

namespace vrel {

struct HintRow {
  Hint hint;
  std::array<std::string_view, allLanguages.size()> texts;  // in the order of the languages
};

inline constexpr auto controlHintCount = static_cast<std::size_t>(Hint::undo);

/// Whether these are the hints from `first` on, each with all its texts.
template <std::size_t count>
[[nodiscard]] constexpr bool areWholeFrom(std::size_t first, const std::array<HintRow, count>& rows) {
  for (std::size_t index = 0; index < count; ++index) {
    if (rows[index].hint != static_cast<Hint>(first + index)) {
      return false;
    }
    for (const auto& text : rows[index].texts) {
      if (text.empty()) {
        return false;
      }
    }
  }
  return true;
}

/// The hint of a menu's command, counted from the first of them.
[[nodiscard]] const HintRow& menuHint(std::size_t index);

}  // namespace vrel
