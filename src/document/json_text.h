// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vrel {

/// How many bytes at the beginning of `text` a JSON string holds as they are: ASCII without quotes, backslashes and
/// control characters. Eight at a time, since the states of plug-ins are nothing but such bytes.
[[nodiscard]] inline std::size_t plainBytes(std::string_view text) {
  constexpr std::uint64_t ones = 0x0101010101010101U;
  constexpr std::uint64_t tops = 0x8080808080808080U;
  // A top bit where the byte is 0, below a byte for which that is so; above it there may be others.
  const auto zeros = [](std::uint64_t word) { return (word - ones) & ~word; };
  std::size_t at = 0;
  for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + at, sizeof word);
    const std::uint64_t isControl = (word - ones * 0x20U) & ~word;
    if (((word | isControl | zeros(word ^ (ones * '"')) | zeros(word ^ (ones * '\\'))) & tops) != 0) {
      break;
    }
  }
  for (; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x20 || byte >= 0x80 || byte == '"' || byte == '\\') {
      break;
    }
  }
  return at;
}

}  // namespace vrel
