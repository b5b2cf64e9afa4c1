// SPDX-License-Identifier: GPL-3.0-or-later
// What plug-ins and processes do to those who host them, at every stage of a plug-in's life. Each case ends
// with the stage's own check that no process remains.

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <thread>

#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

using Clock = std::chrono::steady_clock;

/// Kills a guest, from another thread, once it has something to do.
class DeathAtWork {
 public:
  DeathAtWork(GuestLink& link, pid_t process)
      : thread_([&link, process] {
          SharedBlock& block = link.block();
          EXPECT_TRUE(happens([&] { return link.owesAnswer() || read(block.request) != read(block.answer); }));
          kill(process, SIGKILL);
        }) {}
  ~DeathAtWork() { thread_.join(); }
  DeathAtWork(const DeathAtWork&) = delete;
  DeathAtWork& operator=(const DeathAtWork&) = delete;

 private:
  std::thread thread_;
};

class Faults : public SandboxStage {
 protected:
  using SandboxStage::SandboxStage;

  /// The one guest that there is, also before it is ready.
  [[nodiscard]] static pid_t onlyGuest() {
    EXPECT_TRUE(happens([] { return guestsOf(getpid()).size() == 1; }));
    return guestsOf(getpid()).front();
  }

  [[nodiscard]] bool isReportedDead(pid_t process) {
    return happens([&] { return deaths() == std::vector<int>{process}; });
  }
};

/// The main thread waits for at most a little while.
class FaultsWithShortTimeout : public Faults {
 protected:
  FaultsWithShortTimeout() : Faults(300ms) {}

  /// The state of a rebel that plays the level 64. The unit has given it, and so knows it.
  static std::optional<PropertyListDictionary> stateAfterAKey(const std::shared_ptr<AVAudioUnit>& unit) {
    lv2::Player player(unit);
    player.send(0x90, 60, 64);
    (void)player.block(128);
    return stateOf(unit);
  }
};

// Instantiation.

TEST_F(Faults, KilledWhileItIsMadeTheInstantiationFails) {
  auto pending = makeLater("urn:vrel:zoo:rebel-hang-instantiate");
  kill(onlyGuest(), SIGKILL);
  const Made made = pending.get();
  EXPECT_EQ(made.unit, nullptr);
  ASSERT_TRUE(made.error);
  EXPECT_NE(made.error->description.find("was killed by signal 9"), std::string::npos) << made.error->description;
  EXPECT_TRUE(deaths().empty()) << "a failure, not a death of a unit";
}

TEST_F(Faults, StoppedWhileItIsMadeItIsMadeWhenItGoesOn) {
  setenv("VREL_ZOO_SECONDS", "5", 1);  // the busiest machine has stopped it by then
  auto pending = makeLater("urn:vrel:zoo:rebel-slow-instantiate");
  const pid_t process = onlyGuest();
  unsetenv("VREL_ZOO_SECONDS");
  stop(process);
  EXPECT_EQ(pending.wait_for(5500ms), std::future_status::timeout);
  kill(process, SIGCONT);
  EXPECT_NE(pending.get().unit, nullptr);
}

TEST_F(Faults, APluginThatNeverComesUpGoesWithTheProgramAndIsAnswered) {
  std::future<Made> pending;
  {
    class Inner : public Faults {
     public:
      void TestBody() override {}
      using SandboxStage::makeLater;
    };
    Inner inner;
    pending = inner.makeLater("urn:vrel:zoo:rebel-hang-instantiate");
    (void)onlyGuest();
  }
  EXPECT_TRUE(childrenOf(getpid()).empty());
  EXPECT_EQ(pending.get().error, Error{"the plug-in host is closing"});
}

TEST_F(Faults, APluginThatTakesItsTimeIsWaitedForAndNobodyIsHeldUp) {
  const auto start = Clock::now();
  auto slow = makeLater("urn:vrel:zoo:rebel-slow-instantiate");
  lv2::Player player(rebel());
  player.send(0x90, 60, 64);
  EXPECT_EQ(player.block(128), constant(64)) << "another plays meanwhile";
  EXPECT_NE(slow.get().unit, nullptr);
  EXPECT_GE(Clock::now() - start, 300ms);
}

TEST_F(Faults, APluginThatTakesTwentySecondsDelaysNobodyAndIsThereInTheEnd) {
  setenv("VREL_ZOO_SECONDS", "20", 1);
  const auto start = Clock::now();
  auto slow = makeLater("urn:vrel:zoo:rebel-slow-instantiate");
  (void)onlyGuest();
  unsetenv("VREL_ZOO_SECONDS");
  for (int count = 0; count < 3; ++count) {
    lv2::Player player(rebel());
    player.send(0x90, 60, 64);
    EXPECT_EQ(player.block(128), constant(64));
  }
  EXPECT_EQ(slow.wait_for(0s), std::future_status::timeout) << "the others were made and played before it";
  EXPECT_NE(slow.get().unit, nullptr);
  EXPECT_GE(Clock::now() - start, 20s);
}

// The library's loading, which no scan does.

TEST_F(Faults, ALibraryThatEndsTheProcessThatLoadsItFailsItsInstantiation) {
  const Made made = make("urn:vrel:zoo:landmine");
  EXPECT_EQ(made.unit, nullptr);
  ASSERT_TRUE(made.error);
  EXPECT_NE(made.error->description.find("was killed by signal 9"), std::string::npos) << made.error->description;
}

// Running.

class FaultsWhileRunning : public Faults, public testing::WithParamInterface<int> {};

TEST_P(FaultsWhileRunning, AFaultThatEndsTheProcessSilencesTheUnitAtOnceAndIsReportedOnce) {
  const auto unit = rebel();
  lv2::Player player(unit);
  player.send(0x90, 60, 64);
  ASSERT_EQ(player.block(128), constant(64));
  player.send(0x90, static_cast<std::uint8_t>(GetParam()), 64);
  EXPECT_EQ(player.block(128), constant(0)) << "with no deadline it waits only for the living";
  EXPECT_TRUE(isReportedDead(processOf(unit)));
  EXPECT_EQ(player.block(128), constant(0));
  EXPECT_EQ(deaths().size(), 1U);
  EXPECT_EQ(counters().deaths, 1U);
}

INSTANTIATE_TEST_SUITE_P(Keys, FaultsWhileRunning,
                         testing::Values(fault_key::writeToNothing, fault_key::leaveTheProgram,
                                         fault_key::writeBehindTheBuffer, fault_key::writeBeforeTheBuffer));

TEST_F(Faults, ADeathIsNoticedWithoutABlockOrACall) {
  const auto unit = rebel();
  kill(processOf(unit), SIGKILL);
  EXPECT_TRUE(isReportedDead(processOf(unit)));
}

TEST_F(Faults, KilledWithinABlockThatHasNoDeadlineTheBlockEnds) {
  const auto unit = rebel();
  lv2::Player player(unit);
  player.send(0x90, fault_key::hangForever, 64);
  const DeathAtWork death(linkOf(unit), processOf(unit));
  EXPECT_EQ(player.block(128), constant(0));
}

TEST_F(Faults, AnEndlessLoopCostsOneWaitAndThenNothing) {
  const auto unit = rebel();
  DeadlinePlayer player(unit);
  player.key(fault_key::hangForever);
  EXPECT_EQ(player.block(5ms), constant(0));
  constexpr unsigned more = 700;  // less than two seconds of the device, after which it would be ended
  for (unsigned block = 0; block < more; ++block) {
    EXPECT_EQ(player.block(std::chrono::hours(1)), constant(0)) << "one that owes an answer is not waited for";
  }
  EXPECT_EQ(counters().lateBlocks, 1 + more);
  EXPECT_TRUE(deaths().empty()) << "it lives, after all";
}

TEST_F(Faults, AStoppedProcessIsSilentAndPlaysAgainWhenItGoesOn) {
  const auto unit = rebel();
  DeadlinePlayer player(unit);
  player.key(60, 64);
  ASSERT_EQ(player.block(std::nullopt), constant(64));
  stop(processOf(unit));
  for (int block = 0; block < 5; ++block) {
    EXPECT_EQ(player.block(3ms), constant(0));
  }
  kill(processOf(unit), SIGCONT);
  EXPECT_TRUE(happens([&] { return player.block(1s) == constant(64); }));
}

TEST_F(Faults, AskedToEndItPlaysOnForAsLongAsItsHost) {
  const auto unit = rebel();
  lv2::Player player(unit);
  player.send(0x90, 60, 64);
  ASSERT_EQ(player.block(128), constant(64));
  for (const int asked : {SIGTERM, SIGHUP, SIGINT}) {
    kill(processOf(unit), asked);
    EXPECT_EQ(player.block(128), constant(64));
  }
  EXPECT_FALSE(happensWithin(50ms, [&] { return !deaths().empty(); }));
}

TEST_F(Faults, AnAnswerThatWasGivenUpNeverSoundsAndEventsWaitForTheNextOne) {
  const auto unit = rebel();
  DeadlinePlayer player(unit);
  player.key(60, 32);
  ASSERT_EQ(player.block(std::nullopt), constant(32));
  stop(processOf(unit));
  EXPECT_EQ(player.block(1ms), constant(0));
  player.key(60, 96);
  EXPECT_EQ(player.block(1ms), constant(0)) << "it is still at the block that was given up";
  kill(processOf(unit), SIGCONT);
  lv2::Sound next = constant(0);
  EXPECT_TRUE(happens([&] { return (next = player.block(5s)) != constant(0); }));
  EXPECT_EQ(next, constant(96)) << "the late answer, at the old velocity, is dropped";
  EXPECT_EQ(counters().lateAnswersDropped, 1U);
  EXPECT_GE(counters().lateBlocks, 2U);
}

TEST_F(Faults, WithoutADeadlineASlowBlockIsWaitedFor) {
  const auto unit = rebel();
  DeadlinePlayer player(unit);
  player.key(60, 64);
  player.key(fault_key::sleepLong);
  EXPECT_EQ(player.block(std::nullopt), constant(64));
  EXPECT_EQ(counters().lateBlocks, 0U);
}

TEST_F(Faults, ANonFiniteSampleIsSilencedAndCounted) {
  lv2::Player player(rebel());
  player.send(0x90, 60, 64);
  player.send(0x90, fault_key::notANumber, 64);
  EXPECT_EQ(player.block(128), constant(0));
  player.send(0x90, fault_key::infinite, 64);
  EXPECT_EQ(player.block(128), constant(0));
  EXPECT_EQ(counters().silencedBlocks, 2U);
  EXPECT_EQ(player.block(128), constant(64)) << "the unit goes on";
}

TEST_F(Faults, DenormalsComeThroughWithoutHarm) {
  lv2::Player player(rebel());
  player.send(0x90, fault_key::denormal, 64);
  EXPECT_LT(lv2::peak(player.block(128).left), 1e-30F);
  EXPECT_EQ(counters().silencedBlocks, 0U);
}

TEST_F(Faults, MoreEventsThanFitAreCountedAndTheRestArrives) {
  lv2::Player player(rebel());
  for (int index = 0; index < 5000; ++index) {
    player.send(0x90, 60, static_cast<std::uint8_t>(1 + index % 100));
  }
  constexpr auto room = MidiRing::capacity - MidiQueue::reservedForReleases;
  EXPECT_EQ(counters().droppedEvents, 5000U - room);
  EXPECT_EQ(player.block(128), constant(1 + (room - 1) % 100));
}

TEST_F(Faults, AWorkerMessageThatIsTooLargeIsRefusedAndCounted) {
  lv2::Player player(rebel());
  player.send(0x90, 60, 64);
  player.send(0x90, fault_key::askForTooMuchWork, 64);
  EXPECT_EQ(player.block(128), constant(64));
  EXPECT_EQ(counters().refusedWork, 1U);
}

class FaultsInRealTime : public Faults {
 protected:
  FaultsInRealTime() : Faults(std::nullopt, VREL_PLUGIN_HOST_PROGRAM, true) {}
};

TEST_F(FaultsInRealTime, APluginPlaysWithTheSchedulingAndTheMemoryOfADevice) {
  DeadlinePlayer player(rebel());
  player.key(60, 64);
  EXPECT_EQ(player.block(std::chrono::minutes(1)), constant(64));
}

/// Whether the system gives this user's threads real-time priority.
bool mayBeRealTime() {
  bool may = false;
  std::thread([&may] {
    const sched_param priority{60};  // as a guest's
    may = pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority) == 0;
  }).join();
  return may;
}

TEST_F(FaultsInRealTime, AnEndlessLoopThatWouldHoldUpTheMachineIsEnded) {
  if (!mayBeRealTime()) {
    GTEST_SKIP() << "no right to real-time scheduling here: the system cannot be asked to end such a loop";
  }
  const auto unit = rebel();
  DeadlinePlayer player(unit);
  player.key(fault_key::hangForever);
  EXPECT_EQ(player.block(5ms), constant(0));
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
  EXPECT_TRUE(hasLogged("was killed by signal"));
}

// State.

TEST_F(FaultsWithShortTimeout, AHangingCaptureGivesTheLastStateKnownAndALine) {
  const auto source = rebel();
  const auto state = stateAfterAKey(source);
  ASSERT_TRUE(state);
  stop(processOf(source));
  EXPECT_EQ(source->auAudioUnit().fullStateForDocument(), state);
  EXPECT_TRUE(hasLogged("the last known state is kept"));
  const auto again = Clock::now();
  constexpr int asked = 100;
  for (int time = 0; time < asked; ++time) {
    EXPECT_EQ(source->auAudioUnit().fullStateForDocument(), state);
  }
  EXPECT_LT(Clock::now() - again, asked * 300ms) << "one that owes an answer is not waited for again";
  kill(processOf(source), SIGCONT);
  EXPECT_TRUE(happens([&] { return source->auAudioUnit().fullStateForDocument() == state; }));
}

TEST_F(FaultsWithShortTimeout, APluginThatHangsInSavingIsReleased) {
  const auto unit = rebel("hang-save");
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), std::nullopt);
}

TEST_F(FaultsWithShortTimeout, APluginThatHangsInRestoringKeepsItsStateForTheNextSave) {
  const auto state = stateOf(rebel());
  ASSERT_TRUE(state);
  auto foreign = *state;
  foreign["uri"] = {std::string("urn:vrel:zoo:rebel-hang-restore")};
  const auto unit = rebel("hang-restore");
  unit->auAudioUnit().setFullStateForDocument(foreign);
  unit->reset();
  EXPECT_TRUE(hasLogged("has not restored its state yet"));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), foreign);
}

TEST_F(FaultsWithShortTimeout, StoppedWhileAStateGoesInTheCallReturnsAndTheStateIsTakenLater) {
  const auto state = stateAfterAKey(rebel());
  ASSERT_TRUE(state);
  const auto unit = rebel();
  stop(processOf(unit));
  unit->auAudioUnit().setFullStateForDocument(*state);
  EXPECT_TRUE(hasLogged("has not restored its state yet"));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), state) << "a save meanwhile loses nothing";
  kill(processOf(unit), SIGCONT);
  lv2::Player revived(unit);
  EXPECT_TRUE(happens([&] { return revived.block(128) == constant(64); }));
}

TEST_F(Faults, AStateAbove256MiBIsRefusedAndTheLastOneIsKept) {
  const auto unit = make("urn:vrel:zoo:state").unit;
  DeadlinePlayer player(unit);
  player.key(20);
  player.block(std::nullopt);
  const auto state = unit->auAudioUnit().fullStateForDocument();
  ASSERT_TRUE(state);
  player.key(98);
  player.block(std::nullopt);
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), state);
  EXPECT_TRUE(hasLogged("has a state above 256 MiB, which is refused; the last one known is kept"));
  EXPECT_TRUE(deaths().empty());
  auto huge = *state;
  huge["huge"] = {PropertyListData(std::size_t{257} << 20U)};
  unit->auAudioUnit().setFullStateForDocument(huge);
  EXPECT_TRUE(hasLogged("was not given a state above 256 MiB"));
  player.key(21);
  player.block(std::nullopt);
  EXPECT_TRUE(unit->auAudioUnit().fullStateForDocument());
  EXPECT_NE(unit->auAudioUnit().fullStateForDocument(), state) << "it lives";
  EXPECT_TRUE(deaths().empty());
}

TEST_F(Faults, KilledWhileItsStateIsAskedForTheLastOneKnownComesBack) {
  const auto unit = rebel("hang-save");
  const DeathAtWork death(linkOf(unit), processOf(unit));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), std::nullopt);
  EXPECT_TRUE(hasLogged("its process has ended"));
}

TEST_F(Faults, KilledWhileAStateGoesInTheCallReturns) {
  auto state = rebel()->auAudioUnit().fullStateForDocument().value();
  state["uri"] = {std::string("urn:vrel:zoo:rebel-hang-restore")};
  const auto unit = rebel("hang-restore");
  const DeathAtWork death(linkOf(unit), processOf(unit));
  unit->auAudioUnit().setFullStateForDocument(state);
  EXPECT_TRUE(isReportedDead(processOf(unit)));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), state);
}

// Closing.

TEST_F(Faults, APluginThatHangsInClosingIsKilledAndNobodyWaits) {
  std::vector<pid_t> processes;
  EXPECT_TRUE(happens([&] {
    std::vector<std::shared_ptr<AVAudioUnit>> units;
    for (int count = 0; count < 10; ++count) {
      units.push_back(rebel("hang-cleanup"));
      processes.push_back(processOf(units.back()));
    }
    const auto start = Clock::now();
    units.clear();
    return Clock::now() - start < 10 * 200ms;
  })) << "it takes as long as they are given to close, each time";
  EXPECT_TRUE(happens([&] { return std::none_of(processes.begin(), processes.end(), isThere); }));
  EXPECT_TRUE(deaths().empty());
}

TEST_F(Faults, AStoppedProcessThatIsReleasedIsKilled) {
  auto unit = rebel();
  const pid_t process = processOf(unit);
  stop(process);
  unit.reset();
  EXPECT_TRUE(happens([&] { return !isThere(process); }));
}

TEST_F(Faults, OneInAnEndlessLoopThatIsReleasedIsKilled) {
  auto unit = rebel();
  const pid_t process = processOf(unit);
  {
    DeadlinePlayer player(unit);
    player.key(fault_key::hangForever);
    (void)player.block(1ms);
  }
  unit.reset();
  EXPECT_TRUE(happens([&] { return !isThere(process); }));
}

TEST_F(Faults, KilledWhileItClosesItIsLoggedAndIsNoDeathOfAUnit) {
  EXPECT_TRUE(happens([this] {  // on a busy machine it may have been killed for its slowness before
    auto unit = rebel("hang-cleanup");
    const pid_t process = processOf(unit);
    unit.reset();
    kill(process, SIGKILL);
    EXPECT_TRUE(happens([this] { return guestCount() == 0; }));
    return hasLogged("was killed by signal 9 as it closed");
  }));
  EXPECT_TRUE(deaths().empty());
}

// All of it again and again.

TEST_F(Faults, AHundredKillsAndRevivesLeaveNothingBehind) {
  const auto round = [this] {
    const auto unit = rebel();
    lv2::Player player(unit);
    player.send(0x90, 60, 64);
    EXPECT_EQ(player.block(128), constant(64));
    kill(processOf(unit), SIGKILL);
    EXPECT_TRUE(happens([this] { return guestCount() == 0; }));
  };
  for (int warm = 0; warm < 10; ++warm) {
    round();
  }
  const std::size_t descriptors = descriptorCount();
  const std::size_t memory = residentBytes();
  for (int count = 0; count < 100; ++count) {
    round();
  }
  EXPECT_EQ(counters().deaths, 110U);
  EXPECT_EQ(descriptorCount(), descriptors);
  EXPECT_EQ(sharedMappingCount(), 0U);
  EXPECT_TRUE(childrenOf(getpid()).empty());
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(residentBytes(), memory + (4U << 20U));
#else
  (void)memory;
#endif
}

}  // namespace
}  // namespace vrel::sandbox
