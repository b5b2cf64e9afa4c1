// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// What the main queue does while a setlist is written or read.
class SetlistBeside : public SetlistOnDisk {
 protected:
  [[nodiscard]] std::string notesOnDisk(const std::filesystem::path& path) {
    return decodeSetlist(files.files[path]).value().songs[0].songNotes;
  }

  void edit(const std::string& notes) {
    state.songNotes.set(notes);
    state.markEdited();
  }
};

TEST_F(SetlistBeside, AnEditDuringASaveIsNotInTheFileAndKeepsTheMark) {
  openGig();
  edit("before");
  background.whileWorking = [this] { edit("meanwhile"); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "before");
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "meanwhile");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, ASongSwitchDuringASaveChangesNothingOfIt) {
  openGig();
  edit("of the first");
  background.whileWorking = [this] {
    EXPECT_TRUE(state.isDirty.get()) << "it is not saved yet";
    songSwitch.applySong(1);
    state.songNotes.set("of the second");
  };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "of the first");
  EXPECT_EQ(stripNames(), Names{"Strip of Two"});
  EXPECT_EQ(state.songNotes.get(), "of the second");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, ASaveDuringASaveComesBehindItWithWhatIsNewByThen) {
  openGig();
  bool isSecondSaved = false;
  background.whileWorking = [&] {
    edit("newer");
    isSecondSaved = setlistFiles.saveSetlist();
    EXPECT_EQ(notesOnDisk(gig), "newer");
  };
  edit("older");
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_TRUE(isSecondSaved);
  EXPECT_EQ(notesOnDisk(gig), "newer");
  const auto kept = copies.copiesOf(gig);
  ASSERT_EQ(kept.size(), 2U) << "each has kept what was there before";
  EXPECT_EQ(notesOnDisk(kept[0]), "older");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, ASaveThatFailsBehindOneThatRunsFailsAlone) {
  openGig();
  edit("on disk");
  background.whileWorking = [this] {
    strip(0).name.set("\xFF");
    EXPECT_FALSE(setlistFiles.saveSetlist());
  };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "on disk");
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to save setlist: ")));
}

TEST_F(SetlistBeside, LiveModeThatBeginsDuringASaveDoesNotStopIt) {
  openGig();
  edit("live");
  background.whileWorking = [this] { state.isLiveModeEnabled.set(true); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "live");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, TheEndOfTheProgramWaitsForTheSaveThatRunsBeforeItAsks) {
  openGig();
  edit("last words");
  desktop.alertAnswers = {doNotSaveButton};
  background.whileWorking = [this] {
    setlistFiles.confirmTermination();
    EXPECT_EQ(notesOnDisk(gig), "last words");
  };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(desktop.terminationReplies, std::vector<bool>{true});
  EXPECT_EQ(desktop.alerts.at(0).alertStyle, NSAlert::Style::informational) << "nothing is unsaved any more";
}

TEST_F(SetlistBeside, TheEndOfTheProgramAsksAboutTheSetlistThatIsReadMeanwhile) {
  openGig();
  files.place(other, setlistText({"Three"}));
  edit("of the gig");
  const auto before = files.files[gig];
  desktop.alertAnswers = {saveButton};
  background.whileWorking = [this] { setlistFiles.confirmTermination(); };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(desktop.alerts.at(0).alertStyle, NSAlert::Style::informational);
  EXPECT_EQ(files.files[gig], before);
  EXPECT_EQ(namesOnDisk(other), Names{"Three"});
  EXPECT_EQ(desktop.terminationReplies, std::vector<bool>{true});
}

TEST_F(SetlistBeside, TheGuardSavesWhatIsEditedWhileItSaves) {
  openGig();
  edit("older");
  desktop.alertAnswers = {saveButton};
  background.whileWorking = [this] { edit("newer"); };
  EXPECT_TRUE(setlistFiles.confirmSetlistChange());
  EXPECT_EQ(notesOnDisk(gig), "newer");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, AnEndThatIsSavedLosesNothingThatIsEditedWhileItSaves) {
  openGig();
  edit("older");
  desktop.alertAnswers = {saveButton};
  background.whileWorking = [this] {
    edit("newer");
    background.whileWorking = [this] { state.markEdited(); };
  };
  setlistFiles.confirmTermination();
  EXPECT_EQ(notesOnDisk(gig), "newer");
  EXPECT_EQ(desktop.terminationReplies, std::vector<bool>{true});
}

TEST_F(SetlistBeside, TheGuardWarnsOfASaveThatHasFailedMeanwhile) {
  openGig();
  files.readOnly.insert(gig);
  edit("lost");
  background.whileWorking = [this] { EXPECT_FALSE(setlistFiles.confirmSetlistChange()); };
  EXPECT_FALSE(setlistFiles.saveSetlist());
  EXPECT_EQ(desktop.alerts.at(0).alertStyle, NSAlert::Style::warning);
}

TEST_F(SetlistBeside, TheStageStaysAsItIsWhileASetlistIsRead) {
  openGig();
  files.place(other, setlistText({"Three"}));
  background.whileWorking = [this] {
    expectNothingChanged();
    songSwitch.applySong(1);
    state.songNotes.set("to be gone");
  };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(stripNames(), Names{"Strip of Three"});
  EXPECT_EQ(song(0).songNotes, "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, EditsThatComeWhileASetlistIsReadAreAskedAboutBeforeItIsOnStage) {
  files.place(other, setlistText({"Three"}));
  for (const std::size_t button : {cancelButton, doNotSaveButton, saveButton}) {
    openGig();
    desktop.alerts.clear();
    desktop.alertAnswers = {doNotSaveButton, button};
    const auto notes = "edited before button " + std::to_string(button);
    background.whileWorking = [&] { edit(notes); };
    setlistFiles.openRecentSetlist(other);
    ASSERT_EQ(desktop.alerts.size(), 2U) << "what was edited after the first answer may be worth a save";
    EXPECT_EQ(desktop.alerts[1].messageText, "Guardar cambios en el setlist actual?");
    EXPECT_EQ(songNames(), button == cancelButton ? (Names{"One", "Two"}) : Names{"Three"});
    EXPECT_EQ(state.isDirty.get(), button == cancelButton);
    EXPECT_EQ(notesOnDisk(gig), button == saveButton ? notes : "");
    if (button == cancelButton) {
      EXPECT_EQ(state.songNotes.get(), notes);
    }
  }
}

TEST_F(SetlistBeside, EditsThatAreSavedIntoTheFileThatWasReadAreOnStageAfterwards) {
  openGig();
  desktop.alertAnswers = {saveButton};
  background.whileWorking = [this] { edit("saved"); };
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(notesOnDisk(gig), "saved");
  EXPECT_EQ(state.songNotes.get(), "saved");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistBeside, EditsThatComeWhileAnotherIsReadAreOnlyAskedAboutWhereItCanBeOpened) {
  openGig();
  files.place(other, "damaged");
  background.whileWorking = [this] { edit("kept"); };
  setlistFiles.loadSetlist(other);
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_EQ(state.songNotes.get(), "kept");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(SetlistBeside, LiveModeThatBeginsBehindThatQuestionKeepsTheStage) {
  openGig();
  files.place(other, setlistText({"Three"}));
  desktop.alertAnswers = {doNotSaveButton};
  desktop.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
  background.whileWorking = [this] { edit("kept"); };
  setlistFiles.loadSetlist(other);
  expectNothingChanged();
  EXPECT_EQ(state.songNotes.get(), "kept");
}

TEST_F(SetlistBeside, ANewerSetlistThatIsAskedForBehindThatQuestionIsTheOneThatIsOpened) {
  openGig();
  const std::filesystem::path newest = "/home/me/newest.vrel";
  files.place(other, setlistText({"Three"}));
  files.place(newest, setlistText({"Four"}));
  desktop.alertAnswers = {doNotSaveButton};
  desktop.whileAsking = [this, newest] { setlistFiles.openRecentSetlist(newest); };
  background.whileWorking = [this] { edit("given up"); };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Four"});
}

TEST_F(SetlistBeside, ASetlistThatIsAskedForWhileAnotherIsReadAsksOnceAboutTheEditsSince) {
  openGig();
  const std::filesystem::path newest = "/home/me/newest.vrel";
  files.place(other, setlistText({"Three"}));
  files.place(newest, setlistText({"Four"}));
  desktop.alertAnswers = {doNotSaveButton};
  background.whileWorking = [this, newest] {
    edit("given up");
    setlistFiles.openRecentSetlist(newest);
  };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Four"});
}

TEST_F(SetlistBeside, EditsThatComeWhileAGoodCopyIsLookedForAreAskedAboutBeforeItIsOnStage) {
  openGig();
  edit("on disk");
  EXPECT_TRUE(setlistFiles.saveSetlist());
  files.place(other, setlistText({"Three"}));
  setlistFiles.loadSetlist(other);
  files.files[gig] = "damaged";
  setlistFiles.loadSetlist(gig);
  ASSERT_EQ(setlistFiles.damagedSetlist.get(), gig);
  desktop.alertAnswers = {doNotSaveButton, cancelButton};
  background.whileWorking = [this] { edit("of the other"); };
  setlistFiles.openNewestCopy();
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(state.songNotes.get(), "of the other");
}

TEST_F(SetlistBeside, ALoadDuringALoadComesBehindIt) {
  openGig();
  files.place(other, setlistText({"Three"}));
  files.place("/home/me/third.vrel", setlistText({"Four"}));
  background.whileWorking = [this] { setlistFiles.loadSetlist("/home/me/third.vrel"); };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(songNames(), Names{"Four"});
  EXPECT_EQ(state.currentFilePath.get(), "/home/me/third.vrel");
  EXPECT_EQ(state.recentFiles.get(), (std::vector<std::filesystem::path>{"/home/me/third.vrel", other, gig}));
}

TEST_F(SetlistBeside, ASaveDuringALoadSavesWhatIsLoadedWhereItLies) {
  openGig();
  files.place(other, setlistText({"Three"}));
  const auto before = files.files[gig];
  desktop.alertAnswers = {doNotSaveButton};
  background.whileWorking = [this] {
    edit("of the gig");
    EXPECT_TRUE(setlistFiles.saveSetlist());
  };
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(files.files[gig], before);
  EXPECT_EQ(namesOnDisk(other), Names{"Three"});
  EXPECT_EQ(state.currentFilePath.get(), other);
}

TEST_F(SetlistBeside, LiveModeThatBeginsDuringALoadKeepsTheStage) {
  openGig();
  files.place(other, setlistText({"Three"}));
  background.whileWorking = [this] { state.isLiveModeEnabled.set(true); };
  setlistFiles.loadSetlist(other);
  expectNothingChanged();
  EXPECT_EQ(console.lines, Lines{"Failed to load setlist: Live mode has begun"});
}

TEST_F(SetlistBeside, AFileThatVanishesBeforeItIsReadChangesNothing) {
  openGig();
  files.place(other, setlistText({"Three"}));
  background.whileWorking = [this] { files.files.erase(other); };
  setlistFiles.loadSetlist(other);
  expectNothingChanged();
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to load setlist: ")));
}

TEST_F(SetlistBeside, AFileThatVanishesDuringItsSaveIsWrittenAsANewOne) {
  openGig();
  edit("new");
  background.whileWorking = [this] { files.files.erase(gig); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(notesOnDisk(gig), "new");
  EXPECT_THAT(copies.copiesOf(gig), IsEmpty());
}

TEST_F(SetlistBeside, ALoadDuringASaveWaitsForPluginsBehindIt) {
  openGig();
  files.place(other, setlistText({"Three"}));
  state.isLookingForPlugins.set(true);
  background.whileWorking = [this] { setlistFiles.loadSetlist(other); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(songNames(), (Names{"One", "Two"}));
  EXPECT_TRUE(state.showLoadingModal.get());
  state.isLookingForPlugins.set(false);
  settle();
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(SetlistBeside, PluginsThatAreFoundDuringASaveOpenTheirSetlistBehindIt) {
  openGig();
  files.place(other, setlistText({"Three"}));
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(other);
  background.whileWorking = [this] { state.isLookingForPlugins.set(false); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  settle();
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(state.currentFilePath.get(), other);
  EXPECT_EQ(namesOnDisk(gig), (Names{"One", "Two"}));
  EXPECT_EQ(namesOnDisk(other), Names{"Three"});
}

TEST_F(SetlistBeside, LiveModeThatBeginsBeforeTheGuardIsAnsweredOpensNothing) {
  openGig();
  files.place(other, setlistText({"Three"}));
  desktop.alertAnswers = {doNotSaveButton};
  background.whileWorking = [this] {
    desktop.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
    setlistFiles.openRecentSetlist(other);
  };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(desktop.alerts.size(), 1U);
  expectNothingChanged();
}

TEST_F(SetlistBeside, ANewSetlistComesBehindTheSaveThatRuns) {
  openGig();
  background.whileWorking = [this] { setlistFiles.newSetlist(false); };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(namesOnDisk(gig), (Names{"One", "Two"}));
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(SetlistBeside, ANewSetlistIsNotBegunInLiveModeThatBeganMeanwhile) {
  openGig();
  background.whileWorking = [this] {
    state.isLiveModeEnabled.set(true);
    setlistFiles.newSetlist(false);
  };
  EXPECT_TRUE(setlistFiles.saveSetlist());
  expectNothingChanged();
}

}  // namespace
}  // namespace vrel
