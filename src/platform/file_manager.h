// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// The files of the user, whole. Main thread. A failure is told with the reason that the system gives.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// The bytes of a file. A directory, a pipe or a device is refused, not waited for; a file of more than `mostBytes`
  /// is refused unread.
  [[nodiscard]] virtual Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) = 0;

  /// Replaces the bytes of a file in place, or creates it. When that fails the old bytes are put back as far as
  /// possible; a crash in its middle leaves a damaged file. Creates no directories.
  [[nodiscard]] virtual Outcome write(const std::filesystem::path& path, const std::string& bytes) = 0;

  [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path) = 0;

  /// The whole path without links, so that one file has one. What does not exist is taken as it is written.
  [[nodiscard]] virtual std::filesystem::path canonicalPath(const std::filesystem::path& path) = 0;

  /// Makes a directory with all above it; success when it is there already.
  [[nodiscard]] virtual Outcome createDirectory(const std::filesystem::path& path) = 0;

  /// Names of the plain files in a directory, sorted by their bytes; none when it can not be read.
  [[nodiscard]] virtual std::vector<std::string> fileNames(const std::filesystem::path& directory) = 0;

  [[nodiscard]] virtual Outcome remove(const std::filesystem::path& path) = 0;

  /// Writes a file beside `path`, brings it to the disk, and puts it in the place of `path` in one step: after a power
  /// cut there is the old file or the new one.
  [[nodiscard]] virtual Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) = 0;
};

}  // namespace vrel
