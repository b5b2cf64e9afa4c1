// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "foundation/result.h"

// What changes of files are made of. A code is the system's, or `notARegularFile`; 0 is success.

namespace vrel::system {

class FileCalls;

/// The code in words, with the path; none for 0.
[[nodiscard]] Outcome outcome(const std::filesystem::path& path, int code);

/// Why a path must not be opened at all: 0 for a regular file and for a missing one.
[[nodiscard]] int refusal(const std::filesystem::path& path);

/// The absolute path without links; a part that does not exist is kept as given.
[[nodiscard]] std::filesystem::path canonicalForm(const std::filesystem::path& path);

/// Flushes the entries of a directory to the disk.
[[nodiscard]] int syncDirectory(FileCalls& calls, const std::filesystem::path& directory);

/// Runs the steps up to the first that fails, and returns its code.
template <typename... Steps>
int untilFailure(Steps... steps) {
  int code = 0;
  static_cast<void>((((code = steps()) == 0) && ...));
  return code;
}

}  // namespace vrel::system
