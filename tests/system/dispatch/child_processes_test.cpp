// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/processes/child_processes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "system/dispatch/main_loop.h"
#include "system/processes/process_end.h"

namespace vrel::system {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class RealChildProcesses : public testing::Test {
 protected:
  void startProgram(ChildCommand command) {
    process = processes.start(std::move(command), {[this](const std::string& line) { lines.push_back(line); },
                                                   [this](const ChildEnd& ended) { end = ended; }});
  }
  void startShell(const std::string& script, std::function<Result<std::string>()> input = nullptr) {
    startProgram({"/bin/sh", {"-c", script}, std::move(input)});
  }
  const ChildEnd& awaitEnd() {
    loop.runUntil([this] { return end.has_value(); });
    return *end;
  }

  system::MainLoop loop;
  ChildProcesses processes{loop};
  std::vector<std::string> lines;
  std::optional<ChildEnd> end;
  std::unique_ptr<ChildProcess> process;
};

TEST_F(RealChildProcesses, OneReadsItsInputAndItsOutputAndExitCodeComeBack) {
  startShell("cat /dev/fd/3; exit 7", [] { return std::string(300'000, 'x'); });
  EXPECT_FALSE(end) << "never within the call";
  EXPECT_EQ(awaitEnd().failure, std::nullopt);
  EXPECT_EQ(end->exitCode, 7);
  EXPECT_EQ(end->output, std::string(300'000, 'x'));
}

TEST_F(RealChildProcesses, TheLastLineOfItsErrorsIsHandedOnAndALongOneIsCut) {
  startShell("echo one >&2; echo two >&2; printf '%9999s\\n' long >&2");
  awaitEnd();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), std::string(ChildProcesses::longestLine, ' '));
  EXPECT_EQ(end->output, "");
}

TEST_F(RealChildProcesses, OneThatIsNotThereOrHasNoInputEndsWithAFailure) {
  startProgram({"/not/there", {}, {}});
  EXPECT_THAT(awaitEnd().failure.value_or(""), StartsWith("cannot start /not/there: "));
  end.reset();
  startShell("exit 0", [] { return Error{"no songs"}; });
  EXPECT_EQ(awaitEnd().failure, "no songs");
}

TEST_F(RealChildProcesses, OneThatIsKilledEndsWithAFailure) {
  startShell("echo half; kill -9 $$");
  EXPECT_EQ(awaitEnd().failure, "killed by signal 9");
  EXPECT_EQ(end->output, "");
}

TEST_F(RealChildProcesses, OneThatPrintsWithoutAnEndIsKilled) {
  startShell("exec cat /dev/zero");
  EXPECT_THAT(awaitEnd().failure.value_or(""), HasSubstr("printed more than"));
}

TEST_F(RealChildProcesses, OneThatLeavesAnotherWithItsOutputEnds) {
  startShell("sleep 600 & echo $!; exit 0");
  EXPECT_EQ(awaitEnd().failure, std::nullopt);
  const auto left = "/proc/" + std::string(end->output, 0, end->output.find('\n')) + "/stat";
  const auto isRunning = [&left] {
    std::ifstream file(left);
    std::string line;
    return std::getline(file, line) && line.find(") Z ") == std::string::npos;  // nobody may have taken note of its end
  };
  while (isRunning()) {
    std::this_thread::yield();
  }
}

TEST_F(RealChildProcesses, OneThatIsNotWantedAnyMoreIsKilledAndSaysNothing) {
  startShell("echo $$ >&2; trap '' TERM; while :; do sleep 600; done");
  loop.runUntil([this] { return !lines.empty(); });
  const int child = std::stoi(lines.front());
  process.reset();
  EXPECT_TRUE(::kill(child, 0) != 0 && errno == ESRCH);
  loop.runPending();
  EXPECT_FALSE(end);
  EXPECT_EQ(lines.size(), 1U);
}

TEST(EndOfAProcess, IsWaitedForNoLongerThanTheLimitAndCanBeAskedForAgain) {
  const pid_t child = ::fork();
  if (child == 0) {
    for (;;) {
      ::pause();
    }
  }
  EXPECT_EQ(takeEnd(child, std::chrono::milliseconds(1)), std::nullopt);
  ::kill(child, SIGKILL);
  const auto status = takeEnd(child, std::chrono::minutes(1));
  ASSERT_TRUE(status);
  EXPECT_TRUE(WIFSIGNALED(*status));
}

}  // namespace
}  // namespace vrel::system
