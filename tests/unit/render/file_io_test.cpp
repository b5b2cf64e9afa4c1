// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/file_io.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>

namespace vrel::render {
namespace {

namespace fs = std::filesystem;

class RenderFiles : public testing::Test {
 protected:
  RenderFiles() {
    folder = fs::path(testing::TempDir()) /
             (std::string("vrel_") + testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder);
    fs::create_directory(folder);
  }
  ~RenderFiles() override { fs::remove_all(folder); }

  [[nodiscard]] std::string at(const std::string& name) const { return (folder / name).string(); }
  [[nodiscard]] std::ptrdiff_t fileCount() const {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  }

  fs::path folder;
};

TEST_F(RenderFiles, WhatIsReplacedReadsBack) {
  const std::string bytes("a\0b\xFF\n", 5);
  EXPECT_FALSE(replaceFile(at("new"), bytes));
  EXPECT_EQ(readFile(at("new")).value(), bytes);
  EXPECT_FALSE(replaceFile(at("new"), ""));
  EXPECT_EQ(readFile(at("new")).value(), "");
  EXPECT_EQ(fileCount(), 1);
}

TEST_F(RenderFiles, AnOldFileKeepsItsPermissions) {
  ASSERT_FALSE(replaceFile(at("old"), "1"));
  fs::permissions(at("old"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  ASSERT_FALSE(replaceFile(at("old"), "2"));
  EXPECT_EQ(fs::status(at("old")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(RenderFiles, WhereALinkLeadsToIsReplaced) {
  ASSERT_FALSE(replaceFile(at("target"), "1"));
  fs::create_symlink("target", at("link"));
  ASSERT_FALSE(replaceFile(at("link"), "2"));
  EXPECT_TRUE(fs::is_symlink(at("link")));
  EXPECT_EQ(readFile(at("target")).value(), "2");
}

TEST_F(RenderFiles, AFailedReplacementLeavesNothingBehind) {
  // A folder with something in it can not be replaced by a file, and only the last step finds that out.
  fs::create_directories(folder / "occupied" / "inner");
  const auto failure = replaceFile(at("occupied"), "x");
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->description.find(at("occupied")), std::string::npos);
  EXPECT_TRUE(fs::is_directory(folder / "occupied" / "inner"));
  EXPECT_EQ(fileCount(), 1);
}

TEST_F(RenderFiles, WhatIsNotThereOrIsAFolderCanNotBeRead) {
  EXPECT_NE(readFile(at("none")).error().description.find(at("none")), std::string::npos);
  EXPECT_FALSE(readFile(folder.string()).ok());
  EXPECT_TRUE(replaceFile(at("no/such/folder"), "x"));
}

}  // namespace
}  // namespace vrel::render
