// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "foundation/result.h"

namespace vrel::system {

/// The content of a file, up to a limit.
struct FileStart {
  std::string text;
  bool isWhole = true;
};

/// Reads the first `limit` bytes. A missing file is empty; what is not a regular file is an error.
[[nodiscard]] Result<FileStart> readFileStart(const std::filesystem::path& path, std::size_t limit);

/// Replaces the content of the file atomically: a reader, or a crash, finds the old or the new one. Creates missing
/// folders. A symbolic link is kept and its target replaced. With a `keptSuffix`, the old file is kept under its name
/// with this at the end, and a number where that name is taken.
[[nodiscard]] Outcome replaceFile(const std::filesystem::path& path, std::string_view text,
                                  const std::string& keptSuffix);

}  // namespace vrel::system
