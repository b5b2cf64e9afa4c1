// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/result.h"

// The JSON form of the recent list: an array of texts, each the path of one file, in list order.
//
// Any bytes may be given; no exception leaves these functions. Any thread.

namespace vrel {

/// Fails on a path that is not UTF-8, which JSON cannot hold.
[[nodiscard]] Result<std::string> encodeRecentFiles(const std::vector<std::filesystem::path>& paths);

/// The paths as they were written, however many there are. One entry that is not a string fails the whole list.
[[nodiscard]] Result<std::vector<std::filesystem::path>> decodeRecentFiles(std::string_view bytes);

}  // namespace vrel
