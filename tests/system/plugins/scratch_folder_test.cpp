// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/scratch_folder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace vrel {
namespace {

namespace fs = std::filesystem;

TEST(ScratchFolder, GoesWithItsObjectAndAllThatIsInIt) {
  auto folder = std::make_unique<ScratchFolder>(ScratchFolder::make().value());
  const fs::path path = folder->path();
  fs::create_directories(path / "deeper");
  std::ofstream(path / "deeper" / "file") << "text";
  auto moved = std::make_unique<ScratchFolder>(std::move(*folder));
  folder.reset();
  EXPECT_TRUE(fs::exists(path)) << "it has moved on";
  moved.reset();
  EXPECT_FALSE(fs::exists(path));
}

TEST(ScratchFolder, ASweepLeavesAloneWhatIsInUse) {
  const ScratchFolder mine = ScratchFolder::make().value();
  ScratchFolder::sweep();
  EXPECT_TRUE(fs::exists(mine.path()));
}

TEST(ScratchFolder, WhatAKilledProgramLeavesIsSweptAwayByTheNext) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t program = fork();
  if (program == 0) {
    const auto folder = ScratchFolder::make();
    std::ofstream(folder.value().path() / "file") << "text";
    const std::string path = folder.value().path().string();
    (void)!write(pipe[1], path.data(), path.size());
    close(pipe[1]);
    pause();
    _exit(1);
  }
  close(pipe[1]);
  std::string path;
  for (char letter = 0; read(pipe[0], &letter, 1) == 1;) {
    path += letter;
  }
  close(pipe[0]);
  ASSERT_TRUE(fs::exists(path));
  ScratchFolder::sweep();
  EXPECT_TRUE(fs::exists(fs::path(path) / "file")) << "its program lives";
  kill(program, SIGKILL);
  ASSERT_EQ(waitpid(program, nullptr, 0), program);
  ScratchFolder::sweep();  // unless a program beside has swept it already
  EXPECT_FALSE(fs::exists(path));
}

TEST(ScratchFolder, WhereNoneCanBeMadeTheFailureSaysWhy) {
  // NOLINTBEGIN(concurrency-mt-unsafe): the test has one thread
  const char* const usual = std::getenv("TMPDIR");
  const std::optional<std::string> before = usual != nullptr ? std::optional<std::string>(usual) : std::nullopt;
  setenv("TMPDIR", "/proc", 1);
  const auto made = ScratchFolder::make();
  before ? setenv("TMPDIR", before->c_str(), 1) : unsetenv("TMPDIR");
  // NOLINTEND(concurrency-mt-unsafe)
  ASSERT_FALSE(made.ok());
  EXPECT_NE(made.error().description.find("cannot create a folder for temporary files: "), std::string::npos);
}

}  // namespace
}  // namespace vrel
