// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <utility>

#include "foundation/result.h"

namespace vrel {

/// A folder for temporary files, removed with this object.
///
/// A program that is killed cannot remove its folders. So each is locked by a descriptor for as long as it is in use;
/// the system releases the lock however the program ends, and `sweep`, in whatever program starts
/// next, removes the folders that nobody holds. Not thread-safe; different objects are independent.
class ScratchFolder {
 public:
  /// A new, empty folder where temporary files belong (TMPDIR, or the system's place).
  [[nodiscard]] static Result<ScratchFolder> make();

  /// Removes what programs that were killed have left. May take a while; any thread but the audio thread.
  static void sweep();

  ~ScratchFolder();
  ScratchFolder(ScratchFolder&& other) noexcept;
  ScratchFolder& operator=(ScratchFolder&&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  ScratchFolder(std::filesystem::path path, int lock) : path_(std::move(path)), lock_(lock) {}

  std::filesystem::path path_;
  int lock_ = -1;  // of the folder itself; -1 when this object has none
};

}  // namespace vrel
