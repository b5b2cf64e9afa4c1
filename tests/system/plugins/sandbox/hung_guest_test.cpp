// SPDX-License-Identifier: GPL-3.0-or-later
// Guests that do not answer: captures do not wait for them, and on a device they are ended. No wait here has a
// limit, so whatever waited for a guest that is stopped would never end.

#include <csignal>
#include <thread>
#include <vector>

#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

constexpr std::size_t blocksPerSecond = 48000 / 128;

class HungGuests : public SandboxStage {
 protected:
  /// A limit to waiting that no answer reaches: what is not to be waited for would take it whole.
  explicit HungGuests(GuestLink::Timeout timeout = 30s) : SandboxStage(timeout) {}

  /// A rebel that plays this level and whose state was captured.
  [[nodiscard]] std::shared_ptr<AVAudioUnit> captured(std::uint8_t level) {
    auto unit = rebel();
    play(unit, level);
    (void)unit->auAudioUnit().fullStateForDocument();
    return unit;
  }

  static void play(const std::shared_ptr<AVAudioUnit>& unit, std::uint8_t level) {
    DeadlinePlayer player(unit);
    player.key(60, level);
    EXPECT_EQ(player.block(std::nullopt), constant(level));
  }

  /// Blocks of a device whose time is over when they begin: what is stopped misses each.
  static void miss(const std::shared_ptr<AVAudioUnit>& unit, std::size_t count) {
    DeadlinePlayer player(unit);
    for (std::size_t block = 0; block < count; ++block) {
      (void)player.block(-1ms);
    }
  }
};

TEST_F(HungGuests, OneThatIsBehindIsNotWaitedForByACaptureAndItsLateStateIsTheLastOneKnown) {
  const auto unit = captured(64);
  const auto old = unit->auAudioUnit().fullStateForDocument();
  play(unit, 96);
  stop(processOf(unit));
  miss(unit, blocksPerSecond / 5);
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), old);
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), old);
  EXPECT_TRUE(hasLogged("is behind and was not waited for; the last known state is kept"));
  EXPECT_FALSE(unit->isReusable());
  kill(processOf(unit), SIGCONT);
  EXPECT_TRUE(happens([&] { return !linkOf(unit).owesAnswer(); }));
  stop(processOf(unit));
  const auto late = unit->auAudioUnit().fullStateForDocument();
  EXPECT_NE(late, old);
  kill(processOf(unit), SIGCONT);
  const auto revived = rebel();
  revived->auAudioUnit().setFullStateForDocument(*late);
  EXPECT_EQ(lv2::Player(revived).block(128), constant(96));
}

TEST_F(HungGuests, WhoDidNotAnswerACaptureMissedItUntilTheNextOneIsAnswered) {
  const auto unit = captured(64);
  const auto& answer = dynamic_cast<StateAnswer&>(unit->auAudioUnit());
  EXPECT_FALSE(answer.missedState());
  stop(processOf(unit));
  miss(unit, blocksPerSecond / 5);
  (void)unit->auAudioUnit().fullStateForDocument();
  EXPECT_TRUE(answer.missedState());
  kill(processOf(unit), SIGCONT);
  EXPECT_TRUE(happens([&] {
    (void)DeadlinePlayer(unit).block(1ms);
    return !linkOf(unit).isBehind() && !linkOf(unit).owesAnswer();
  }));
  (void)unit->auAudioUnit().fullStateForDocument();
  EXPECT_FALSE(answer.missedState());
}

TEST_F(HungGuests, AllAreAskedBeforeTheFirstIsWaitedFor) {
  const std::vector units{captured(40), captured(50), captured(60)};
  for (const auto& unit : units) {
    stop(processOf(unit));
    unit->auAudioUnit().requestFullStateForDocument();
    EXPECT_TRUE(linkOf(unit).owesAnswer());
  }
  for (const auto& unit : units) {
    kill(processOf(unit), SIGCONT);
  }
  for (const auto& unit : units) {
    EXPECT_TRUE(happens([&] { return !linkOf(unit).owesAnswer(); })) << "nobody has read it yet";
    EXPECT_TRUE(unit->auAudioUnit().fullStateForDocument());
  }
  for (const auto* const failure : {"did not return its state", "was not waited for"}) {
    EXPECT_FALSE(hasLogged(failure));
  }
}

TEST_F(HungGuests, AnAnswerIsOnlyTakenForTheCaptureThatAskedForIt) {
  const auto unit = captured(64);
  const auto given = captured(32)->auAudioUnit().fullStateForDocument();
  stop(processOf(unit));
  unit->auAudioUnit().requestFullStateForDocument();
  std::thread goOn([&] {
    (void)happensWithin(20ms, [] { return false; });
    kill(processOf(unit), SIGCONT);
  });
  unit->auAudioUnit().setFullStateForDocument(*given);
  goOn.join();
  EXPECT_TRUE(happens([&] { return !linkOf(unit).owesAnswer(); }));
  kill(processOf(unit), SIGKILL);
  EXPECT_TRUE(happens([&] { return deaths().size() == 1; }));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), given) << "the one asked for before is older";
}

TEST_F(HungGuests, OneThatOwesAnAnswerIsNotReusableUntilItHasGivenIt) {
  const auto unit = captured(64);
  EXPECT_TRUE(unit->isReusable());
  stop(processOf(unit));
  unit->auAudioUnit().requestFullStateForDocument();
  EXPECT_FALSE(unit->isReusable());
  kill(processOf(unit), SIGCONT);
  EXPECT_TRUE(happens([&] { return unit->isReusable(); }));
  kill(processOf(unit), SIGKILL);
  EXPECT_TRUE(happens([&] { return !unit->isReusable(); }));
}

TEST_F(HungGuests, OneThatMissesEveryBlockForTwoSecondsOfADeviceIsEndedAndReported) {
  const auto unit = captured(64);
  const auto state = unit->auAudioUnit().fullStateForDocument();
  const pid_t process = processOf(unit);
  stop(process);
  miss(unit, 2 * blocksPerSecond + 1);
  EXPECT_TRUE(happens([&] { return deaths() == std::vector<int>{process}; }));
  EXPECT_TRUE(hasLogged("missed every block for 2 s and was ended"));
  EXPECT_TRUE(happens([&] { return !isThere(process); }));
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), state);
}

TEST_F(HungGuests, OneThatAnswersInBetweenIsNotEnded) {
  const auto unit = captured(64);
  for (int time = 0; time < 2; ++time) {
    stop(processOf(unit));
    miss(unit, 2 * blocksPerSecond - 1);
    EXPECT_TRUE(linkOf(unit).isBehind());
    EXPECT_FALSE(linkOf(unit).isHung());
    kill(processOf(unit), SIGCONT);
    SharedBlock& block = linkOf(unit).block();
    EXPECT_TRUE(happens([&] { return read(block.answer) == read(block.request); })) << "one more block would be missed";
    DeadlinePlayer player(unit);
    EXPECT_EQ(player.block(std::chrono::minutes(1)), constant(64));
    EXPECT_FALSE(linkOf(unit).isBehind());
  }
  EXPECT_TRUE(deaths().empty());
}

class GuestsOfADevice : public HungGuests {
 protected:
  GuestsOfADevice() : HungGuests(0ms) {}
};

TEST_F(GuestsOfADevice, AStateGoesInWithoutAWaitAndNothingOfBeforeSoundsAfterIt) {
  const auto unit = rebel();
  const auto wanted = [&] {
    const auto other = rebel();
    play(other, 32);
    return *stateOf(other);
  }();
  play(unit, 64);
  stop(processOf(unit));
  unit->auAudioUnit().setFullStateForDocument(wanted);
  unit->reset();
  EXPECT_EQ(unit->auAudioUnit().fullStateForDocument(), wanted) << "a save meanwhile";
  kill(processOf(unit), SIGCONT);
  DeadlinePlayer player(unit);
  lv2::Sound sound = constant(0);
  EXPECT_TRUE(happens([&] { return (sound = player.block(5s)) != constant(0); }));
  EXPECT_EQ(sound, constant(32));
}

TEST_F(GuestsOfADevice, EventsWaitUntilTheStateIsIn) {
  const auto unit = rebel();
  const auto state = stateOf(unit);
  DeadlinePlayer player(unit);
  stop(processOf(unit));
  unit->auAudioUnit().setFullStateForDocument(*state);
  unit->reset();
  player.key(60, 96);
  (void)player.block(-1ms);
  kill(processOf(unit), SIGCONT);
  lv2::Sound sound = constant(0);
  EXPECT_TRUE(happens([&] { return (sound = player.block(5s)) != constant(0); }));
  EXPECT_EQ(sound, constant(96));
}

TEST_F(GuestsOfADevice, OneThatHangsAsItTakesItsStateIsLogged) {
  auto state = *stateOf(rebel());
  state["uri"] = {std::string("urn:vrel:zoo:rebel-hang-restore")};
  const auto unit = rebel("hang-restore");
  unit->auAudioUnit().setFullStateForDocument(state);
  EXPECT_TRUE(happens([this] { return hasLogged("has not done what was asked for 2 s"); }));
  EXPECT_FALSE(unit->isReusable());
}

}  // namespace
}  // namespace vrel::sandbox
