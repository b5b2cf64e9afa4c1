// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Validates the bytes of a binary property list before they are parsed.
//
// Setlists come from untrusted sources, and their bytes may be damaged or hostile. The parser copies shared objects and
// recurses without a limit, so this check visits the same objects first, with a limit on depth (which also ends every
// cycle), on the number of values and on their bytes; and it refuses every object that does not lie wholly inside the
// object area. It builds nothing.

#include <cstdint>
#include <span>

#include "foundation/result.h"

namespace vrel::system {

/// How deep containers may be nested.
inline constexpr int maximumPropertyListDepth = 64;

/// How large a property list may be, bytes, read or written: a plug-in's state of 256 MiB and what the form adds to it.
inline constexpr std::uint64_t maximumPropertyListBytes = 288ULL << 20U;

/// How many values a property list may expand to.
inline constexpr std::uint64_t maximumPropertyListValues = 1ULL << 20U;

/// Nothing when `data` is a valid binary property list with only booleans, signed 64-bit integers,
/// reals, text, bytes, arrays and dictionaries keyed by text; otherwise what is wrong with it.
[[nodiscard]] Outcome checkBinaryForm(std::span<const std::uint8_t> data);

}  // namespace vrel::system
