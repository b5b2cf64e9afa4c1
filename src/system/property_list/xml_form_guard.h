// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Validates the bytes of an XML property list before they are parsed, for the same reasons and with the same limits as
// binary_form_guard.h. It checks the structure, integers and limits; the strings are for the caller to check.

#include <cstdint>
#include <span>

#include "foundation/result.h"

namespace vrel::system {

/// Whether `data` begins as an XML document does.
[[nodiscard]] bool isXmlForm(std::span<const std::uint8_t> data);

/// Nothing when `data` is an XML property list with only booleans, signed 64-bit integers, reals, strings, data, arrays
/// and dictionaries; otherwise what is wrong with it.
[[nodiscard]] Outcome checkXmlForm(std::span<const std::uint8_t> data);

}  // namespace vrel::system
