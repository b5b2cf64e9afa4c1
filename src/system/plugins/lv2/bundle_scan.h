// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Reads many bundles at once. The library reads one at a time in a process, so many are shared out to helpers, one for
// each core, at low priority: a first start has a window to show and sound to play meanwhile. Few are read by one
// helper, since what ends it, such as a fault of the library, costs the one bundle that it was reading, and not the
// program.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "system/plugins/lv2/bundle_record.h"

namespace vrel::lv2 {

/// The word on a helper's command line.
inline constexpr const char* scanRoleName = "scan";

struct ScanHelpers {
  std::string program;                          // without one, all are read in this process
  std::function<void(const std::string&)> log;  // gets a line for each bundle that is left out
  std::stop_token stop{};                       // ends the scan, with what is read by then
};

/// Fewer are read by one helper sooner than several start.
inline constexpr std::size_t fewestForSeveralHelpers = 24;

/// Reads these bundles, in this order. One that has ended its helper has no record, nor has one that was not read
/// before the stop. Any thread but the main one, which this would hold up.
[[nodiscard]] std::vector<std::optional<BundleRecord>> readBundles(const std::vector<std::filesystem::path>& folders,
                                                                   const ScanHelpers& helpers);

/// What a helper does: reads the bundles that the standard input names, each ended by a zero, and writes their records
/// to the standard output. The exit code.
[[nodiscard]] int serveScan();

}  // namespace vrel::lv2
