// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/tempo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

class TempoOfTheSong : public SimulatedSession {
 protected:
  /// Taps at these milliseconds after the first moment.
  void tapAt(std::initializer_list<std::uint64_t> milliseconds) {
    for (const auto time : milliseconds) {
      clock.setNanoseconds(start_ + time * 1'000'000);
      tempo.tapTempo();
    }
  }

  Tempo tempo{state, *engine, clock};

 private:
  std::uint64_t start_ = clock.AudioGetCurrentHostTime();
};

TEST_F(TempoOfTheSong, TwoTapsHalfASecondApartGive120) {
  tempo.setTempo(90);
  tapAt({0, 500});
  EXPECT_EQ(state.tempoBpm.get(), 120U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 120.0);
}

TEST_F(TempoOfTheSong, EveryIntervalCountsTheSameAndAHalfRoundsUp) {
  tapAt({0, 500, 1000, 1600});
  EXPECT_EQ(state.tempoBpm.get(), 113U);
}

TEST_F(TempoOfTheSong, FastTapsAreLimitedTo300) {
  tapAt({0, 100});
  EXPECT_EQ(state.tempoBpm.get(), 300U);
}

TEST_F(TempoOfTheSong, TapsOneAndNineTenthsOfASecondApartGive32) {
  tapAt({0, 1900});
  EXPECT_EQ(state.tempoBpm.get(), 32U);
}

TEST_F(TempoOfTheSong, TapsTwoSecondsApartAreTwoFirstTaps) {
  state.isDirty.set(false);
  tapAt({0, 2000});
  EXPECT_EQ(state.tempoBpm.get(), 120U);
  EXPECT_FALSE(state.isDirty.get());
  tapAt({2600});
  EXPECT_EQ(state.tempoBpm.get(), 100U);
}

TEST_F(TempoOfTheSong, TheWindowMovesSoThatOldTapsDropOutOfTheMean) {
  tapAt({0, 1000, 1500, 2000});
  EXPECT_EQ(state.tempoBpm.get(), 120U);
}

TEST_F(TempoOfTheSong, TapsAtTheSameMomentChangeNothing) {
  state.isDirty.set(false);
  tempo.tapTempo();
  tempo.tapTempo();
  EXPECT_EQ(state.tempoBpm.get(), 120U);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(TempoOfTheSong, WhatIsTypedIsLimited) {
  tempo.setTempo(500);
  EXPECT_EQ(state.tempoBpm.get(), 300U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 300.0);
  tempo.setTempo(5);
  EXPECT_EQ(state.tempoBpm.get(), 20U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 20.0);
}

TEST_F(TempoOfTheSong, TheSameTempoMarksTheSetlistAsEditedAndTellsNobody) {
  tempo.setTempo(140);
  state.isDirty.set(false);
  std::vector<std::uint32_t> told;
  const auto connection = state.tempoBpm.changed.connect([&told](std::uint32_t bpm) { told.push_back(bpm); });
  tempo.setTempo(140);
  EXPECT_TRUE(told.empty());
  EXPECT_TRUE(state.isDirty.get());
  tempo.setTempo(141);
  EXPECT_EQ(told, std::vector<std::uint32_t>{141});
}

TEST_F(TempoOfTheSong, PluginsAreToldForOneSecondAndTheBeatDoesNotJump) {
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 2'000'000'000);
  const double beat = engine->musicalContext().currentBeat();
  ASSERT_FALSE(engine->musicalContext().hasTransportStateChanged());
  tempo.setTempo(60);
  EXPECT_DOUBLE_EQ(engine->musicalContext().currentBeat(), beat);
  EXPECT_TRUE(engine->musicalContext().hasTransportStateChanged());
}

TEST_F(TempoOfTheSong, ATapAfterASongSwitchCountsWithTheOneBefore) {
  addSong("One", {record("Free", "")});
  tapAt({0});
  songSwitch.applySong(0);
  tapAt({400});
  EXPECT_EQ(state.tempoBpm.get(), 150U);
}

TEST_F(TempoOfTheSong, LiveModeDoesNotBlockTheTempo) {
  state.isLiveModeEnabled.set(true);
  tempo.setTempo(77);
  EXPECT_EQ(state.tempoBpm.get(), 77U);
}

TEST_F(TempoOfTheSong, WhatIsEnteredIsLimitedToTheRange) {
  for (const auto& [text, bpm] : {std::pair("93", 93U), {"500", 300U}, {"5", 20U}, {" +77 ", 77U}, {"-5", 20U}}) {
    tempo.enterTempo(text);
    EXPECT_EQ(state.tempoBpm.get(), bpm) << text;
  }
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(TempoOfTheSong, WhatIsEnteredButIsNotAnIntegerIsNoEdit) {
  for (const char* const text : {"", "fast", "12.5", "99999999999999999999"}) {
    tempo.enterTempo(text);
  }
  EXPECT_EQ(state.tempoBpm.get(), 120U);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(TempoOfTheSong, EnteringTheTempoAsItIsIsNoEdit) {
  tempo.enterTempo("120");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(TempoOfTheSong, AStepStartsFromTheTempoAsItIs) {
  tempo.stepTempo(1);
  EXPECT_EQ(state.tempoBpm.get(), 121U);
  tempo.stepTempo(-3);
  EXPECT_EQ(state.tempoBpm.get(), 118U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 118.0);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(TempoOfTheSong, AStepBeyondTheEndOfTheRangeIsNoEdit) {
  for (const auto& [bpm, by] : {std::pair(20U, -1), std::pair(300U, 1)}) {
    tempo.setTempo(bpm);
    state.isDirty.set(false);
    tempo.stepTempo(by);
    EXPECT_EQ(state.tempoBpm.get(), bpm);
    EXPECT_FALSE(state.isDirty.get());
  }
}

TEST_F(TempoOfTheSong, AStepFromATempoOutOfRangeComesBackIntoIt) {
  state.tempoBpm.set(500);
  tempo.stepTempo(1);
  EXPECT_EQ(state.tempoBpm.get(), 300U);
}

}  // namespace
}  // namespace vrel
