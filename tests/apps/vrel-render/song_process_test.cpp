// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/song_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>

namespace vrel::render {
namespace {

using namespace std::chrono_literals;

TEST(WorkInACopy, ReturnsWhatItReturned) {
  const std::string large(300'000, 'x');  // more than a pipe holds
  const auto result = runInCopy([&] { return large; }, 60s);
  ASSERT_TRUE(result) << result.error().description;
  EXPECT_EQ(result.value(), large);
}

TEST(WorkInACopy, ChangesNothingHereAndPrintsNothing) {
  int count = 0;
  testing::internal::CaptureStdout();
  const auto result = runInCopy(
      [&count] {
        std::puts("from the copy");
        std::fflush(stdout);
        return std::to_string(++count);
      },
      60s);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  ASSERT_TRUE(result);
  EXPECT_EQ(result.value(), "1");
  EXPECT_EQ(count, 0);
}

TEST(WorkInACopy, ThatCrashesIsAnError) {
  const auto killed = runInCopy(
      []() -> std::string {
        ::raise(SIGKILL);
        return {};
      },
      60s);
  ASSERT_FALSE(killed);
  EXPECT_EQ(killed.error().description, "killed by signal 9");
  const auto left = runInCopy([]() -> std::string { ::_exit(3); }, 60s);
  ASSERT_FALSE(left);
  EXPECT_EQ(left.error().description, "ended with exit code 3");
}

TEST(WorkInACopy, ThatHangsIsKilledAtTheTimeLimit) {
  const auto result = runInCopy(
      []() -> std::string {
        for (;;) {
          ::pause();
        }
      },
      20ms);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "not done after 0 s");
}

using SharedProcess = std::atomic<pid_t>;  // of the test and its processes

/// The work of a copy whose end is held back: it has ended, and cannot be reaped, until its tracer ends.
std::string hangTraced(SharedProcess& sharedTracer) {
  ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
  const pid_t copy = ::getpid();
  const pid_t tracer = ::fork();
  if (tracer == 0) {
    ::prctl(PR_SET_PDEATHSIG, 0);
    if (::ptrace(PTRACE_SEIZE, copy, nullptr, nullptr) != 0) {
      ::_exit(EXIT_FAILURE);
    }
    sharedTracer = ::getpid();
  }
  for (;;) {
    ::pause();
  }
}

TEST(WorkInACopy, ThatTheSystemDoesNotEndIsNotWaitedFor) {
  void* const shared =
      ::mmap(nullptr, sizeof(SharedProcess), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  auto& sharedTracer = *new (shared) SharedProcess(0);
  const auto result = runInCopy([&sharedTracer] { return hangTraced(sharedTracer); }, 100ms);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "not done after 0 s");
  // A copy that is not held back has been reaped already.
  while (sharedTracer == 0 && ::waitpid(-1, nullptr, WNOHANG) == 0) {
    std::this_thread::yield();
  }
  const pid_t tracer = sharedTracer;
  if (tracer != 0) {
    ::kill(tracer, SIGKILL);
  }
  while (::waitpid(-1, nullptr, 0) > 0) {
  }
  ::munmap(shared, sizeof(SharedProcess));
  if (tracer == 0) {
    GTEST_SKIP() << "the process was not traced before its time limit, or may not be on this system";
  }
}

}  // namespace
}  // namespace vrel::render
