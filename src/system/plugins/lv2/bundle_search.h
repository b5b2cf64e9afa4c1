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

/// Whether a file of a bundle's data can be read without harm: a file of bounded size and depth.
[[nodiscard]] bool isReadableData(const std::filesystem::path& file);

/// The bundles on LV2_PATH, or in the usual places: place by place, by name. Those with data that cannot
/// be read are left out.
[[nodiscard]] std::vector<std::filesystem::path> findBundles();

}  // namespace vrel::lv2
