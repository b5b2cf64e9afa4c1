// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/offline_main_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/contract_policy.h"

namespace vrel::system {
namespace {

class MainLoop : public testing::Test {
 protected:
  /// Work that notes its name and the time.
  DispatchQueue::Work note(const std::string& name) {
    return [this, name] { notes.emplace_back(name, clock.seconds()); };
  }

  /// Longer than anything here takes.
  static constexpr std::chrono::seconds timeout{60};

  using Notes = std::vector<std::pair<std::string, double>>;
  OfflineClock clock;
  OfflineMainLoop loop{clock};
  Notes notes;
};

TEST_F(MainLoop, ReadyWorkRunsInOrderWithTheClockStopped) {
  loop.async(note("a"));
  loop.async([this] {
    note("b")();
    loop.async(note("d"));
  });
  loop.async(note("c"));
  EXPECT_TRUE(notes.empty());  // never at once
  loop.runPending();
  EXPECT_EQ(notes, (Notes{{"a", 0}, {"b", 0}, {"c", 0}, {"d", 0}}));
}

TEST_F(MainLoop, DelayedWorkFiresInTheOrderOfItsTimesAtExactlyThoseTimes) {
  loop.asyncAfter(0.3, note("late"));
  loop.asyncAfter(0.1, note("early"));
  loop.asyncAfter(0.1, note("second of its time"));
  loop.asyncAfter(5, note("not yet"));
  loop.advanceTo(1);
  EXPECT_EQ(notes, (Notes{{"early", 0.1}, {"second of its time", 0.1}, {"late", 0.3}}));
  EXPECT_EQ(clock.seconds(), 1);
}

TEST_F(MainLoop, AdvanceToFiresWhatIsDueAtTheLimitAndAdvanceUpToLeavesIt) {
  loop.asyncAfter(1, note("at one"));
  loop.advanceUpTo(1);
  EXPECT_TRUE(notes.empty());
  EXPECT_EQ(clock.seconds(), 1);
  loop.advanceTo(1);
  EXPECT_EQ(notes, (Notes{{"at one", 1}}));
}

TEST_F(MainLoop, WhatDelayedWorkPostsRunsBeforeTheClockMovesOn) {
  loop.asyncAfter(0.1, [this] {
    loop.async(note("posted"));
    loop.asyncAfter(0.05, note("delayed again"));
  });
  loop.asyncAfter(0.2, note("later"));
  loop.advanceTo(1);
  EXPECT_EQ(notes, (Notes{{"posted", 0.1}, {"delayed again", 0.1 + 0.05}, {"later", 0.2}}));
}

TEST_F(MainLoop, RunningWhatIsReadyFiresNothingDelayed) {
  loop.asyncAfter(0, note("delayed by nothing"));
  const auto timer = loop.repeatingTimer(0.5, note("tick"));
  loop.runPending();
  EXPECT_TRUE(notes.empty());
  loop.advanceTo(0);
  EXPECT_EQ(notes, (Notes{{"delayed by nothing", 0}}));
}

TEST_F(MainLoop, ADelayThatIsNegativeOrNoNumberCountsAsNone) {
  loop.advanceTo(2);
  loop.asyncAfter(-1, note("negative"));
  loop.asyncAfter(std::numeric_limits<double>::quiet_NaN(), note("no number"));
  loop.advanceTo(2);
  EXPECT_EQ(notes, (Notes{{"negative", 2}, {"no number", 2}}));
}

TEST_F(MainLoop, ATimerTicksAtMultiplesOfItsIntervalUntilItIsReleased) {
  loop.advanceTo(1);
  auto timer = loop.repeatingTimer(0.1, note("tick"));
  loop.advanceTo(1.35);
  EXPECT_EQ(notes, (Notes{{"tick", 1 + 0.1 * 1}, {"tick", 1 + 0.1 * 2}, {"tick", 1 + 0.1 * 3}}));
  timer.reset();
  loop.advanceTo(2);
  EXPECT_EQ(notes.size(), 3U);
}

TEST_F(MainLoop, ATimerDoesNotDrift) {
  int ticks = 0;
  double last = 0;
  const auto timer = loop.repeatingTimer(1.0 / 60, [&] {
    ++ticks;
    last = clock.seconds();
  });
  loop.advanceUpTo(3600.001);
  EXPECT_EQ(ticks, 216'000);
  EXPECT_EQ(last, 1.0 / 60 * 216'000);
}

TEST_F(MainLoop, ATimerMayBeReleasedByItsOwnWork) {
  std::unique_ptr<RepeatingTimer> timer;
  int ticks = 0;
  timer = loop.repeatingTimer(1, [&] {
    ++ticks;
    timer.reset();
  });
  loop.advanceTo(10);
  EXPECT_EQ(ticks, 1);
}

TEST_F(MainLoop, ATimerMayOutliveTheLoop) {
  std::unique_ptr<RepeatingTimer> timer;
  {
    OfflineMainLoop shortLived(clock);
    timer = shortLived.repeatingTimer(1, note("tick"));
  }
  timer.reset();
  EXPECT_TRUE(notes.empty());
}

TEST_F(MainLoop, TheClockNeverGoesBack) {
  loop.advanceTo(2);
  loop.async(note("ready"));
  loop.advanceTo(1);
  EXPECT_EQ(clock.seconds(), 2);
  EXPECT_EQ(notes, (Notes{{"ready", 2}}));
}

TEST_F(MainLoop, AnyTimeIsReachedExactly) {
  for (const double seconds : {0.1, 1.0 / 3, 1.28, std::nextafter(1.28, 2), 100.0 / 7}) {
    loop.advanceTo(seconds);
    EXPECT_EQ(clock.seconds(), seconds);
  }
}

TEST_F(MainLoop, WaitingRunsPostsOfOtherThreadsOnTheWaitingThreadWhileTheClockIsStopped) {
  loop.advanceTo(0.5);
  loop.asyncAfter(0, note("delayed"));
  const auto timer = loop.repeatingTimer(0.001, note("tick"));
  int arrived = 0;
  std::thread::id where;
  std::thread poster([&] {
    for (int count = 0; count < 100; ++count) {
      loop.async([&] {
        ++arrived;
        where = std::this_thread::get_id();
      });
    }
  });
  EXPECT_TRUE(loop.waitUntil([&] { return arrived == 100; }, timeout));
  poster.join();
  EXPECT_EQ(where, std::this_thread::get_id());
  EXPECT_EQ(clock.seconds(), 0.5);
  EXPECT_TRUE(notes.empty());
}

TEST_F(MainLoop, WaitingForWhatHoldsAlreadyRunsNothing) {
  loop.async(note("ready"));
  EXPECT_TRUE(loop.waitUntil([] { return true; }, timeout));
  EXPECT_TRUE(notes.empty());
}

TEST_F(MainLoop, WaitingForWhatNeverComesIsGivenUpAndTheClockDoesNotMove) {
  loop.asyncAfter(1, note("later"));
  loop.async(note("ready"));
  EXPECT_FALSE(loop.waitUntil([] { return false; }, std::chrono::milliseconds(1)));
  EXPECT_EQ(notes, (Notes{{"ready", 0}}));
  EXPECT_EQ(clock.seconds(), 0);
}

TEST_F(MainLoop, WorkLeftAtTheEndIsDroppedUnrun) {
  const auto witness = std::make_shared<int>(0);
  {
    OfflineMainLoop shortLived(clock);
    shortLived.async([this, witness] { note("ready")(); });
    shortLived.asyncAfter(1, [this, witness] { note("delayed")(); });
    EXPECT_EQ(witness.use_count(), 3);
  }
  EXPECT_EQ(witness.use_count(), 1);
  EXPECT_TRUE(notes.empty());
}

TEST_F(MainLoop, HostTimeFollowsTheShowInNanosecondsAndIsNeverZero) {
  EXPECT_EQ(clock.AudioGetCurrentHostTime(), 1'000'000'000U);
  EXPECT_EQ(clock.CACurrentMediaTime(), 1);
  loop.advanceTo(0.25);
  EXPECT_EQ(clock.AudioConvertHostTimeToNanos(clock.AudioGetCurrentHostTime()), 1'250'000'000U);
  EXPECT_EQ(clock.AudioConvertNanosToHostTime(7), 7U);
  EXPECT_EQ(clock.CACurrentMediaTime(), 1.25);
}

TEST_F(MainLoop, WaitingForTheMainQueueIsFatalInDevelopment) {
  const test::ContractPolicyScope policy(ContractPolicy::terminate);
  EXPECT_DEATH(loop.sync([] {}), "nobodyWaitsForTheMainQueue");
}

TEST_F(MainLoop, WaitingForTheMainQueueDropsTheWorkOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  loop.sync(note("waited"));
  loop.runPending();
  EXPECT_TRUE(notes.empty());
}

TEST_F(MainLoop, RunsNothingOnAnotherThreadThanTheMainOneOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  loop.async(note("ready"));
  std::thread([this] {
    loop.runPending();
    loop.advanceTo(1);
    EXPECT_FALSE(loop.waitUntil([] { return true; }, timeout));
    EXPECT_EQ(loop.repeatingTimer(1, [] {}), nullptr);
  }).join();
  EXPECT_TRUE(notes.empty());
  EXPECT_EQ(clock.seconds(), 0);
  loop.runPending();
  EXPECT_EQ(notes.size(), 1U);
}

}  // namespace
}  // namespace vrel::system
