// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "text/text.h"

// The tables behind `text`, in the order of the keys: text.cpp, and page_texts.cpp for the pages about the setlist.

namespace vrel {

struct TextRow {
  TextKey key;
  std::string_view name;
  std::array<std::string_view, allLanguages.size()> texts;  // in the order of the languages
};

inline constexpr auto firstPageText = static_cast<std::size_t>(TextKey::songsByMidi);

/// Whether these are the rows of the keys from `first` on.
template <std::size_t count>
[[nodiscard]] constexpr bool areRowsFrom(std::size_t first, const std::array<TextRow, count>& rows) {
  for (std::size_t index = 0; index < count; ++index) {
    if (rows[index].key != static_cast<TextKey>(first + index)) {
      return false;
    }
  }
  return true;
}

/// A row of page_texts.cpp, counted from the first of them.
[[nodiscard]] const TextRow& pageText(std::size_t index);

}  // namespace vrel
