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

/// What the test and its processes share.
struct Tracing {
  std::atomic<pid_t> tracer{0};
  std::atomic<bool> isTraced{false};
};

/// The work of a copy whose end is held back: it has ended, and cannot be reaped, until its tracer ends.
std::string hangTraced(Tracing& tracing) {
  ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
  const pid_t copy = ::getpid();
  const pid_t tracer = ::fork();
  if (tracer == 0) {
    ::prctl(PR_SET_PDEATHSIG, 0);
    tracing.isTraced = ::ptrace(PTRACE_SEIZE, copy, nullptr, nullptr) == 0;
    tracing.tracer = ::getpid();
  }
  for (;;) {
    ::pause();
  }
}

TEST(WorkInACopy, ThatTheSystemDoesNotEndIsNotWaitedFor) {
  void* const shared = ::mmap(nullptr, sizeof(Tracing), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(shared, MAP_FAILED);
  auto& tracing = *new (shared) Tracing;
  const auto result = runInCopy([&tracing] { return hangTraced(tracing); }, 100ms);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "not done after 0 s");
  while (tracing.tracer == 0) {
    std::this_thread::yield();
  }
  const bool isTraced = tracing.isTraced;
  ::kill(tracing.tracer, SIGKILL);
  while (::waitpid(-1, nullptr, 0) > 0) {
  }
  ::munmap(shared, sizeof(Tracing));
  if (!isTraced) {
    GTEST_SKIP() << "this system does not let a process be traced";
  }
}

}  // namespace
}  // namespace vrel::render
