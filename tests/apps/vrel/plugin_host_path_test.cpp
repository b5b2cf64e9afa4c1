// SPDX-License-Identifier: GPL-3.0-or-later
// Where the programs look for the plug-in host.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "system/plugins/sandbox/supervisor.h"

namespace vrel::app {
namespace {

namespace fs = std::filesystem;

/// A prefix with the programs in its `bin`.
class PluginHostPath : public testing::Test {
 protected:
  PluginHostPath() {
    std::string folder = testing::TempDir() + "vrel_prefix_XXXXXX";
    prefix = ::mkdtemp(folder.data());
    fs::create_directories(prefix / "bin");
    fs::create_directories(installed().parent_path());
  }
  ~PluginHostPath() override { fs::remove_all(prefix); }

  [[nodiscard]] fs::path installed() const { return prefix / "libexec" / "vrel" / "vrel-plugin-host"; }
  [[nodiscard]] fs::path beside() const { return prefix / "bin" / "vrel-plugin-host"; }
  [[nodiscard]] fs::path found() const { return sandbox::Supervisor::helperPathFor(prefix / "bin"); }

  fs::path prefix;
};

TEST_F(PluginHostPath, IsInLibexecOfThePrefixThatTheProgramIsInstalledIn) {
  std::ofstream(installed()) << "a program";
  EXPECT_EQ(found(), installed());
}

TEST_F(PluginHostPath, OneBesideTheProgramComesFirst) {
  std::ofstream(installed()) << "a program";
  std::ofstream(beside()) << "a program";
  EXPECT_EQ(found(), beside());
}

TEST_F(PluginHostPath, IsExpectedBesideTheProgramWhereThereIsNone) {
  EXPECT_EQ(found(), beside());
}

}  // namespace
}  // namespace vrel::app
