// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace vrel {

/// The 64-bit FNV-1a hash of `text`: the same on every machine and for all time, so it may be written to files.
[[nodiscard]] constexpr std::uint64_t fnv1a64(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char character : text) {
    hash = (hash ^ static_cast<std::uint8_t>(character)) * 0x100000001B3;
  }
  return hash;
}

}  // namespace vrel
