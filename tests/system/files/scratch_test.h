// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include "foundation/result.h"

namespace vrel {

/// What a failed test shows of a failure.
inline std::ostream& operator<<(std::ostream& out, const Error& error) {
  return out << error.description;
}

}  // namespace vrel

namespace vrel::system {

/// A test with a folder of its own on the real disk.
class ScratchTest : public testing::Test {
 protected:
  ScratchTest() {
    std::string folder = testing::TempDir() + "vrel_files_XXXXXX";
    root = std::filesystem::canonical(::mkdtemp(folder.data()));
  }
  ~ScratchTest() override { std::filesystem::remove_all(root); }

  static void writeFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  [[nodiscard]] static std::string textOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] static std::ptrdiff_t entriesIn(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  }

  std::filesystem::path root;
};

}  // namespace vrel::system
