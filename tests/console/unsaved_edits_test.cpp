// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/unsaved_edits.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "console/unsaved_edits_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EditsThatAreNotSaved : public UnsavedEditsStage {};

TEST_F(EditsThatAreNotSaved, AreKeptWithinTenSecondsAndTheFileIsNotTouched) {
  static_assert(UnsavedEdits::checkSeconds * UnsavedEdits::quietChecks < 10);
  openGig();
  const auto before = files.files.at(gig);
  rename("New");
  strip(0).volume.set(0.25F);
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"New", "Two"}));
  EXPECT_EQ(readSetlist(files.files.at(kept)).value().songs[0].channels[0].volume, 0.25F) << "as it is on stage";
  EXPECT_EQ(files.files.at(folder / "first.path"), gig.string());
  EXPECT_EQ(files.files.at(gig), before);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(EditsThatAreNotSaved, AreEncodedAndWrittenBesideTheMainThread) {
  openGig();
  rename("New");
  mainQueue.advance(afterKeeping);
  EXPECT_FALSE(files.files.contains(kept));
  write();
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, OfASecondMomentReplaceTheFirst) {
  keepEdits();
  rename("Newer");
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"Newer", "Two"}));
}

TEST_F(EditsThatAreNotSaved, OutliveASongSwitchWhichClearsTheMark) {
  openGig();
  rename("New");
  songSwitch.applySong(1);
  ASSERT_FALSE(state.isDirty.get());
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"New", "Two"}));
}

TEST_F(EditsThatAreNotSaved, CauseNothingWithoutAnEdit) {
  openGig();
  keep();
  EXPECT_FALSE(files.directories.contains(folder));
}

TEST_F(EditsThatAreNotSaved, GoWithASave) {
  keepEdits();
  ASSERT_TRUE(setlistFiles.saveSetlist());
  write();
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
}

TEST_F(EditsThatAreNotSaved, AreNotKeptWhenASaveComesFirst) {
  openGig();
  rename("New");
  mainQueue.advance(UnsavedEdits::checkSeconds + 0.1);
  ASSERT_TRUE(setlistFiles.saveSetlist());
  keep();
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, ThatComeDuringASaveAreKeptBehindIt) {
  openGig();
  rename("Saved");
  background.whileWorking = [this] { rename("Newer"); };
  ASSERT_TRUE(setlistFiles.saveSetlist());
  keep();
  EXPECT_EQ(namesOnDisk(gig), Names({"Saved", "Two"}));
  ASSERT_TRUE(files.files.contains(kept));
  EXPECT_EQ(namesOnDisk(kept), Names({"Newer", "Two"}));
}

TEST_F(EditsThatAreNotSaved, StayWhenASaveFails) {
  keepEdits();
  files.readOnly = {gig, gig.parent_path()};
  ASSERT_FALSE(setlistFiles.saveSetlist());
  write();
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, GoWhenTheyAreGivenUpAtTheEnd) {
  keepEdits();
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.confirmTermination();
  unsaved.reset();
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, OfTheLastSecondsAreKeptWhenTheSystemEndsTheProgram) {
  openGig();
  rename("New");
  unsaved.reset();
  EXPECT_EQ(namesOnDisk(kept), Names({"New", "Two"}));
}

TEST_F(EditsThatAreNotSaved, StayWhenTheEndIsCancelled) {
  keepEdits();
  desktop.alertAnswers = {cancelButton};
  setlistFiles.confirmTermination();
  write();
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, GoWithAnotherSetlist) {
  keepEdits();
  setlistFiles.newSetlist(false);
  write();
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, AFolderThatCannotBeWrittenIsOneLine) {
  openGig();
  files.placeDirectory(folder);
  files.readOnly = {folder};
  rename("New");
  keep();
  rename("Newer");
  keep();
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to keep the unsaved edits")));
  files.readOnly.clear();
  rename("Newest");
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"Newest", "Two"}));
}

TEST_F(EditsThatAreNotSaved, APowerCutAtAnyStepLeavesTheFormerOnesOrTheNew) {
  keepEdits();
  const auto disk = files;
  for (std::size_t steps = 0;; ++steps) {
    static_cast<simulation::SimulatedFileManager&>(files) = disk;
    files.stepsTaken = 0;
    files.stepsBeforePowerCut = steps;
    rename("Newer");
    keep();
    const bool wasCut = files.isPowerCut();
    files.bringPowerBack();
    const auto names = namesOnDisk(kept);
    ASSERT_TRUE(names) << steps;
    EXPECT_THAT(names->at(0), testing::AnyOf("New", "Newer")) << steps;
    if (!wasCut) {
      EXPECT_EQ(names->at(0), "Newer");
      EXPECT_GT(steps, 2U);
      break;
    }
  }
}

TEST_F(EditsThatAreNotSaved, HoldTheLastKnownStatesAndNoPluginIsAsked) {
  openPlayedGig();
  answerAll();
  for (auto* const unit : {&piano0(), &chorus0()}) {
    unit->documentState = newTone;
    unit->stateRequests = unit->documentStateReads = 0;
  }
  rename("New");
  keep();
  EXPECT_EQ(keptStrip().pluginPath, pianoKey);
  EXPECT_EQ(stateIn(keptStrip().pluginStateBase64), tone) << "as it was loaded";
  EXPECT_EQ(stateIn(keptStrip().effectSlots.at(0).stateBase64), tone);
  for (auto* const unit : {&piano0(), &chorus0()}) {
    EXPECT_EQ(unit->stateRequests, 0);
    EXPECT_EQ(unit->documentStateReads, 0);
  }
  songSwitch.captureCurrentSong();
  rename("Newer");
  keep();
  EXPECT_EQ(stateIn(keptStrip().pluginStateBase64), newTone) << "as it was captured";
  EXPECT_EQ(stateIn(keptStrip().effectSlots.at(0).stateBase64), newTone);
}

TEST_F(EditsThatAreNotSaved, HoldThePresentStatesWhenTheSystemEndsTheProgram) {
  openPlayedGig();
  answerAll();
  piano0().documentState = newTone;
  rename("New");
  unsaved.reset();
  EXPECT_EQ(stateIn(keptStrip().pluginStateBase64), newTone);
}

TEST_F(EditsThatAreNotSaved, AreKeptWhenLiveModeEndsAndNotInIt) {
  openPlayedGig();
  answerAll();
  rename("New");
  state.isLiveModeEnabled.set(true);
  const int reads = piano0().documentStateReads;
  for (int edit = 0; edit < 20; ++edit) {
    state.markEdited();
    keep();
  }
  EXPECT_FALSE(files.directories.contains(folder));
  EXPECT_EQ(piano0().documentStateReads, reads);
  EXPECT_EQ(piano0().stateRequests, 0);
  state.isLiveModeEnabled.set(false);
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"New"}));
}

TEST_F(EditsThatAreNotSaved, CauseNothingAfterLiveModeWithoutAnEdit) {
  openPlayedGig();
  answerAll();
  state.isLiveModeEnabled.set(true);
  state.isLiveModeEnabled.set(false);
  keep();
  EXPECT_FALSE(files.directories.contains(folder));
}

TEST_F(EditsThatAreNotSaved, WithoutAPauseAreKeptOnceAMinute) {
  openPlayedGig();
  answerAll();
  write();  // what the load has settled
  int writes = 0;
  for (int second = 0; second < 130; ++second) {
    state.markEdited();  // a pedal that is played
    mainQueue.advance(1);
    writes += static_cast<int>(queues.queue("vrel.unsaved.edits").pendingCount());
    write();
  }
  EXPECT_EQ(writes, 2);
}

TEST_F(EditsThatAreNotSaved, WaitForTheSongThatLoads) {
  openPlayedGig();
  rename("New");
  keep();
  EXPECT_FALSE(files.files.contains(kept));
  answerAll();
  keep();
  EXPECT_EQ(namesOnDisk(kept), Names({"New"}));
  EXPECT_EQ(keptStrip().pluginPath, pianoKey);
}

TEST_F(EditsThatAreNotSaved, WaitForAnInstrumentThatLoads) {
  openGig();
  state.beginLoadingSession(1, "Piano");
  rename("New");
  keep();
  EXPECT_FALSE(files.files.contains(kept));
  state.completeOneLoad();
  mainQueue.advance(10);
  write();
  EXPECT_EQ(namesOnDisk(kept), Names({"New", "Two"}));
}

TEST_F(EditsThatAreNotSaved, OfAStripThatStillLoadsAtTheEndHaveItsSource) {
  openPlayedGig();
  rename("New");
  unsaved.reset();
  EXPECT_EQ(keptStrip().pluginPath, pianoKey);
  EXPECT_EQ(keptStrip().pluginStateBase64, storedState);
}

TEST_F(EditsThatAreNotSaved, KeepThePluginThatIsNotInstalled) {
  const std::string missingKey = "aucd:1635085685:99:20";
  openPlayedGig(missingKey);
  answerAll();
  ASSERT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  strip(0).name.set("Renamed");
  rename("New");
  keep();
  EXPECT_EQ(keptStrip().name, "Renamed");
  EXPECT_EQ(keptStrip().pluginPath, missingKey);
  EXPECT_EQ(keptStrip().pluginStateBase64, storedState);
}

TEST_F(EditsThatAreNotSaved, KeepThePluginThatFailedToLoad) {
  openPlayedGig();
  while (!units.requests.empty()) {
    units.answer(0, nullptr, Error{"no room"});
    settle();
  }
  ASSERT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  rename("New");
  keep();
  EXPECT_EQ(keptStrip().pluginPath, pianoKey);
  EXPECT_EQ(keptStrip().pluginStateBase64, storedState);
  EXPECT_EQ(keptStrip().effectSlots.at(0).stateBase64, storedState);
}

TEST_F(EditsThatAreNotSaved, OfAnInstrumentThatWasRemovedHaveNone) {
  openPlayedGig();
  answerAll();
  engine->instruments().unloadInstrument(strip(0));
  state.markEdited();
  keep();
  EXPECT_EQ(keptStrip().pluginPath, "");
  EXPECT_EQ(keptStrip().pluginStateBase64, std::nullopt);
}

TEST_F(EditsThatAreNotSaved, NeverHaveThePlaceOfAnotherSetlistAfterAPowerCut) {
  const std::filesystem::path other = "/home/me/other.vrel";
  keepEdits();
  const auto disk = files;
  bool wasCut = true;
  for (std::size_t steps = 0; wasCut; ++steps) {
    static_cast<simulation::SimulatedFileManager&>(files) = disk;
    files.stepsTaken = 0;
    files.stepsBeforePowerCut = steps;
    state.currentFilePath.set(other);
    rename("Newer");
    keep();
    wasCut = files.isPowerCut();
    files.bringPowerBack();
    const auto path = files.files.find(folder / "first.path");
    const auto names = namesOnDisk(kept);
    ASSERT_TRUE(names) << steps;
    if (path != files.files.end()) {
      EXPECT_EQ(path->second, names->at(0) == "New" ? gig.string() : other.string()) << steps;
    }
    EXPECT_TRUE(wasCut || path != files.files.end());
  }
}

TEST_F(EditsThatAreNotSaved, LoseTheirPlaceWithASetlistThatHasNone) {
  keepEdits();
  ASSERT_TRUE(files.files.contains(folder / "first.path"));
  state.currentFilePath.set(std::nullopt);
  rename("Newer");
  keep();
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
}

TEST_F(EditsThatAreNotSaved, AreNotKeptAfterAnAgreedEnd) {
  openGig();
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.confirmTermination();
  rename("New");
  keep();
  unsaved.reset();
  EXPECT_FALSE(files.files.contains(kept));
}

}  // namespace
}  // namespace vrel
