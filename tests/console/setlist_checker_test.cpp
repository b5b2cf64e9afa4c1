// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_checker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "check/report_coding.h"
#include "document/setlist_coding.h"
#include "simulation/simulated_processes.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Stage = SetlistChecker::Stage;

/// A setlist of two songs, the first on stage.
class CheckOfASetlist : public SimulatedSession {
 protected:
  CheckOfASetlist() {
    addSong("One", {record("Piano", pianoKey)});
    addSong("Two", {record("Organ", organKey)});
    songSwitch.applySong(0);
    answerAll();
  }

  [[nodiscard]] const simulation::SimulatedProcesses::Child& child() const { return *processes.children.back(); }
  [[nodiscard]] Stage stage() const { return checker.status.get().stage; }
  void enterLiveMode() { state.isLiveModeEnabled.set(true); }

  /// As vrel-render prints it: the second song is the worse one.
  static CheckReport foundReport() {
    CheckReport found{.setlist = "/dev/fd/3"};
    found.pages = {
        {.song = 0, .name = "One", .played = PlayedSong{.loadSeconds = 1, .peak = 1}},
        {.song = 1,
         .name = "Two",
         .findings = {{.kind = FindingKind::clips, .value = 3},
                      {.kind = FindingKind::pluginMissing, .strip = FindingStrip{0, "Organ"}, .subject = "B3"}}}};
    return found;
  }

  void expectFailure(const ChildEnd& end, const std::string& reason) {
    checker.start();
    processes.end(end);
    EXPECT_EQ(stage(), Stage::failed);
    EXPECT_THAT(checker.statusText(), StartsWith("The check did not come to its end: "));
    EXPECT_THAT(checker.statusText(), HasSubstr(reason));
  }

  simulation::SimulatedProcesses processes;
  SetlistChecker checker{{state, songSwitch, mainQueue, &processes, "/opt/bin/vrel-render"}};
};

TEST_F(CheckOfASetlist, RunsOnTheSongsAsTheyAreWithTheChosenBuffer) {
  state.audioIOBufferFrameSize.set(256);
  strip(0).volume.set(0.25F);
  checker.open();
  EXPECT_TRUE(checker.isShown.get());
  ASSERT_EQ(processes.children.size(), 1U);
  EXPECT_EQ(child().command.program, "/opt/bin/vrel-render");
  EXPECT_THAT(child().command.arguments, ElementsAre("--check", "--json", "--block", "256", "/dev/fd/3"));
  ASSERT_TRUE(child().input);
  const auto setlist = readSetlist(child().input.value());
  ASSERT_TRUE(setlist);
  ASSERT_EQ(setlist.value().songs.size(), 2U);
  EXPECT_EQ(setlist.value().songs[0].channels[0].volume, 0.25F) << "what was not saved is checked, too";
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(CheckOfASetlist, ShowsItsProgressAndPassesOverOtherLines) {
  checker.open();
  EXPECT_EQ(checker.statusText(), "Playing the songs: 0 of 2");
  processes.print("vrel-render: 1 of 2 songs played");
  EXPECT_EQ(checker.statusText(), "Playing the songs: 1 of 2");
  for (const auto* const rubbish : {"vrel-render: 7 of 9 songs", "", "\x01\xff", "vrel-render: 2 of 2 files read",
                                    "vrel-render: -1 of 2 songs played", "99999999999999999999 of"}) {
    processes.print(rubbish);
  }
  EXPECT_EQ(checker.status.get().songsPlayed, 1U);
  processes.print("vrel-render: 4000 of 2 songs played");
  EXPECT_EQ(checker.status.get().songsPlayed, 2U) << "no more than there are";
}

TEST_F(CheckOfASetlist, HasARowForEachSongWorstFirstAndBelowItWhatWasFound) {
  checker.open();
  processes.end({.exitCode = 1, .output = encodeReport(foundReport())});
  EXPECT_EQ(stage(), Stage::done);
  EXPECT_EQ(checker.statusText(), "Errors: 1, warnings: 1");
  const auto rows = checkRows(*checker.report.get(), Language::english);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[0], (CheckRow{true, true, "", "2  Two", "Errors: 1, warnings: 1"}));
  EXPECT_EQ(rows[1],
            (CheckRow{false, true, "Error", "1  Organ: B3 is not installed", "Install it, or choose another one."}));
  EXPECT_FALSE(rows[2].isError);
  EXPECT_EQ(rows[2].severity, "Warning");
  EXPECT_EQ(rows[3].title, "1  One");
  EXPECT_THAT(rows[3].detail, StartsWith("Nothing was found; loaded in 1.0 s"));
  EXPECT_EQ(checkRows(*checker.report.get(), Language::german)[1].title, "1  Organ: B3 ist nicht installiert");
}

TEST_F(CheckOfASetlist, ThatDiesOrWritesRubbishFailsInOneLineAndLeavesTheLastReport) {
  checker.start();
  processes.end({.output = encodeReport(foundReport())});
  const auto before = checker.report.get();
  expectFailure({.failure = "killed by signal 11"}, "killed by signal 11");
  expectFailure({.exitCode = 127}, "exit code 127");
  expectFailure({.output = ""}, "");
  expectFailure({.output = "rubbish"}, "");
  expectFailure({.output = "[]"}, "expected an object");
  expectFailure({.output = "{}"}, "incomplete");
  auto cut = foundReport();
  cut.pages.pop_back();
  expectFailure({.output = encodeReport(cut)}, "incomplete");
  auto twice = foundReport();
  twice.pages[1].song = 0;
  expectFailure({.output = encodeReport(twice)}, "incomplete");
  auto beyond = foundReport();
  beyond.pages[1].song = 2;
  expectFailure({.output = encodeReport(beyond)}, "incomplete");
  EXPECT_EQ(checker.report.get(), before);
  EXPECT_EQ(processes.children.size(), 10U);
}

TEST_F(CheckOfASetlist, ThatSaysWhyItEndsFailsWithThat) {
  checker.start();
  processes.print("vrel-render: 1 of 2 songs played");
  processes.print("vrel-render: no room on the disk");
  processes.end({.exitCode = 2});
  EXPECT_THAT(checker.statusText(), HasSubstr("no room on the disk"));
}

TEST_F(CheckOfASetlist, ThatHangsIsEndedAndOneThatGoesOnIsNot) {
  checker.start();
  for (int minute = 0; minute < 5; ++minute) {
    mainQueue.advance(SetlistChecker::silenceSeconds - 1);
    processes.print("vrel-render: 1 of 2 files read");
  }
  EXPECT_EQ(stage(), Stage::running);
  mainQueue.advance(2 * SetlistChecker::silenceSeconds);
  EXPECT_EQ(stage(), Stage::failed);
  EXPECT_FALSE(child().isRunning) << "it was ended";
  EXPECT_THAT(checker.statusText(), HasSubstr("does not answer"));
}

TEST_F(CheckOfASetlist, TheWaitForAnEarlierOneDoesNotEndTheNext) {
  checker.start();
  mainQueue.advance(SetlistChecker::silenceSeconds - 1);
  checker.stop();
  checker.start();
  mainQueue.advance(2);
  EXPECT_EQ(stage(), Stage::running);
}

TEST_F(CheckOfASetlist, IsStoppedByAPressAndByTheEndOfItsPage) {
  checker.open();
  checker.stop();
  EXPECT_EQ(stage(), Stage::stopped);
  EXPECT_FALSE(child().isRunning);
  checker.start();
  checker.close();
  EXPECT_FALSE(child().isRunning);
  EXPECT_FALSE(checker.isShown.get());
  checker.stop();
  EXPECT_EQ(processes.children.size(), 2U);
}

TEST_F(CheckOfASetlist, OnlyOneRunsAtATime) {
  checker.open();
  checker.start();
  checker.open();
  EXPECT_EQ(processes.children.size(), 1U);
}

TEST_F(CheckOfASetlist, EndsWhenLiveModeBeginsAndDoesNotBeginInIt) {
  checker.open();
  enterLiveMode();
  EXPECT_EQ(stage(), Stage::stoppedByLiveMode);
  EXPECT_FALSE(child().isRunning);
  EXPECT_EQ(checker.statusText(), "The check was stopped by Live mode");
  checker.start();
  checker.close();
  checker.open();
  EXPECT_FALSE(checker.isShown.get());
  EXPECT_EQ(processes.children.size(), 1U);
}

TEST_F(CheckOfASetlist, SaysWhenTheSetlistHasBeenEditedSinceAndChecksAgainThen) {
  checker.open();
  strip(0).volume.set(0.5F);
  state.markEdited();
  processes.end({.exitCode = 1, .output = encodeReport(foundReport())});
  EXPECT_EQ(checker.statusText(), "Errors: 1, warnings: 1 (the setlist has been edited since)");
  checker.close();
  checker.open();
  EXPECT_EQ(processes.children.size(), 2U);
  processes.end({.exitCode = 1, .output = encodeReport(foundReport())});
  EXPECT_FALSE(checker.isOutdated.get());
  songSwitch.applySong(1);
  answerAll();
  EXPECT_FALSE(checker.isOutdated.get()) << "playing changes nothing";
  checker.close();
  checker.open();
  EXPECT_EQ(processes.children.size(), 2U) << "there is a report of it";
  state.songs.set({});
  EXPECT_TRUE(checker.isOutdated.get()) << "another setlist";
}

TEST_F(CheckOfASetlist, ThatIsStoppedLeavesTheLastReportAsOldAsItWas) {
  checker.open();
  processes.end({.exitCode = 1, .output = encodeReport(foundReport())});
  checker.start();
  checker.stop();
  EXPECT_FALSE(checker.isOutdated.get());
  state.markEdited();
  checker.start();
  checker.close();
  EXPECT_TRUE(checker.isOutdated.get());
  checker.open();
  EXPECT_EQ(processes.children.size(), 4U) << "it checks what was edited";
  EXPECT_EQ(stage(), Stage::running);
}

TEST_F(CheckOfASetlist, AnotherVersionOfTheSameSongsMakesTheReportAnOldOne) {
  checker.open();
  processes.end({.exitCode = 1, .output = encodeReport(foundReport())});
  const auto songs = state.songs.get();
  state.selectedSongIndex.set(std::nullopt);
  state.songs.set(songs);
  songSwitch.applySong(0);
  EXPECT_TRUE(checker.isOutdated.get());
}

TEST_F(CheckOfASetlist, WithoutProcessesFailsInOneLine) {
  SetlistChecker alone{{state, songSwitch, mainQueue, nullptr, ""}};
  alone.open();
  EXPECT_EQ(alone.status.get().stage, Stage::failed);
}

}  // namespace
}  // namespace vrel
