// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/run_log/crash_trace.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "system/files/scratch_test.h"

namespace vrel::system {
namespace {

class CrashTraceTest : public ScratchTest {
 protected:
  /// A sanitizer handles faults itself.
  [[nodiscard]] static bool isOthers(int signal) {
    struct sigaction now {};
    ::sigaction(signal, nullptr, &now);
    return now.sa_handler != SIG_DFL;  // NOLINT(*-union-access): the system's
  }

  [[nodiscard]] std::string trace() const { return std::filesystem::exists(file) ? textOf(file) : std::string(); }

  void expectTraceOf(const std::string& signal) const {
    EXPECT_EQ(trace().substr(0, signal.size()), signal);
    const auto stack = trace().find("\nStack:\n");
    const auto memory = trace().find("\nMemory:\n");
    ASSERT_NE(stack, std::string::npos) << trace();
    ASSERT_NE(memory, std::string::npos) << trace();
    EXPECT_NE(trace().substr(stack, memory - stack).find("run_log_test"), std::string::npos) << "a frame of ours";
    EXPECT_NE(trace().find("run_log_test", memory), std::string::npos) << "where it is in memory";
  }

  const std::filesystem::path file = root / "run.crash";
};

/// Uses up the stack of its thread.
std::size_t recurse(std::size_t depth) {
  std::array<volatile char, 4096> room{};
  room.at(depth % room.size()) = 1;
  return depth == 0 ? 0 : recurse(depth - 1) + static_cast<std::size_t>(room[0]);
}

TEST_F(CrashTraceTest, AFaultLeavesItsStackAndEndsTheProcessAsItWould) {
  if (isOthers(SIGSEGV)) {
    GTEST_SKIP() << "a sanitizer handles faults";
  }
  EXPECT_EXIT(
      {
        const CrashTrace crashes(file);
        *reinterpret_cast<volatile int*>(16) = 1;  // NOLINT: the fault
      },
      testing::KilledBySignal(SIGSEGV), "");
  expectTraceOf("SIGSEGV at 0x10, thread ");
}

TEST_F(CrashTraceTest, AnAbortOnAnotherThreadLeavesItsStack) {
  EXPECT_EXIT(
      {
        const CrashTrace crashes(file);
        std::thread([] { std::abort(); }).join();
      },
      testing::KilledBySignal(SIGABRT), "");
  expectTraceOf("SIGABRT, thread ");
}

TEST_F(CrashTraceTest, AStackThatIsUsedUpLeavesItsTrace) {
  if (isOthers(SIGSEGV)) {
    GTEST_SKIP() << "a sanitizer handles faults";
  }
  EXPECT_EXIT(
      {
        const CrashTrace crashes(file);
        std::exit(static_cast<int>(recurse(1000000)));
      },
      testing::KilledBySignal(SIGSEGV), "");
  expectTraceOf("SIGSEGV at 0x");
}

TEST_F(CrashTraceTest, ASignalFromOutsideEndsTheProcessToo) {
  if (isOthers(SIGSEGV)) {
    GTEST_SKIP() << "a sanitizer handles faults";
  }
  EXPECT_EXIT(
      {
        const CrashTrace crashes(file);
        ::raise(SIGSEGV);
      },
      testing::KilledBySignal(SIGSEGV), "");
  expectTraceOf("SIGSEGV at 0x");
}

TEST_F(CrashTraceTest, WhereTheFileCannotBeWrittenTheProcessEndsAllTheSame) {
  EXPECT_EXIT(
      {
        const CrashTrace crashes(root / "nowhere" / "run.crash");
        std::abort();
      },
      testing::KilledBySignal(SIGABRT), "");
}

TEST_F(CrashTraceTest, ARunThatEndsWellLeavesNoFileAndTheSignalsAsTheyWere) {
  const auto before = std::signal(SIGFPE, SIG_IGN);
  {
    const CrashTrace crashes(file);
    struct sigaction now {};
    ::sigaction(SIGFPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_IGN) << "somebody else's";  // NOLINT(*-union-access)
    ::sigaction(SIGABRT, nullptr, &now);
    EXPECT_NE(now.sa_handler, SIG_DFL);  // NOLINT(*-union-access)
  }
  EXPECT_FALSE(isOthers(SIGABRT));
  EXPECT_FALSE(std::filesystem::exists(file));
  std::signal(SIGFPE, before);
}

}  // namespace
}  // namespace vrel::system
