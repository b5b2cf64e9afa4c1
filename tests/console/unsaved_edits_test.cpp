// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/unsaved_edits.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EditsThatAreNotSaved : public SetlistFilesStage {
 protected:
  static constexpr double afterKeeping = UnsavedEdits::collectSeconds + UnsavedEdits::answerSeconds + 0.1;
  static constexpr std::size_t openButton = 0;
  static constexpr std::size_t discardButton = 1;

  void openGig() {
    files.place(gig, setlistText({"One", "Two"}));
    setlistFiles.loadSetlist(gig);
    settle();
    console.lines.clear();
  }

  void rename(const std::string& name) {
    changeSong(0, [&](SongConfig& song) { song.name = name; });
    state.markEdited();
  }

  void write() {
    queues.queue("vrel.unsaved.edits").runAll();
    settle();
  }

  void keep() {
    mainQueue.advance(afterKeeping);
    write();
  }

  /// What the next run of the program is asked with, and does.
  std::unique_ptr<UnsavedEdits> startAgain(const std::string& run = "next") {
    unsaved.reset();
    return std::make_unique<UnsavedEdits>(
        collaborators(), folder, UnsavedEdits::Runs{run, [this](const auto& name) { return running.contains(name); }});
  }

  UnsavedEdits::Collaborators collaborators() {
    return {state, songSwitch, setlistFiles, mainQueue, queues, files, desktop, console};
  }

  const std::filesystem::path folder = "/home/me/state/unsaved";
  const std::filesystem::path kept = folder / "first.vrel";
  std::set<std::string> running;
  std::unique_ptr<UnsavedEdits> unsaved = std::make_unique<UnsavedEdits>(
      collaborators(), folder,
      UnsavedEdits::Runs{"first", [this](const auto& name) { return running.contains(name); }});
};

TEST_F(EditsThatAreNotSaved, AreKeptWithinTenSecondsAndTheFileIsNotTouched) {
  static_assert(UnsavedEdits::collectSeconds + UnsavedEdits::answerSeconds < 10);
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
  openGig();
  rename("New");
  keep();
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
  openGig();
  rename("New");
  keep();
  ASSERT_TRUE(setlistFiles.saveSetlist());
  write();
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
}

TEST_F(EditsThatAreNotSaved, AreNotKeptWhenASaveComesFirst) {
  openGig();
  rename("New");
  mainQueue.advance(UnsavedEdits::collectSeconds + 0.1);
  ASSERT_TRUE(setlistFiles.saveSetlist());
  keep();
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, StayWhenASaveFails) {
  openGig();
  rename("New");
  keep();
  files.readOnly = {gig, gig.parent_path()};
  ASSERT_FALSE(setlistFiles.saveSetlist());
  write();
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, GoWhenTheyAreGivenUpAtTheEnd) {
  openGig();
  rename("New");
  keep();
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
  openGig();
  rename("New");
  keep();
  desktop.alertAnswers = {cancelButton};
  setlistFiles.confirmTermination();
  write();
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, GoWithAnotherSetlist) {
  openGig();
  rename("New");
  keep();
  setlistFiles.newSetlist(false);
  write();
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, AreOfferedAfterACrashWithTheNamesOfTheirSongs) {
  openGig();
  rename("New");
  keep();
  auto next = startAgain();
  setlistFiles.newSetlist(false);
  desktop.alertAnswers = {openButton};
  next->offer();
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].messageText, "Open the unsaved edits of gig.vrel?");
  EXPECT_THAT(desktop.alerts[0].informativeText, HasSubstr("New, Two"));
  EXPECT_THAT(desktop.alerts[0].buttons, ElementsAre("Open", "Discard", "Later"));
  EXPECT_EQ(songNames(), Names({"New", "Two"}));
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(EditsThatAreNotSaved, AreKeptOnceMoreBeforeTheFormerOnesGo) {
  openGig();
  rename("New");
  keep();
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  next->offer();
  EXPECT_TRUE(files.files.contains(kept)) << "until this run has them";
  keep();
  EXPECT_EQ(namesOnDisk(folder / "next.vrel"), Names({"New", "Two"}));
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
}

TEST_F(EditsThatAreNotSaved, GoWithASaveThatComesSoonAfterTheyWereOpened) {
  openGig();
  rename("New");
  keep();
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  next->offer();
  ASSERT_TRUE(setlistFiles.saveSetlist());
  write();
  EXPECT_EQ(namesOnDisk(gig), Names({"New", "Two"}));
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, GoWhenTheyAreDiscarded) {
  openGig();
  rename("New");
  keep();
  auto next = startAgain();
  desktop.alertAnswers = {discardButton};
  next->offer();
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 1U) << "asked once";
}

TEST_F(EditsThatAreNotSaved, AreOfferedAgainWithoutAnAnswer) {
  openGig();
  rename("New");
  keep();
  auto next = startAgain();
  next->offer();
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names({"New", "Two"})) << "nothing has changed";
}

TEST_F(EditsThatAreNotSaved, OfARunThatIsStillThereAreItsOwn) {
  openGig();
  rename("New");
  keep();
  running = {"first"};
  auto next = startAgain();
  next->offer();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsThatAreNotSaved, AreOfferedWhenThePluginsAreFound) {
  files.place(folder / "a.vrel", setlistText({"A"}));
  state.isLookingForPlugins.set(true);
  auto next = startAgain();
  next->offer();
  settle();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  desktop.alertAnswers = {openButton};
  state.isLookingForPlugins.set(false);
  EXPECT_THAT(desktop.alerts, IsEmpty()) << "behind a setlist that waited for them";
  settle();
  EXPECT_EQ(songNames(), Names({"A"}));
}

TEST_F(EditsThatAreNotSaved, OfSeveralRunsAreOfferedOneAfterTheOther) {
  files.place(folder / "a.vrel", setlistText({"A"}));
  files.place(folder / "b.vrel", setlistText({"B"}));
  files.place(folder / "c.vrel", setlistText({"C"}));
  auto next = startAgain();
  desktop.alertAnswers = {discardButton, openButton};
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names({"B"}));
  EXPECT_FALSE(files.files.contains(folder / "a.vrel"));
  EXPECT_TRUE(files.files.contains(folder / "c.vrel")) << "offered at the next start";
}

TEST_F(EditsThatAreNotSaved, OfASetlistWithoutAFileHaveNoPlace) {
  setlistFiles.newSetlist(false);
  rename("New");
  keep();
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  next->offer();
  EXPECT_EQ(desktop.alerts.at(0).messageText, "Open the unsaved edits of an untitled setlist?");
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(EditsThatAreNotSaved, ThatAreDamagedAreLoggedAndNotOffered) {
  files.place(folder / "a.vrel", "{");
  auto next = startAgain();
  next->offer();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to read unsaved edits")));
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
  openGig();
  rename("New");
  keep();
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

TEST_F(EditsThatAreNotSaved, AreAskedForInTheLanguageOfTheSession) {
  files.place(folder / "a.vrel", setlistText({"A"}));
  files.place(folder / "a.path", gig.string());
  auto next = startAgain();
  state.language.set(Language::german);
  next->offer();
  EXPECT_EQ(desktop.alerts.at(0).messageText, "Nicht gespeicherte Änderungen von gig.vrel öffnen?");
  EXPECT_THAT(desktop.alerts.at(0).buttons, ElementsAre("Öffnen", "Verwerfen", "Später"));
}

}  // namespace
}  // namespace vrel
