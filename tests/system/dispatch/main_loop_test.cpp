// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/main_loop.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/main_thread.h"
#include "support/contract_policy.h"
#include "system/dispatch/system_clock.h"

namespace vrel::system {
namespace {

class RealMainLoop : public testing::Test {
 protected:
  DispatchQueue::Work note(const std::string& name) {
    return [this, name] { notes.push_back(name); };
  }

  void runUntilNoted(std::size_t count) {
    loop.runUntil([this, count] { return notes.size() >= count; });
  }

  using Notes = std::vector<std::string>;
  system::MainLoop loop;
  Notes notes;
};

TEST_F(RealMainLoop, ReadyWorkRunsInOrderAndNeverAtOnce) {
  loop.async(note("a"));
  loop.async([this] {
    note("b")();
    loop.async(note("d"));
  });
  loop.async(note("c"));
  EXPECT_TRUE(notes.empty());
  loop.runPending();
  EXPECT_EQ(notes, (Notes{"a", "b", "c", "d"}));
}

TEST_F(RealMainLoop, DelayedWorkRunsInTheOrderOfItsTimesAndNotBefore) {
  const SystemClock clock;
  const double begun = clock.CACurrentMediaTime();
  constexpr double late = 0.5;  // though the machine be busy between this line and the next
  loop.asyncAfter(late, note("late"));
  loop.asyncAfter(-1, note("at once"));
  loop.asyncAfter(std::numeric_limits<double>::quiet_NaN(), note("at once as well"));
  loop.asyncAfter(0.01, note("early"));
  loop.asyncAfter(std::numeric_limits<double>::infinity(), note("never"));
  runUntilNoted(4);
  EXPECT_EQ(notes, (Notes{"at once", "at once as well", "early", "late"}));
  EXPECT_GE(clock.CACurrentMediaTime() - begun, late);
}

TEST_F(RealMainLoop, WorkOfAnotherThreadWakesIt) {
  std::thread other([this] { loop.async(note("from afar")); });
  runUntilNoted(1);
  other.join();
  EXPECT_EQ(notes, Notes{"from afar"});
}

TEST_F(RealMainLoop, AQuestionInsideWorkLetsAllOtherWorkGoOnInItsOrder) {
  bool isAnswered = false;
  loop.async([&] {
    note("asks")();
    loop.runUntil([&] { return isAnswered; });
    note("was answered")();
  });
  loop.async(note("goes on"));
  loop.async([&] {
    note("answers")();
    isAnswered = true;
  });
  loop.async(note("comes after"));
  runUntilNoted(5);
  EXPECT_EQ(notes, (Notes{"asks", "goes on", "answers", "was answered", "comes after"}));
}

TEST_F(RealMainLoop, ATimerTicksUntilItIsReleased) {
  auto timer = loop.repeatingTimer(0.001, note("tick"));
  runUntilNoted(3);
  timer.reset();
  const auto ticks = notes.size();
  loop.asyncAfter(0.01, note("end"));
  loop.runUntil([this] { return notes.back() == "end"; });
  EXPECT_EQ(notes.size(), ticks + 1);
}

TEST_F(RealMainLoop, ATimerSkipsTheTicksThatABusyMomentMissed) {
  const auto timer = loop.repeatingTimer(0.001, note("tick"));
  loop.async([] {
    const SystemClock clock;
    for (const double begun = clock.CACurrentMediaTime(); clock.CACurrentMediaTime() < begun + 0.05;) {
    }
  });
  loop.runPending();
  // Some fifty fell due; the first is made up for, and the machine may bring a few more while this runs.
  EXPECT_LT(notes.size(), 25U);
  EXPECT_GE(notes.size(), 1U);
}

TEST_F(RealMainLoop, WhatIsLeftIsDroppedUnrunAndMayPostAsItGoes) {
  struct Poster {
    explicit Poster(system::MainLoop& ending) : loop(ending) {}
    ~Poster() {
      loop.async([] { FAIL(); });
    }
    system::MainLoop& loop;
  };
  bool isRun = false;
  {
    system::MainLoop ending;
    auto poster = std::make_shared<Poster>(ending);
    ending.async([&isRun, poster = std::move(poster)] { isRun = true; });
    ending.asyncAfter(0, [&isRun] { isRun = true; });
  }
  EXPECT_FALSE(isRun);
}

TEST_F(RealMainLoop, WorkThatIsDroppedGoesAtOnceAndTheLoopStaysOfUse) {
  const auto held = std::make_shared<int>(0);
  loop.async([held, this] { note("ready")(); });
  loop.asyncAfter(1000, [held, this] { note("delayed")(); });
  loop.dropWork();
  EXPECT_EQ(held.use_count(), 1);
  loop.async(note("after"));
  loop.runPending();
  EXPECT_EQ(notes, Notes{"after"});
}

TEST_F(RealMainLoop, RunsNothingOnAnotherThreadThanTheMainOneOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  loop.async(note("ready"));
  std::thread([this] {
    loop.runPending();
    loop.runUntil([] { return false; });
    EXPECT_EQ(loop.repeatingTimer(1, [] {}), nullptr);
  }).join();
  EXPECT_TRUE(notes.empty());
  runUntilNoted(1);
  EXPECT_EQ(notes, Notes{"ready"});
}

TEST_F(RealMainLoop, RunsOnTheThreadThatHasTakenTheMainRole) {
  std::thread([this] {
    const MainThreadScope mainThread;
    loop.async(note("elsewhere"));
    loop.runPending();
  }).join();
  EXPECT_EQ(notes, Notes{"elsewhere"});
}

TEST_F(RealMainLoop, EmptyWorkAndTimersWithoutAnIntervalAreRefusedOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  const auto before = contractViolations();
  loop.async(nullptr);
  loop.asyncAfter(0, nullptr);
  EXPECT_EQ(loop.repeatingTimer(0, note("tick")), nullptr);
  EXPECT_EQ(contractViolations(), before + 3);
  loop.runPending();
  EXPECT_TRUE(notes.empty());
}

TEST_F(RealMainLoop, ATimerMayOutliveItsLoop) {
  auto ending = std::make_unique<system::MainLoop>();
  const auto timer = ending->repeatingTimer(0.001, note("tick"));
  ending.reset();
  EXPECT_TRUE(notes.empty());
}

TEST(SystemClockTest, GoesForwardInNanosecondsAndSeconds) {
  const SystemClock clock;
  const auto first = clock.AudioGetCurrentHostTime();
  const double seconds = clock.CACurrentMediaTime();
  EXPECT_GE(clock.AudioGetCurrentHostTime(), first);
  EXPECT_GE(seconds, static_cast<double>(clock.AudioConvertHostTimeToNanos(first)) * 1e-9);
}

}  // namespace
}  // namespace vrel::system
