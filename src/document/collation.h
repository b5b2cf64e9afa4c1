// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <locale>
#include <string>
#include <string_view>

// How names that people read are put in order: as the user's language sorts them and with no regard
// to case. Any thread.

namespace vrel {

/// The locale of that name, by default the one that the user's environment asks for; the classic one
/// where the machine does not have it.
[[nodiscard]] std::locale userLocale(const char* name = "");

/// A text that compares as `name`, UTF-8, does in the language of `locale`, with no regard to case.
[[nodiscard]] std::wstring collationKey(std::string_view name, const std::locale& locale);

}  // namespace vrel
