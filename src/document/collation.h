// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <locale>
#include <string>
#include <string_view>

// How names that people read are put in order: as the user's language sorts them and with no regard
// to case. Any thread.

namespace vrel {

/// The locale of that name; the classic one where the machine does not have it.
[[nodiscard]] std::locale localeNamed(const char* name);

/// The one that the user's environment asked for at the first call. Reading a locale takes longer than sorting by it.
[[nodiscard]] const std::locale& userLocale();

/// The characters of `text`, UTF-8, as `locale` writes them small: what two texts have in common if only case differs.
[[nodiscard]] std::wstring caseFolded(std::string_view text, const std::locale& locale);

/// A text that compares as `name`, UTF-8, does in the language of `locale`, with no regard to case.
[[nodiscard]] std::wstring collationKey(std::string_view name, const std::locale& locale);

}  // namespace vrel
