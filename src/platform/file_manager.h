// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// Reads and writes whole files. Any thread; not the same file on two at once. An error carries the system's reason.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// The bytes of a file. A directory, a pipe or a device is refused without waiting; a file of more than
  /// `mostBytes` is refused unread.
  [[nodiscard]] virtual Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) = 0;

  /// Replaces the bytes of a file in place, or creates it. When that fails the old bytes are put back as far as
  /// possible; a crash in its middle leaves a damaged file. Creates no directories.
  [[nodiscard]] virtual Outcome write(const std::filesystem::path& path, const std::string& bytes) = 0;

  [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path) = 0;

  /// The absolute path without links, unique for each file. A part that does not exist is kept as given.
  [[nodiscard]] virtual std::filesystem::path canonicalPath(const std::filesystem::path& path) = 0;

  /// Creates a directory and its parents; success when it exists already.
  [[nodiscard]] virtual Outcome createDirectory(const std::filesystem::path& path) = 0;

  /// Names of the regular files in a directory, sorted by bytes; none when it cannot be read.
  [[nodiscard]] virtual std::vector<std::string> fileNames(const std::filesystem::path& directory) = 0;

  /// The files in a directory and the directories below it that have one of these names, the nearest first. Hidden
  /// directories and links to directories are left out, and what comes after `mostEntries` entries.
  [[nodiscard]] virtual std::vector<std::filesystem::path> filesNamed(const std::filesystem::path& directory,
                                                                      const std::set<std::string>& names,
                                                                      std::size_t mostEntries) = 0;

  /// When the bytes of a file were last written, seconds since 1970; none when that cannot be read.
  [[nodiscard]] virtual std::optional<std::int64_t> modificationTime(const std::filesystem::path& path) = 0;

  [[nodiscard]] virtual Outcome remove(const std::filesystem::path& path) = 0;

  /// Writes a temporary file beside `path`, syncs it to the disk, and renames it over `path`: after a power cut there
  /// is the old file or the new one.
  [[nodiscard]] virtual Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) = 0;
};

}  // namespace vrel
