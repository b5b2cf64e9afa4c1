// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// What a person has typed into a field, UTF-8. Pure functions; any thread.

namespace vrel {

/// The part of `text` without Unicode's white space and line ends at its ends.
[[nodiscard]] std::string_view withoutBlanksAround(std::string_view text);

/// A sign and decimal digits, with blanks around them; none for anything else, and beyond 64 bits.
[[nodiscard]] std::optional<std::int64_t> enteredInteger(std::string_view text);

}  // namespace vrel
