// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace vrel {

/// One case of an enumeration and the text that it has at the border: in a file, in a log, on the screen.
template <typename Case>
struct EnumText {
  Case value;
  std::string_view text;
};

template <typename Case, std::size_t count>
using EnumTexts = std::array<EnumText<Case>, count>;

/// The text of a case; empty for one that the table does not have.
template <typename Case, std::size_t count>
constexpr std::string_view textOf(const EnumTexts<Case, count>& table, Case value) {
  for (const auto& entry : table) {
    if (entry.value == value) {
      return entry.text;
    }
  }
  return {};
}

/// The case with this text, compared exactly; none for any other text.
template <typename Case, std::size_t count>
constexpr std::optional<Case> caseOf(const EnumTexts<Case, count>& table, std::string_view text) {
  for (const auto& entry : table) {
    if (entry.text == text) {
      return entry.value;
    }
  }
  return std::nullopt;
}

/// Whether the table has the first `count` cases in their order, each once, and no text twice.
template <typename Case, std::size_t count>
constexpr bool isComplete(const EnumTexts<Case, count>& table) {
  for (std::size_t index = 0; index < count; ++index) {
    if (static_cast<std::size_t>(table[index].value) != index ||
        caseOf(table, table[index].text) != table[index].value) {
      return false;
    }
  }
  return true;
}

}  // namespace vrel
