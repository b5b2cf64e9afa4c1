// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/arguments.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/version.h"

namespace vrel::app {
namespace {

using Words = std::vector<std::string>;

std::string refusal(const Words& arguments) {
  const auto parsed = parseArguments(arguments);
  return parsed ? std::string() : parsed.error().description;
}

TEST(Arguments, NoneOpenTheConsoleAsItIs) {
  const auto parsed = parseArguments(Words{}).value();
  EXPECT_FALSE(parsed.help || parsed.version || parsed.setlist);
}

TEST(Arguments, AFileOfTheWorkingFolderGetsItsWholePath) {
  EXPECT_EQ(parseArguments(Words{"gigs/../friday.vrel"}).value().setlist,
            std::filesystem::current_path() / "friday.vrel");
  EXPECT_EQ(parseArguments(Words{"/home/me/friday.vrel"}).value().setlist, "/home/me/friday.vrel");
}

TEST(Arguments, WithoutAWorkingFolderOnlyARelativePathIsAnError) {
  const auto former = std::filesystem::current_path();
  std::string folder = testing::TempDir() + "vrel_deleted_XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  std::filesystem::current_path(folder);
  std::filesystem::remove(folder);
  EXPECT_TRUE(refusal({"friday.vrel"}).starts_with("cannot find 'friday.vrel'"));
  EXPECT_EQ(refusal({"/home/me/friday.vrel"}), "");
  std::filesystem::current_path(former);
}

TEST(Arguments, BehindTwoDashesAFilesNameMayBeginWithOne) {
  EXPECT_EQ(parseArguments(Words{"--", "--help"}).value().setlist, std::filesystem::current_path() / "--help");
  EXPECT_EQ(printedAnswer(Words{"--", "--help"}), std::nullopt);
}

TEST(Arguments, WhatIsWrongIsNamed) {
  EXPECT_EQ(refusal({"--loud"}), "unknown option '--loud'");
  EXPECT_EQ(refusal({"a.vrel", "b.vrel"}), "unexpected argument 'b.vrel'");
  EXPECT_EQ(refusal({""}), "the path of a file is empty");
}

TEST(Arguments, HelpAndVersionArePrintedAlsoAmongOptionsOfQt) {
  EXPECT_EQ(printedAnswer(Words{"-platform", "offscreen", "--version"}),
            "vrel " + std::string(programVersion()) + "\n");
  EXPECT_NE(printedAnswer(Words{"--help"}).value().find("vrel [SETLIST.vrel]"), std::string::npos);
  EXPECT_EQ(printedAnswer(Words{"a.vrel"}), std::nullopt);
}

}  // namespace
}  // namespace vrel::app
