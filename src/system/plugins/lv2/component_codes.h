// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/fnv1a64.h"
#include "platform/audio_component.h"

namespace vrel::lv2 {

/// The codes of the plug-in with this URI. They are written into setlists, so they must come out the
/// same on every machine and for all time: subtype is the high half of the hash, manufacturer the low.
[[nodiscard]] constexpr AudioComponentDescription componentCodes(std::uint32_t type, std::string_view uri) {
  const std::uint64_t hash = fnv1a64(uri);
  return {type, static_cast<std::uint32_t>(hash >> 32U), static_cast<std::uint32_t>(hash)};
}

}  // namespace vrel::lv2
