// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/file_manager.h"

namespace vrel::system {

class FileCalls;

/// The files of this computer.
///
/// Symbolic links are followed and kept. What is not a regular file is refused before it is opened, so that no pipe
/// blocks and no device is touched. A success means that the bytes are on the disk, and the entry of a new file too.
///
/// An in-place write reserves space for the new bytes before it drops the old ones, where the file system can: so a
/// full disk, as a rule, fails the write and leaves the file. A write that fails later puts the old bytes back. From
/// the truncation until the last new byte is written the file is shorter than either version, never a mixture of both:
/// a crash in that time leaves it so.
class PosixFileManager final : public FileManager {
 public:
  /// The calls are borrowed.
  explicit PosixFileManager(FileCalls& calls) : calls_(calls) {}

  [[nodiscard]] Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) override;
  [[nodiscard]] Outcome write(const std::filesystem::path& path, const std::string& bytes) override;
  [[nodiscard]] bool fileExists(const std::filesystem::path& path) override;
  [[nodiscard]] std::filesystem::path canonicalPath(const std::filesystem::path& path) override;
  [[nodiscard]] Outcome createDirectory(const std::filesystem::path& path) override;
  [[nodiscard]] std::vector<std::string> fileNames(const std::filesystem::path& directory) override;
  [[nodiscard]] std::vector<std::filesystem::path> filesNamed(const std::filesystem::path& directory,
                                                              const std::set<std::string>& names,
                                                              std::size_t mostEntries) override;
  [[nodiscard]] std::optional<std::int64_t> modificationTime(const std::filesystem::path& path) override;
  [[nodiscard]] Outcome remove(const std::filesystem::path& path) override;
  [[nodiscard]] Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) override;

 private:
  /// Replaces the bytes in place; 0 or the error code. `isTouched` becomes true when the old bytes are given up.
  [[nodiscard]] int replaceBytes(const std::filesystem::path& path, const std::string& bytes, bool& isTouched);

  FileCalls& calls_;
};

/// One with calls of its own, for work that may outlive whoever began it.
[[nodiscard]] std::shared_ptr<FileManager> makeFileManager();

}  // namespace vrel::system
