// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_requests.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "performance/midi_learn_stage.h"
#include "performance/performance_display.h"

namespace vrel {
namespace {

constexpr MidiMessage pedalDown{0xB0, 66, 127};
constexpr MidiMessage pedalUp{0xB0, 66, 0};
constexpr MidiMessage backKey{0x90, 21, 90};

/// Four songs without plug-ins, the first on stage, and of each the program change of its number. A pedal is learned
/// for the next song and a key for the previous one.
class SongRequest : public MidiLearnStage {
 protected:
  SongRequest() {
    addSong("Three", {});
    addSong("Four", {});
    for (std::size_t index = 0; index < 4; ++index) {
      changeSong(index, [index](SongConfig& song) { song.program = {{}, static_cast<std::uint8_t>(index)}; });
    }
    setControl({.byProgramChange = true});
    learnOn(onConsole(Kind::nextSong), pedalDown);
    learnOn(onConsole(Kind::previousSong), backKey);
    play(pedalUp);
    requests.listenToEngine();
    settle();
  }

  void setControl(const SongControl& control) { state.songControl.set(control); }
  void send(MidiMessage message) {
    play(message);
    settle();
  }
  void program(std::uint8_t number, std::uint8_t midiChannel = 0) {
    send({static_cast<std::uint8_t>(0xC0 + midiChannel), number, 0});
  }
  void pressPedal() {
    send(pedalDown);
    send(pedalUp);
  }
  void pass(double seconds) {
    mainQueue.advance(seconds);
    settle();
  }
  [[nodiscard]] std::size_t onStage() const { return state.selectedSongIndex.get().value_or(99); }

  /// Counts the switches from now on.
  struct Switches {
    int count = 0;
    std::shared_ptr<void> connection;
  };
  void countSwitches(Switches& switches) {
    switches.connection = songSwitch.stripsChanged.connect([&switches] { ++switches.count; });
  }

  SongRequests requests{{state, *engine, songSwitch, learn, mainQueue, clock, console}};
};

TEST_F(SongRequest, AProgramChangePutsItsSongOnStage) {
  program(2);
  EXPECT_EQ(onStage(), 2U);
}

TEST_F(SongRequest, ProgramChangesDoNothingUntilTheyAreSwitchedOn) {
  setControl({});
  program(2);
  pass(1);
  EXPECT_EQ(onStage(), 0U);
  EXPECT_EQ(requests.lastProgram.get(), (SongProgram{0, 2})) << "but are shown to who sets it up";
}

TEST_F(SongRequest, AProgramChangeThatWaitsIsDroppedWhenTheyAreSwitchedOff) {
  program(1);
  program(2);
  setControl({});
  pass(1);
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, EveryChannelCountsUntilOneIsChosen) {
  program(1, 15);
  EXPECT_EQ(onStage(), 1U);
  setControl({.byProgramChange = true, .midiChannel = 3});
  pass(1);
  program(2, 2);
  EXPECT_EQ(onStage(), 1U);
  program(2, 3);
  EXPECT_EQ(onStage(), 2U);
}

TEST_F(SongRequest, TheBankOfTheChannelNamesTheSong) {
  changeSong(2, [](SongConfig& song) { song.program = {131, 0}; });
  send({0xB1, 0, 1});
  send({0xB1, 32, 3});
  program(0, 0);
  EXPECT_EQ(onStage(), 0U) << "another channel has another bank";
  program(0, 1);
  EXPECT_EQ(onStage(), 2U);
}

TEST_F(SongRequest, ASongWithoutABankAnswersToAllBanksThatNoSongHas) {
  send({0xB0, 0, 77});
  program(3);
  EXPECT_EQ(onStage(), 3U);
}

TEST_F(SongRequest, OfSongsWithOneNumberTheFirstIsMeant) {
  changeSong(2, [](SongConfig& song) { song.program = {{}, 1}; });
  program(1);
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, ANumberWithoutASongIsLoggedOnceASecondAndDoesNothing) {
  console.lines.clear();
  for (int count = 0; count < 50; ++count) {
    program(100);
  }
  EXPECT_EQ(onStage(), 0U);
  EXPECT_EQ(console.lines, (Lines{"No song has program 101 of bank 0, which came on MIDI channel 1"}));
  pass(2);
  program(101);
  EXPECT_EQ(console.lines.size(), 2U);
}

TEST_F(SongRequest, OfALastingFloodOneNumberWithoutASongIsLoggedEachSecond) {
  console.lines.clear();
  for (int count = 0; count < 50; ++count) {
    program(100);
    pass(0.1);
  }
  EXPECT_EQ(console.lines.size(), 5U);
}

TEST_F(SongRequest, ANumberWithoutASongLeavesTheOneThatWaits) {
  program(1);
  program(2);
  program(100);
  pass(1);
  EXPECT_EQ(onStage(), 2U);
}

TEST_F(SongRequest, TheSongOnStageIsNotLoadedAgain) {
  Switches switches;
  countSwitches(switches);
  program(0);
  pass(1);
  EXPECT_EQ(switches.count, 0);
}

TEST_F(SongRequest, OfAFloodTheLastProgramChangeWinsAndFewSongsAreLoaded) {
  Switches switches;
  countSwitches(switches);
  for (int count = 0; count < 1000; ++count) {
    program(static_cast<std::uint8_t>(count % 3));
    pass(0.001);
  }
  program(3);
  pass(1);
  EXPECT_EQ(onStage(), 3U);
  EXPECT_LE(switches.count, 6) << "one in 300 ms";
}

TEST_F(SongRequest, ABurstThatArrivesAtOnceLoadsOneSong) {
  Switches switches;
  countSwitches(switches);
  for (int count = 0; count < 1000; ++count) {
    play({0xC0, static_cast<std::uint8_t>(count % 4), 0});
  }
  settle();
  EXPECT_EQ(onStage(), 3U);
  EXPECT_EQ(switches.count, 1);
}

TEST_F(SongRequest, AProgramChangeDuringASwitchComesBehindIt) {
  changeSong(1, [](SongConfig& song) { song.channels = {record("Piano", pianoKey)}; });
  program(1);
  ASSERT_TRUE(state.songSwitchInProgress.get());
  program(3);
  program(2);
  pass(1);
  EXPECT_EQ(onStage(), 1U) << "what loads would be stored without its plug-in";
  answerAll();
  pass(1);
  EXPECT_EQ(onStage(), 2U);
  EXPECT_EQ(song(1).channels[0].pluginPath, pianoKey);
}

TEST_F(SongRequest, AProgramChangeThatWaitsIsCarriedOutBehindASwitchThatTimesOut) {
  changeSong(1, [](SongConfig& song) { song.channels = {record("Piano", pianoKey)}; });
  program(1);
  program(2);
  pass(SongSwitch::songSwitchTimeoutSeconds - 1);
  EXPECT_EQ(onStage(), 1U);
  pass(1.1);
  EXPECT_EQ(onStage(), 2U);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(SongRequest, ASongThatIsClickedMeanwhileWins) {
  changeSong(1, [](SongConfig& song) { song.channels = {record("Piano", pianoKey)}; });
  program(1);
  program(2);
  songSwitch.applySong(3);
  answerAll();
  pass(1);
  EXPECT_EQ(onStage(), 3U);
}

TEST_F(SongRequest, ASongThatIsDeletedMeanwhileIsNotMissed) {
  program(1);
  program(2);
  state.songs.modify([](auto& songs) { songs.erase(songs.begin() + 2); });
  pass(1);
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, ALearnedPedalAndKeyStepThroughTheSongs) {
  pressPedal();
  EXPECT_EQ(onStage(), 1U);
  pass(0.3);
  pressPedal();
  EXPECT_EQ(onStage(), 2U);
  pass(0.3);
  send(backKey);
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, TheFirstAndTheLastSongAreEnds) {
  Switches switches;
  countSwitches(switches);
  send(backKey);
  EXPECT_EQ(onStage(), 0U);
  songSwitch.applySong(3);
  pressPedal();
  EXPECT_EQ(onStage(), 3U);
  EXPECT_EQ(switches.count, 1) << "and are not loaded again";
}

TEST_F(SongRequest, APedalThatBouncesStepsOnce) {
  for (int bounce = 0; bounce < 5; ++bounce) {
    pressPedal();
    pass(0.02);
  }
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, BouncesThatWaitedForASlowSwitchStepOnce) {
  const auto slow =
      songSwitch.stripsWillGo.connect([this] { clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 900000000); });
  play(pedalDown);
  play(pedalUp);
  mainQueue.async([this] {
    play(pedalDown);
    play(pedalUp);
  });
  settle();
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, TheGuardCanBeLongerOrOff) {
  setControl({.stepGuardMilliseconds = 1000});
  pressPedal();
  pass(0.9);
  pressPedal();
  EXPECT_EQ(onStage(), 1U);
  setControl({.stepGuardMilliseconds = 0});
  pressPedal();
  pressPedal();
  EXPECT_EQ(onStage(), 3U);
}

TEST_F(SongRequest, APedalThatIsStillDownInTheNextSongStepsNoFurther) {
  for (const int travel : {70, 90, 127, 127, 110, 80}) {
    send({0xB0, 66, static_cast<std::uint8_t>(travel)});
    pass(1);
  }
  EXPECT_EQ(onStage(), 1U);
  send(pedalUp);
  send(pedalDown);
  EXPECT_EQ(onStage(), 2U);
}

TEST_F(SongRequest, AStepWhileASongLoadsIsDropped) {
  changeSong(1, [](SongConfig& song) { song.channels = {record("Piano", pianoKey)}; });
  pressPedal();
  pass(1);
  pressPedal();
  answerAll();
  pass(1);
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, StepsWorkInLiveMode) {
  state.isLiveModeEnabled.set(true);
  pressPedal();
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, WithoutASongOnStageAStepDoesNothing) {
  state.selectedSongIndex.set(std::nullopt);
  requests.step(true);
  settle();
  EXPECT_EQ(state.selectedSongIndex.get(), std::nullopt);
}

TEST_F(SongRequest, TheSongOnStageStillGetsTheMessageThatSteps) {
  songSwitch.applySong(0);
  const auto strip = addStrip("Piano");
  strip.instrument->events.clear();
  play({0x90, 60, 1});
  play(pedalDown);
  EXPECT_EQ(strip.instrument->events.size(), 2U);
  EXPECT_EQ(onStage(), 0U);
  settle();
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, APanicOfTheSameMomentSilencesTheSongThatGoes) {
  const auto strip = addStrip("Piano");
  play(pedalDown);
  performPanic(state, *engine);
  EXPECT_GE(strip.instrument->events.size(), 192U);
  settle();
  EXPECT_EQ(onStage(), 1U);
}

TEST_F(SongRequest, AnEndOfThePartLeavesNothingBehind) {
  {
    SongRequests shortLived({state, *engine, songSwitch, learn, mainQueue, clock, console});
    shortLived.listenToEngine();
    play({0xC0, 2, 0});
  }
  play({0xC0, 3, 0});
  settle();
  EXPECT_EQ(onStage(), 0U);
}

TEST_F(SongRequest, TheSongBehindTheNextFindsItsInstrumentReady) {
  state.songs.set({});
  for (const char* const name : {"First", "Second", "Third"}) {
    addSong(name, {record(name, pianoKey)});
  }
  songSwitch.applySong(0);
  answerAll();
  pressPedal();
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  const auto ready = engine->pluginPool().idleCount(pianoKey);
  EXPECT_GE(ready, 1U);
  pass(1);
  pressPedal();
  EXPECT_EQ(onStage(), 2U);
  EXPECT_TRUE(units.requests.empty()) << "nothing had to be made";
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
}

}  // namespace
}  // namespace vrel
