// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/file_manager.h"

namespace vrel::render {

/// The system's files without the user's recent list, which a run must not change: the empty path is that list; it
/// never exists, and writes to it are ignored.
class RunFiles final : public FileManager {
 public:
  /// Borrowed.
  explicit RunFiles(FileManager& files) : files_(files) {}

  Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) override {
    return files_.contents(path, mostBytes);
  }
  Outcome write(const std::filesystem::path& path, const std::string& bytes) override {
    return path.empty() ? Outcome{} : files_.write(path, bytes);
  }
  bool fileExists(const std::filesystem::path& path) override { return !path.empty() && files_.fileExists(path); }
  std::filesystem::path canonicalPath(const std::filesystem::path& path) override { return files_.canonicalPath(path); }
  Outcome createDirectory(const std::filesystem::path& path) override { return files_.createDirectory(path); }
  std::vector<std::string> fileNames(const std::filesystem::path& directory) override {
    return files_.fileNames(directory);
  }
  std::vector<std::filesystem::path> filesNamed(const std::filesystem::path& directory,
                                                const std::set<std::string>& names, std::size_t mostEntries) override {
    return files_.filesNamed(directory, names, mostEntries);
  }
  std::optional<std::int64_t> modificationTime(const std::filesystem::path& path) override {
    return files_.modificationTime(path);
  }
  Outcome remove(const std::filesystem::path& path) override { return files_.remove(path); }
  Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) override {
    return files_.writeAtomically(path, bytes);
  }

 private:
  FileManager& files_;
};

}  // namespace vrel::render
