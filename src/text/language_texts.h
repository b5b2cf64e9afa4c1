// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "document/app_state.h"

namespace vrel {

/// Words of one place alone, which are kept there, in the order of the languages; those of the interface are in text.h.
using LanguageTexts = std::array<std::string_view, 5>;

[[nodiscard]] inline std::string_view textIn(const LanguageTexts& texts, Language language) {
  return texts.at(static_cast<std::size_t>(language));
}

/// Puts something in the place of a mark, "%1" say, where the text has it.
inline void fillIn(std::string& text, std::string_view mark, const std::string& with) {
  if (const auto at = text.find(mark); at != std::string::npos) {
    text.replace(at, mark.size(), with);
  }
}

/// The text with these for "%1" and "%2".
[[nodiscard]] inline std::string filledText(const LanguageTexts& texts, Language language,
                                            const std::string& first = {}, const std::string& second = {}) {
  std::string text(textIn(texts, language));
  fillIn(text, "%2", second);  // the later one first: what is put in may hold any mark
  fillIn(text, "%1", first);
  return text;
}

}  // namespace vrel
