// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "foundation/result.h"

namespace vrel::system {

/// What a file holds, up to a limit.
struct FileStart {
  std::string text;
  bool isWhole = true;
};

/// Reads the first `limit` bytes. A file that is not there is empty; what is no regular file is an error.
[[nodiscard]] Result<FileStart> readFileStart(const std::filesystem::path& path, std::size_t limit);

/// Puts `text` in the place of the file in one step: a reader, or a crash, finds the old or the new content.
/// Makes missing folders. A link stays one, and what it leads to is replaced. With a `keptSuffix`, the old file
/// is kept under its name with this at the end, and a number where that name is taken.
[[nodiscard]] Outcome replaceFile(const std::filesystem::path& path, std::string_view text,
                                  const std::string& keptSuffix);

}  // namespace vrel::system
