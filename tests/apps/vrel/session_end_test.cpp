// SPDX-License-Identifier: GPL-3.0-or-later
// Which signals end the program, and that its end is bounded.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "vrel/termination.h"

namespace vrel::app {
namespace {

using namespace std::chrono_literals;
using Handler = void (*)(int);

Handler handlerOf(int signal) {
  struct sigaction current {};
  ::sigaction(signal, nullptr, &current);
  return current.sa_handler;
}

class EachTerminationSignal : public testing::TestWithParam<int> {};

TEST_P(EachTerminationSignal, TheFirstIsReportedOnQtsThreadAndTheSecondWouldEndTheProgram) {
  int asked = 0;
  const TerminationSignals signals([&] { ++asked; });
  ::raise(GetParam());
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(handlerOf(GetParam()), SIG_DFL);
  QCoreApplication::processEvents();
  QCoreApplication::processEvents();
  EXPECT_EQ(asked, 1);
}

TEST_P(EachTerminationSignal, OneThatIsIgnoredFromTheStartStaysIgnored) {
  const Handler before = ::signal(GetParam(), SIG_IGN);
  {
    int asked = 0;
    const TerminationSignals signals([&] { ++asked; });
    ::raise(GetParam());
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 0);
  }
  EXPECT_EQ(handlerOf(GetParam()), SIG_IGN);
  ::signal(GetParam(), before);
}

INSTANTIATE_TEST_SUITE_P(OfASystemATerminalAndAShell, EachTerminationSignal, testing::Values(SIGTERM, SIGHUP, SIGINT));

TEST(TerminationSignals, DifferentOnesBeforeAnAnswerAreOneRequest) {
  int asked = 0;
  const TerminationSignals signals([&] { ++asked; });
  ::raise(SIGTERM);
  ::raise(SIGHUP);
  QCoreApplication::processEvents();
  EXPECT_EQ(asked, 1);
}

TEST(TerminationSignals, AReaderOfTheOutputThatHasGoneEndsNothing) {
  const TerminationSignals signals([] {});
  int ends[2] = {-1, -1};
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  EXPECT_EQ(::write(ends[1], "line", 4), -1);
  ::close(ends[1]);
}

TEST(TerminationSignals, TheirEndRestoresWhatWasThere) {
  {
    const TerminationSignals signals([] {});
  }
  for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGPIPE}) {
    EXPECT_EQ(handlerOf(signal), SIG_DFL) << signal;
  }
}

TEST(ShutdownWatchdog, AnEndInTimeIsNotDisturbed) {
  const auto start = std::chrono::steady_clock::now();
  {
    const ShutdownWatchdog unstarted;
    ShutdownWatchdog deadline;
    deadline.start(1h);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1min);
}

TEST(ShutdownWatchdog, AnEndThatHangsEndsTheProcessWithALine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        ShutdownWatchdog deadline;
        deadline.start(1ms);
        while (true) {
          ::pause();
        }
      },
      testing::ExitedWithCode(EXIT_FAILURE), "did not shut down in time");
}

}  // namespace
}  // namespace vrel::app
