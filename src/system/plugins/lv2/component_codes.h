// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/audio_component.h"

namespace vrel::lv2 {

/// The 64-bit FNV-1a hash of `text`.
[[nodiscard]] constexpr std::uint64_t fnv1a64(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char character : text) {
    hash = (hash ^ static_cast<std::uint8_t>(character)) * 0x100000001B3;
  }
  return hash;
}

/// The codes of the plug-in with this URI. They are written into setlists, so they must come out the
/// same on every machine and for all time: subtype is the high half of the hash, manufacturer the low.
[[nodiscard]] constexpr AudioComponentDescription componentCodes(std::uint32_t type, std::string_view uri) {
  const std::uint64_t hash = fnv1a64(uri);
  return {type, static_cast<std::uint32_t>(hash >> 32U), static_cast<std::uint32_t>(hash)};
}

}  // namespace vrel::lv2
