// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/song_control_page.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "console/window/console_stage.h"

namespace vrel {
namespace {

TEST(SongProgramText, CountsProgramsFromOneAndBanksFromNought) {
  EXPECT_EQ(programText({{}, 0}), "1");
  EXPECT_EQ(programText({16383, 127}), "16383:128");
  EXPECT_EQ(enteredProgram(" 5 "), (SongProgram{{}, 4}));
  EXPECT_EQ(enteredProgram("0:128"), (SongProgram{0, 127}));
  EXPECT_EQ(enteredProgram("16383 : 1"), (SongProgram{16383, 0}));
}

TEST(SongProgramText, WhatIsNoProgramChangeIsNone) {
  for (const char* const text : {"", "0", "129", "-1", "a", "1:", ":1", "16384:1", "-1:1", "1:2:3", "1.5"}) {
    EXPECT_EQ(enteredProgram(text), std::nullopt) << text;
  }
}

/// The page over two songs, with nothing edited.
class SongsByMidi : public window::ConsoleStage {
 protected:
  SongsByMidi() {
    addSong("One", {record("A", "")});
    addSong("Two", {record("B", "")});
    appear();
    content.songSwitch().applySong(0);
    settle();
    state.isDirty.set(false);
  }

  [[nodiscard]] SongControlPage& page() { return content.songControlPage(); }
  [[nodiscard]] std::vector<std::string> programs() {
    std::vector<std::string> programs;
    for (const auto& row : page().rows()) {
      programs.push_back(row.name + " " + row.program);
    }
    return programs;
  }
  void enter(std::size_t index, const std::string& text) { page().enterProgram(song(index).id.text(), text); }
};

TEST_F(SongsByMidi, AnEnteredProgramIsAnEdit) {
  enter(1, "3:7");
  EXPECT_EQ(song(1).program, (SongProgram{3, 6}));
  EXPECT_EQ(programs(), (std::vector<std::string>{"One ", "Two 3:7"}));
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(SongsByMidi, OtherTextChangesNothingAndNothingTypedRemovesIt) {
  enter(0, "9");
  state.isDirty.set(false);
  enter(0, "x");
  enter(0, "9");
  page().enterProgram("no such song", "4");
  EXPECT_EQ(song(0).program, (SongProgram{{}, 8}));
  EXPECT_FALSE(state.isDirty.get());
  enter(0, " ");
  EXPECT_EQ(song(0).program, std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(SongsByMidi, NumbersSongsInOrderAndThoseBehindTheLastNumberNot) {
  for (int more = 0; more < 127; ++more) {
    addSong("More", {});
  }
  page().numberSongs();
  EXPECT_EQ(song(0).program, (SongProgram{{}, 0}));
  EXPECT_EQ(song(127).program, (SongProgram{{}, 127}));
  EXPECT_EQ(song(128).program, std::nullopt);
}

TEST_F(SongsByMidi, ValuesStopAtTheirEnds) {
  page().toggleByProgramChange();
  page().moveMidiChannel(-1);
  EXPECT_EQ(state.songControl.get(), (SongControl{.byProgramChange = true}));
  page().moveMidiChannel(1);
  EXPECT_EQ(state.songControl.get().midiChannel, 0);
  page().moveMidiChannel(40);
  EXPECT_EQ(state.songControl.get().midiChannel, 15);
  page().moveStepGuard(1);
  EXPECT_EQ(state.songControl.get().stepGuardMilliseconds, 350U);
  page().moveStepGuard(-100);
  EXPECT_EQ(state.songControl.get().stepGuardMilliseconds, 0U);
  page().moveStepGuard(100);
  EXPECT_EQ(state.songControl.get().stepGuardMilliseconds, 2000U);
  page().moveLetRing(-1);
  EXPECT_EQ(state.songControl.get().letRingSeconds, 0U);
  page().moveLetRing(8);
  EXPECT_EQ(state.songControl.get().letRingSeconds, 8U);
  page().moveLetRing(100);
  EXPECT_EQ(state.songControl.get().letRingSeconds, 30U);
}

TEST_F(SongsByMidi, ANewSetlistBeginsInSilenceWithTheDefaultsAndKeepsTheLearnedSteps) {
  page().toggleByProgramChange();
  page().moveStepGuard(4);
  page().moveLetRing(8);
  page().learn(MidiControlKind::nextSong);
  engine->routeMIDI(0xB0, 66, 127);
  addStrip("Piano");
  content.setlistFiles().newSetlist(false);
  EXPECT_EQ(state.songControl.get(), SongControl{});
  EXPECT_EQ(page().sourceOf(MidiControlKind::nextSong), "CC 66, MIDI 1");
  EXPECT_TRUE(engine->ringingChannels().empty());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SongsByMidi, AStepIsLearnedListedAndRemovedLikeOtherControls) {
  page().learn(MidiControlKind::nextSong);
  engine->routeMIDI(0xB0, 66, 127);
  EXPECT_EQ(page().sourceOf(MidiControlKind::nextSong), "CC 66, MIDI 1");
  EXPECT_EQ(page().sourceOf(MidiControlKind::previousSong), "");
  const auto all = content.learnedControls().all();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].control, "Next song");
  EXPECT_EQ(all[0].place, "SETLIST");
  content.learnedControls().remove(all[0].id);
  EXPECT_EQ(page().sourceOf(MidiControlKind::nextSong), "");
}

TEST_F(SongsByMidi, ASecondPressWaitsNoLongerAndAnotherStepWaitsInstead) {
  page().learn(MidiControlKind::nextSong);
  page().learn(MidiControlKind::previousSong);
  EXPECT_EQ(content.midiLearn().pendingMidiLearnTarget.get(),
            (MidiControlTarget{MidiControlKind::previousSong, std::nullopt}));
  page().learn(MidiControlKind::previousSong);
  EXPECT_FALSE(state.isMidiLearnMode.get());
}

TEST_F(SongsByMidi, InLiveModeOnlyLearningIsLeft) {
  state.isLiveModeEnabled.set(true);
  enter(0, "9");
  page().toggleByProgramChange();
  page().moveStepGuard(1);
  page().moveLetRing(1);
  page().numberSongs();
  EXPECT_EQ(state.songControl.get(), SongControl{});
  EXPECT_EQ(song(0).program, std::nullopt);
  EXPECT_FALSE(state.isDirty.get());
  page().learn(MidiControlKind::nextSong);
  EXPECT_TRUE(state.isMidiLearnMode.get());
}

TEST_F(SongsByMidi, EveryChangeCanBeTakenBack) {
  enter(1, "4");
  page().toggleByProgramChange();
  content.editHistory().undo();
  EXPECT_FALSE(state.songControl.get().byProgramChange);
  content.editHistory().undo();
  EXPECT_EQ(song(1).program, std::nullopt);
  content.editHistory().redo();
  content.editHistory().redo();
  EXPECT_EQ(song(1).program, (SongProgram{{}, 3}));
  EXPECT_TRUE(state.songControl.get().byProgramChange);
}

TEST_F(SongsByMidi, IsSavedAndComesBackWithTheSetlist) {
  page().toggleByProgramChange();
  enter(1, "4");
  files.placeDirectory("/shows");
  ASSERT_TRUE(content.setlistFiles().writeSetlist("/shows/show.vrel"));
  state.songControl.set({});
  content.setlistFiles().loadSetlist("/shows/show.vrel");
  answerAll();
  EXPECT_TRUE(state.songControl.get().byProgramChange);
  EXPECT_EQ(song(1).program, (SongProgram{{}, 3}));
}

TEST_F(SongsByMidi, TheHardwareChangesSongsWhileAQuestionIsOpen) {
  page().toggleByProgramChange();
  enter(1, "4");
  desktop.whileAsking = [this] {
    engine->routeMIDI(0xC0, 3, 0);
    settle();
    EXPECT_EQ(state.selectedSongIndex.get(), 1U);
  };
  content.setlistFiles().newSetlist(true);  // cancelled
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
}

TEST_F(SongsByMidi, ThePageTakesThePlaceOfTheLearnedControls) {
  notifications.post("vrel.showLearnedControls");
  notifications.post("vrel.showSongControl");
  EXPECT_TRUE(page().isShown.get());
  EXPECT_FALSE(content.learnedControls().isShown.get());
}

}  // namespace
}  // namespace vrel
