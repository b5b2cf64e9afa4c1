// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Looks over the bytes of a binary property list before a parser is let near them.
//
// A setlist comes from anywhere, and the bytes inside it may be damaged or made with intent. The
// parser copies shared objects and descends without a limit, so the guard walks the same road first,
// with a limit on depth (which also ends every cycle), on the number of values that come out, and on
// their bytes; and it refuses every object that does not lie wholly inside the object area.
//
// It is not a parser: it builds nothing.

#include <cstdint>
#include <span>

#include "foundation/result.h"

namespace vrel::system {

/// How deep containers may stand in each other.
inline constexpr int maximumPropertyListDepth = 64;

/// How large a property list may be, bytes, read or written.
inline constexpr std::uint64_t maximumPropertyListBytes = 256ULL << 20U;

/// How many values may come out of one property list.
inline constexpr std::uint64_t maximumPropertyListValues = 1ULL << 20U;

/// Nothing when `data` is a sound binary property list with only booleans, signed 64-bit integers,
/// reals, text, bytes, arrays and dictionaries keyed by text; otherwise what is wrong with it.
[[nodiscard]] Outcome checkBinaryForm(std::span<const std::uint8_t> data);

}  // namespace vrel::system
