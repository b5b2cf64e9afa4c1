// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Which bundles there are, and which of them may be read. The library that reads them blocks on a pipe, reads
// what has no end to its end, and runs out of stack on brackets within brackets.

#include <cstdint>
#include <filesystem>
#include <vector>

namespace vrel::lv2 {

/// Larger files of data are not read, bytes.
inline constexpr std::uintmax_t maximumDataBytes = 16U << 20U;

/// Nor are those with more brackets open at a time.
inline constexpr int maximumDataDepth = 1000;

/// What the names of files of data end with.
inline constexpr const char* dataExtension = ".ttl";

/// What is in a folder, by name; nothing when it cannot be read.
[[nodiscard]] std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& folder);

/// Whether a file of a bundle's data can be read without harm: a file of bounded size and depth.
[[nodiscard]] bool isReadableData(const std::filesystem::path& file);

/// Whether all data in a bundle's folder can.
[[nodiscard]] bool isReadableBundle(const std::filesystem::path& folder);

/// The bundles on LV2_PATH, or in the usual places: place by place, by name. Nothing in them is read.
[[nodiscard]] std::vector<std::filesystem::path> findBundles();

}  // namespace vrel::lv2
