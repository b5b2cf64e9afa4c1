// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vrel {

/// `bytes` in base64 (RFC 4648, section 4), padded, with no line breaks.
[[nodiscard]] std::string base64Encode(std::span<const std::uint8_t> bytes);

/// The bytes that `text` encodes. Strict: none when the text has a character outside the alphabet
/// (line breaks included), lacks padding, has too much of it, or has bits set behind the last byte.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> base64Decode(std::string_view text);

}  // namespace vrel
