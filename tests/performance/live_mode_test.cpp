// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/live_mode.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "performance/live_stage.h"

namespace vrel {
namespace {

using Live = LiveStage;
using FreshSession = SimulatedSession;
using Flags = ModifierFlags;

TEST_F(FreshSession, IsInEditMode) {
  EXPECT_FALSE(state.isLiveModeEnabled.get());
}

TEST_F(Live, TakesTheCaretOutOfEveryFieldWhenItBegins) {
  live.setLiveMode(false);
  std::vector<std::string> calls;
  const auto watch = state.isLiveModeEnabled.changed.connect([&](bool) { calls.emplace_back("mode"); });
  live.clearFocus = [&] { calls.push_back("focus after " + std::to_string(desktop.focusClearings)); };
  live.setLiveMode(true);
  EXPECT_EQ(calls, (std::vector<std::string>{"mode", "focus after 1"}));
  EXPECT_EQ(desktop.focusClearings, 2);
}

TEST_F(Live, LeavesTheCaretAloneWhenItEnds) {
  live.clearFocus = [] { FAIL(); };
  live.setLiveMode(false);
  EXPECT_EQ(desktop.focusClearings, 1) << "the one at the beginning";
}

TEST_F(Live, NotifiesRealChangesOnlyAndAlwaysClearsTheFocus) {
  int changes = 0;
  const auto watch = state.isLiveModeEnabled.changed.connect([&](bool) { ++changes; });
  live.setLiveMode(true);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(desktop.focusClearings, 2);
}

TEST_F(Live, IsNoPartOfTheSetlist) {
  live.setLiveMode(false);
  live.setLiveMode(true);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, InEditModeNoKeyIsUsed) {
  live.setLiveMode(false);
  state.pressedNotes.set({60});
  for (const std::string key : {"p", "space", "0", "1", "9", "up", "down", "cmd+1"}) {
    EXPECT_FALSE(press(key)) << key;
  }
  EXPECT_FALSE(state.pressedNotes.get().empty());
  EXPECT_EQ(muted() + soloed(), "");
  EXPECT_FALSE(engine->masterChannel()->mute.get());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, PAndSpacePanicWithAndWithoutShift) {
  const auto added = addStrip("Piano");
  for (const std::string characters : {"p", "P", " "}) {
    for (const auto flags : {Flags::none, Flags::shift}) {
      added.instrument->events.clear();
      state.pressedNotes.set({60});
      EXPECT_TRUE(press(characters, flags));
      EXPECT_TRUE(state.pressedNotes.get().empty());
      EXPECT_EQ(added.instrument->events.size(), 192U);
    }
  }
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, WithControlOptionOrCommandPIsNotUsed) {
  state.pressedNotes.set({60});
  for (const auto flags : {Flags::control, Flags::option, Flags::command, Flags::command | Flags::shift}) {
    EXPECT_FALSE(press("p", flags));
    EXPECT_FALSE(press(" ", flags));
  }
  EXPECT_FALSE(state.pressedNotes.get().empty());
}

TEST_F(Live, ControlAndOptionRefuseEveryKey) {
  for (const auto flags : {Flags::control, Flags::option, Flags::control | Flags::option}) {
    EXPECT_FALSE(press("1", flags));
    EXPECT_FALSE(press("1", flags | Flags::command));
    EXPECT_FALSE(press("0", flags));
    EXPECT_FALSE(live.handleLiveKeyDown({"\xEF\x9C\x81", flags, KeyEvent::downArrow}));
  }
  EXPECT_EQ(muted() + soloed(), "");
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Live, AKeyWithoutTextIsNotUsedEvenAnArrow) {
  EXPECT_FALSE(live.handleLiveKeyDown({std::nullopt, Flags::none, KeyEvent::downArrow}));
  EXPECT_FALSE(press(std::nullopt, Flags::command));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Live, OtherKeysAreLeftToOthers) {
  for (const std::string characters : {"", "a", "q", "\t", "\r", "\x1b", "/", ":", "-1", "+1", "1a", "pp", "  ", "ä"}) {
    EXPECT_FALSE(press(characters, Flags::none)) << characters;
  }
  EXPECT_EQ(muted(), "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, ADigitMutesItsStripAndUnmutesIt) {
  EXPECT_TRUE(press("2"));
  EXPECT_EQ(muted(), "B");
  EXPECT_EQ(meterOf(strip(1)).outputVolume(), 0.0F);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(press("3"));
  EXPECT_EQ(muted(), "B C");
  EXPECT_TRUE(press("2"));
  EXPECT_EQ(muted(), "C");
}

TEST_F(Live, ADigitPastTheLastStripIsUsedAndDoesNothing) {
  EXPECT_TRUE(press("7"));
  EXPECT_TRUE(press("4"));
  EXPECT_EQ(muted(), "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, ATextOfTwoDigitsNamesItsStripAsFarAsItSortsBeforeNine) {
  EXPECT_TRUE(press("12", Flags::none));
  EXPECT_FALSE(press("91", Flags::none)) << "sorts behind 9";
  EXPECT_FALSE(press("02", Flags::none)) << "sorts before 1";
  EXPECT_FALSE(press("199999999999999999999", Flags::none)) << "no number of ours";
  EXPECT_EQ(muted(), "");
  while (engine->channels().size() < 12) {
    engine->addChannel("L" + std::to_string(engine->channels().size() + 1));
  }
  EXPECT_TRUE(press("12", Flags::none));
  EXPECT_EQ(muted(), "L12");
}

TEST_F(Live, ZeroMutesTheMaster) {
  EXPECT_TRUE(press("0"));
  EXPECT_TRUE(engine->masterChannel()->mute.get());
  EXPECT_EQ(graph().mainMixer().outputVolume(), 0.0F);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(press("0"));
  EXPECT_FALSE(engine->masterChannel()->mute.get());
}

TEST_F(Live, CommandAndADigitSoloItsStripAloneAndThenNone) {
  strip(0).solo.set(true);
  strip(1).solo.set(true);
  EXPECT_TRUE(press("cmd+1"));
  EXPECT_EQ(soloed(), "A");
  EXPECT_EQ(meterOf(strip(1)).outputVolume(), 0.0F);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(press("cmd+1"));
  EXPECT_EQ(soloed(), "");
  EXPECT_GT(meterOf(strip(1)).outputVolume(), 0.0F);
}

TEST_F(Live, AnExclusiveSoloMovesToAnotherStrip) {
  press("cmd+3");
  press("cmd+2");
  EXPECT_EQ(soloed(), "B");
}

TEST_F(Live, ASoloPastTheLastStripIsUsedAndDoesNothing) {
  strip(0).solo.set(true);
  EXPECT_TRUE(press("cmd+4"));
  EXPECT_EQ(soloed(), "A");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Live, CommandWithZeroArrowsLettersAndLargeNumbersIsNotUsed) {
  for (const std::string name : {"cmd+0", "cmd+up", "cmd+down", "cmd+p", "cmd+space"}) {
    EXPECT_FALSE(press(name)) << name;
  }
  EXPECT_FALSE(press("10", Flags::command));
  EXPECT_FALSE(press("-1", Flags::command));
  EXPECT_EQ(soloed(), "");
  EXPECT_FALSE(engine->masterChannel()->mute.get());
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Live, ArrowsStepThroughTheSongs) {
  EXPECT_TRUE(press("down"));
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
  EXPECT_TRUE(press("up"));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Live, ArrowsDoNotWrapAndReloadTheSongAtTheEnd) {
  const auto before = engine->channels()[0];
  EXPECT_TRUE(press("up"));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_NE(engine->channels()[0], before);
  songSwitch.applySong(2);
  answerAll();
  const auto version = selection.channelsViewVersion.get();
  EXPECT_TRUE(press("down"));
  EXPECT_EQ(state.selectedSongIndex.get(), 2U);
  EXPECT_EQ(selection.channelsViewVersion.get(), version + 1);
}

TEST_F(Live, ArrowsAreSwallowedDuringASwitch) {
  songSwitch.applySong(2);
  ASSERT_TRUE(state.songSwitchInProgress.get());
  EXPECT_TRUE(press("up"));
  EXPECT_TRUE(press("down"));
  EXPECT_EQ(state.selectedSongIndex.get(), 2U);
  answerAll();
  EXPECT_TRUE(press("up"));
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
}

TEST_F(Live, ArrowsAreSwallowedWithNoSongOnStage) {
  state.selectedSongIndex.set(std::nullopt);
  const auto version = selection.channelsViewVersion.get();
  EXPECT_TRUE(press("up"));
  EXPECT_TRUE(press("down"));
  EXPECT_EQ(state.selectedSongIndex.get(), std::nullopt);
  EXPECT_EQ(selection.channelsViewVersion.get(), version);
}

TEST_F(Live, AllOtherKeysWorkDuringASwitch) {
  songSwitch.applySong(2);
  ASSERT_TRUE(state.songSwitchInProgress.get());
  EXPECT_TRUE(press("0"));
  EXPECT_TRUE(engine->masterChannel()->mute.get());
  EXPECT_TRUE(press("1"));
  EXPECT_EQ(muted(), "Piano");
  EXPECT_TRUE(press("cmd+1"));
  EXPECT_EQ(soloed(), "Piano");
  state.pressedNotes.set({60});
  EXPECT_TRUE(press("p"));
  EXPECT_TRUE(state.pressedNotes.get().empty());
  EXPECT_TRUE(state.songSwitchInProgress.get());
}

TEST_F(Live, PanicClearsTheDisplayWithAStoppedEngine) {
  graph().stop();
  state.pressedNotes.set({60});
  EXPECT_TRUE(press("p"));
  EXPECT_TRUE(state.pressedNotes.get().empty());
}

}  // namespace
}  // namespace vrel
