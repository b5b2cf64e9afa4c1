// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "foundation/result.h"

namespace vrel {

/// Makes a folder of copies, and never replaces anything. Any thread, one call at a time. An error carries the system's
/// reason.
class FileCopier {
 public:
  enum class End { copied, sourceFailed, targetFailed, stopped };

  struct Copy {
    End end = End::copied;
    std::string reason{};  // of a failure
  };

  /// Gets the proportion that is done, 0 to 1, and says whether to go on.
  using Progress = std::function<bool(double proportion)>;

  virtual ~FileCopier() = default;

  /// The absolute path without links, unique for each file; a part that does not exist is kept as given.
  [[nodiscard]] virtual std::filesystem::path canonicalPath(const std::filesystem::path& path) = 0;

  /// A new directory, on the disk, or none; fails where anything has that name, and without its parent.
  [[nodiscard]] virtual Outcome makeDirectory(const std::filesystem::path& path) = 0;

  /// Copies the bytes of a regular file into a new one, on the disk. What is not copied whole is removed.
  [[nodiscard]] virtual Copy copy(const std::filesystem::path& from, const std::filesystem::path& to,
                                  const Progress& progress) = 0;

  /// Writes a new file, on the disk. What is not written whole is removed.
  [[nodiscard]] virtual Outcome write(const std::filesystem::path& path, const std::string& bytes) = 0;

  /// Removes a file, or a directory without entries.
  virtual void remove(const std::filesystem::path& path) = 0;
};

}  // namespace vrel
