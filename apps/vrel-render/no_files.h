// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/file_manager.h"

namespace vrel::render {

/// The files of a session that has none of its own: a run of this program leaves no trace in the user's recent list.
class NoFiles final : public FileManager {
 public:
  Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t /*mostBytes*/) override {
    return refusal(path);
  }
  Outcome write(const std::filesystem::path& path, const std::string& /*bytes*/) override { return refusal(path); }
  bool fileExists(const std::filesystem::path& /*path*/) override { return false; }
  std::filesystem::path canonicalPath(const std::filesystem::path& path) override { return path; }
  Outcome createDirectory(const std::filesystem::path& path) override { return refusal(path); }
  std::vector<std::string> fileNames(const std::filesystem::path& /*directory*/) override { return {}; }
  Outcome remove(const std::filesystem::path& path) override { return refusal(path); }
  Outcome writeAtomically(const std::filesystem::path& path, const std::string& /*bytes*/) override {
    return refusal(path);
  }

 private:
  static Error refusal(const std::filesystem::path& path) { return {"no file of this session: " + path.string()}; }
};

}  // namespace vrel::render
