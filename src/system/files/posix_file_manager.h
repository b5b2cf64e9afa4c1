// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/file_manager.h"

namespace vrel::system {

class FileCalls;

/// The files of the machine.
///
/// Links are followed and stay links. What is no plain file is refused before it is opened, so that no pipe is waited
/// for and no device touched. A success means that the bytes are on the disk, and the name of a new file with them.
///
/// An in-place write has the room for the new bytes set aside before the old ones go, where the file system can: so a
/// full disk, as a rule, costs the write and not the file. From the moment the old bytes go until the last of the new
/// ones is there the file is emptier than either, never a mixture of both.
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
  [[nodiscard]] Outcome remove(const std::filesystem::path& path) override;
  [[nodiscard]] Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) override;

 private:
  FileCalls& calls_;
};

}  // namespace vrel::system
