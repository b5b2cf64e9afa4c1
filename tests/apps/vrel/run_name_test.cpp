// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/run_name.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace vrel::app {
namespace {

TEST(RunName, ARunIsThereUntilItsProcessEnds) {
  EXPECT_TRUE(isRunning(ownRunName())) << ownRunName();
  int ends[2] = {-1, -1};
  ASSERT_EQ(::pipe(ends), 0);
  const int child = ::fork();
  if (child == 0) {
    const std::string name = ownRunName();
    ::_exit(::write(ends[1], name.data(), name.size()) > 0 ? 0 : 1);
  }
  char name[100] = {};
  ASSERT_GT(::read(ends[0], name, sizeof(name) - 1), 0);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_FALSE(isRunning(name)) << name;
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(RunName, AnotherProcessOfTheSameNumberIsAnotherRun) {
  const auto own = ownRunName();
  EXPECT_FALSE(isRunning(own.substr(0, own.find('-')) + "-1"));
}

TEST(RunName, WhatIsNotANameIsNotARun) {
  for (const auto* const text : {"", "-", "1", "x-1", "../1-1", "self-1", "99999999999999999999-1"}) {
    EXPECT_FALSE(isRunning(text)) << text;
  }
}

}  // namespace
}  // namespace vrel::app
