// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string_view>

#include "text/text.h"

namespace vrel {

/// What a control says of itself when the pointer rests on it, and to assistive technology.
enum class Hint {
  foldKeyboard,
};

inline constexpr std::size_t hintCount = static_cast<std::size_t>(Hint::foldKeyboard) + 1;

/// The words in a language, UTF-8. Any thread.
[[nodiscard]] std::string_view hintText(Hint hint, Language language);

}  // namespace vrel
