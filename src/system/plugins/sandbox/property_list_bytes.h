// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/property_list.h"
#include "system/plugins/sandbox/byte_coding.h"

namespace vrel::sandbox {

/// A property list on its way between the processes.
[[nodiscard]] Bytes toBytes(const PropertyListDictionary& dictionary);

/// The size of those bytes.
[[nodiscard]] std::uint64_t byteCount(const PropertyListDictionary& dictionary);

/// None for bytes that are none of the above, whatever they are: also for one that is nested more than
/// 32 deep, or goes on behind its end.
[[nodiscard]] std::optional<PropertyListDictionary> dictionaryFromBytes(std::span<const std::uint8_t> bytes);

}  // namespace vrel::sandbox
