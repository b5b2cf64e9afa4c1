// SPDX-License-Identifier: GPL-3.0-or-later
// How a program ends that has guests, and what remains of them.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include "system/plugins/sandbox/own_scratch.h"
#include "system/plugins/sandbox/processes.h"

namespace vrel::sandbox {
namespace {

using namespace std::chrono_literals;

class ProgramEnd : public testing::TestWithParam<int> {};

TEST_P(ProgramEnd, NothingOutlivesTheProgramHoweverItIsKilled) {
  const OwnScratch scratch;
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t victim = fork();
  if (victim == 0) {
    dup2(pipe[1], STDOUT_FILENO);
    close(pipe[0]);
    close(pipe[1]);
    execl(VREL_VICTIM_PROGRAM, VREL_VICTIM_PROGRAM, nullptr);
    _exit(127);
  }
  close(pipe[1]);
  std::array<char, 6> said{};
  ASSERT_EQ(::read(pipe[0], said.data(), said.size()), 6) << "the program did not get as far";
  ASSERT_EQ(std::string(said.data(), said.size()), "ready\n");
  close(pipe[0]);
  std::vector<pid_t> guests;
  EXPECT_TRUE(happens([&] { return (guests = descendantsOf(victim)).size() == 11; }))
      << "five guests, their keepers and what one of them has started";
  kill(victim, GetParam());
  ASSERT_EQ(waitpid(victim, nullptr, 0), victim);
  EXPECT_TRUE(happens([&] { return std::none_of(guests.begin(), guests.end(), isThere); }));
  EXPECT_EQ(scratch.count(), 5U) << "nobody was left to remove the guests' folders";
  ScratchFolder::sweep();
  EXPECT_EQ(scratch.count(), 0U) << "which the next program does";
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramEnd, testing::Values(SIGKILL, SIGTERM));

}  // namespace
}  // namespace vrel::sandbox
