// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/result.h"
#include "platform/file_copier.h"

namespace vrel::system {

class FileCalls;

/// Copies on the real disk.
class PosixFileCopier final : public FileCopier {
 public:
  /// The calls are borrowed.
  explicit PosixFileCopier(FileCalls& calls) : calls_(calls) {}

  std::filesystem::path canonicalPath(const std::filesystem::path& path) override;
  Outcome makeDirectory(const std::filesystem::path& path) override;
  Copy copy(const std::filesystem::path& from, const std::filesystem::path& to, const Progress& progress) override;
  Outcome write(const std::filesystem::path& path, const std::string& bytes) override;
  void remove(const std::filesystem::path& path) override;

 private:
  FileCalls& calls_;
};

/// One with calls of its own, for work that may outlive whoever began it.
[[nodiscard]] std::shared_ptr<FileCopier> makeFileCopier();

}  // namespace vrel::system
