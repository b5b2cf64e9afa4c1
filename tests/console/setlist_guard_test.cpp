// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;
using testing::IsEmpty;

class SetlistGuard : public SetlistOnDisk {
 protected:
  const NSAlert& asked() {
    EXPECT_EQ(desktop.alerts.size(), 1U);
    EXPECT_EQ(desktop.alerts.back().buttons, (Names{"Guardar", "No guardar", "Cancelar"}));
    return desktop.alerts.back();
  }
};

TEST_F(SetlistGuard, WarnsOfUnsavedEditsBeforeAChange) {
  state.isDirty.set(true);
  static_cast<void>(setlistFiles.confirmSetlistChange());
  EXPECT_EQ(asked().alertStyle, NSAlert::Style::warning);
  EXPECT_EQ(asked().messageText, "Guardar cambios en el setlist actual?");
  EXPECT_EQ(asked().informativeText,
            "Vas a cambiar de setlist. Si continuas sin guardar, perderas los cambios realizados.");
}

TEST_F(SetlistGuard, AsksBeforeAChangeWithoutEditsToo) {
  static_cast<void>(setlistFiles.confirmSetlistChange());
  EXPECT_EQ(asked().alertStyle, NSAlert::Style::informational);
  EXPECT_EQ(asked().messageText, "Guardar el setlist actual?");
  EXPECT_EQ(asked().informativeText, "Vas a cambiar de setlist. Puedes guardar el setlist actual antes de continuar.");
}

TEST_F(SetlistGuard, WarnsOfUnsavedEditsBeforeTheEnd) {
  state.isDirty.set(true);
  setlistFiles.confirmTermination();
  EXPECT_EQ(asked().alertStyle, NSAlert::Style::warning);
  EXPECT_EQ(asked().messageText, "Guardar cambios en el setlist?");
  EXPECT_EQ(asked().informativeText, "Si sales sin guardar, perderas los cambios realizados.");
}

TEST_F(SetlistGuard, AsksBeforeTheEndWithoutEditsToo) {
  setlistFiles.confirmTermination();
  EXPECT_EQ(asked().alertStyle, NSAlert::Style::informational);
  EXPECT_EQ(asked().messageText, "Guardar el setlist antes de salir?");
  EXPECT_EQ(asked().informativeText, "Puedes guardar el setlist o salir sin guardar.");
}

TEST_F(SetlistGuard, OfFilesThatComeWhileItAsksOnlyTheNewestIsOpened) {
  openGig();
  const std::filesystem::path newest = "/home/me/newest.vrel";
  files.place(other, setlistText({"Three"}));
  files.place(newest, setlistText({"Four"}));
  desktop.alertAnswers = {doNotSaveButton};
  desktop.whileAsking = [this, newest] {
    setlistFiles.openRecentSetlist(gig);
    setlistFiles.openRecentSetlist(newest);
  };
  setlistFiles.openRecentSetlist(other);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Four"});
  desktop.alerts.clear();
  desktop.whileAsking = nullptr;
  desktop.alertAnswers = {cancelButton};
  setlistFiles.openRecentSetlist(other);
  EXPECT_EQ(desktop.alerts.size(), 1U) << "the next one asks again";
  EXPECT_EQ(songNames(), Names{"Four"});
}

TEST_F(SetlistGuard, TheAnswersOfAChange) {
  openGig();
  desktop.alertAnswers = {doNotSaveButton, cancelButton};
  EXPECT_TRUE(setlistFiles.confirmSetlistChange());
  EXPECT_FALSE(setlistFiles.confirmSetlistChange());
  EXPECT_FALSE(setlistFiles.confirmSetlistChange()) << "sent away without an answer";
  EXPECT_EQ(files.files[gig], setlistText({"One", "Two"})) << "none of them saves";
}

TEST_F(SetlistGuard, SaveWritesWhereTheSetlistCameFrom) {
  openGig();
  state.songNotes.set("saved by the guard");
  desktop.alertAnswers = {saveButton};
  EXPECT_TRUE(setlistFiles.confirmSetlistChange());
  EXPECT_THAT(desktop.savePanels, IsEmpty());
  EXPECT_EQ(decodeSetlist(files.files[gig]).value().songs[0].songNotes, "saved by the guard");
}

TEST_F(SetlistGuard, ASaveThatIsCancelledKeepsTheOldSetlistOnStage) {
  addSong("Mine", {record("Strip of Mine", "")});
  songSwitch.applySong(0);
  files.place(other, setlistText({"Three"}));
  desktop.openPanelAnswers = {other};
  desktop.alertAnswers = {saveButton};
  setlistFiles.openSetlist();
  EXPECT_EQ(desktop.savePanels.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Mine"});
  EXPECT_EQ(stripNames(), Names{"Strip of Mine"});
}

TEST_F(SetlistGuard, AFileThatIsChosenWhenLiveModeHasComeIsNotOpened) {
  openGig();
  files.place(other, setlistText({"Three"}));
  desktop.openPanelAnswers = {other};
  desktop.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
  setlistFiles.openSetlist();
  expectNothingChanged();
  EXPECT_THAT(desktop.alerts, IsEmpty());
}

TEST_F(SetlistGuard, AnsweredWhenLiveModeHasComeItKeepsTheStage) {
  openGig();
  files.place(other, setlistText({"Three"}));
  desktop.openPanelAnswers = {other};
  desktop.alertAnswers = {doNotSaveButton, doNotSaveButton};
  desktop.whileAsking = [this] { state.isLiveModeEnabled.set(!desktop.alerts.empty()); };
  setlistFiles.openSetlist();
  expectNothingChanged();
  state.isLiveModeEnabled.set(false);
  setlistFiles.newSetlist(true);
  expectNothingChanged();
  EXPECT_EQ(desktop.alerts.size(), 2U);
}

TEST_F(SetlistGuard, ANameThatIsChosenWhenLiveModeHasComeIsNotWritten) {
  openGig();
  desktop.savePanelAnswers = {other};
  desktop.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
  EXPECT_FALSE(setlistFiles.saveSetlistAs(false));
  EXPECT_FALSE(files.files.contains(other));
}

TEST_F(SetlistGuard, APanelStartsBesideTheOpenSetlist) {
  openGig();
  setlistFiles.openSetlist();
  setlistFiles.saveSetlistAs(false);
  ASSERT_EQ(desktop.openPanels.size(), 1U);
  EXPECT_EQ(desktop.openPanels[0].directory, gig.parent_path());
  ASSERT_EQ(desktop.savePanels.size(), 1U);
  EXPECT_EQ(desktop.savePanels[0].directory, gig.parent_path());
  state.currentFilePath.set(std::nullopt);
  setlistFiles.openSetlist();
  EXPECT_EQ(desktop.openPanels[1].directory, std::nullopt);
}

TEST_F(SetlistGuard, ASaveThatFailsKeepsTheOldSetlistOnStage) {
  openGig();
  files.readOnly.insert(gig);
  files.place(other, setlistText({"Three"}));
  desktop.alertAnswers = {saveButton};
  setlistFiles.openRecentSetlist(other);
  expectNothingChanged();
}

TEST_F(SetlistGuard, TheAnswersOfTheEnd) {
  openGig();
  desktop.alertAnswers = {saveButton, doNotSaveButton, cancelButton};
  for (int question = 0; question < 4; ++question) {
    setlistFiles.confirmTermination();
  }
  EXPECT_EQ(desktop.terminationReplies, (std::vector<bool>{true, true, false, false}));
}

TEST_F(SetlistGuard, TheProgramDoesNotEndOnASaveThatFailsOrIsCancelled) {
  openGig();
  files.readOnly.insert(gig);
  desktop.alertAnswers = {saveButton, saveButton};
  setlistFiles.confirmTermination();
  state.currentFilePath.set(std::nullopt);
  setlistFiles.confirmTermination();
  EXPECT_EQ(desktop.terminationReplies, (std::vector<bool>{false, false}));
  EXPECT_EQ(desktop.savePanels.size(), 1U);
}

TEST_F(SetlistGuard, AsksBeforeASetlistThatWaitedForPluginsReplacesEditsSince) {
  openGig();
  files.place(other, setlistText({"Three"}));
  for (const bool mayOpen : {false, true}) {
    state.isLookingForPlugins.set(true);
    setlistFiles.loadSetlist(other);
    mainQueue.advance(31);
    EXPECT_FALSE(state.showLoadingModal.get());
    state.markEdited();
    desktop.alerts.clear();
    desktop.alertAnswers = {mayOpen ? doNotSaveButton : cancelButton};
    state.isLookingForPlugins.set(false);
    settle();
    ASSERT_EQ(desktop.alerts.size(), 1U);
    EXPECT_EQ(desktop.alerts[0].messageText, "Guardar cambios en el setlist actual?");
    EXPECT_EQ(songNames(), mayOpen ? Names{"Three"} : (Names{"One", "Two"}));
    EXPECT_EQ(state.isDirty.get(), !mayOpen);
  }
}

TEST_F(SetlistGuard, DoesNotAskAgainForEditsThatWereGivenUpBeforePluginsWereFound) {
  openGig();
  files.place(other, setlistText({"Three"}));
  state.markEdited();
  state.isLookingForPlugins.set(true);
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openRecentSetlist(other);
  state.isLookingForPlugins.set(false);
  settle();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Three"});
}

TEST_F(SetlistGuard, KeepsTheStageInLiveModeWhenTheAwaitedPluginsAreFound) {
  for (const bool isEdited : {false, true}) {
    openGig();
    files.place(other, setlistText({"Three"}));
    state.isLookingForPlugins.set(true);
    setlistFiles.loadSetlist(other);
    if (isEdited) {
      state.markEdited();
    }
    state.isLiveModeEnabled.set(true);
    state.isLookingForPlugins.set(false);
    settle();
    EXPECT_THAT(desktop.alerts, IsEmpty());
    expectNothingChanged();
    EXPECT_FALSE(state.showLoadingModal.get());
    EXPECT_EQ(console.lines, std::vector<std::string>{"Failed to load setlist: Live mode has begun"});
    state.isLiveModeEnabled.set(false);
  }
}

/// With a setlist that waits for the plug-ins, which are found while the guard asks.
class AwaitedSetlist : public SetlistGuard {
 protected:
  AwaitedSetlist() {
    openGig();
    files.place(other, setlistText({"Three"}));
    state.isLookingForPlugins.set(true);
    setlistFiles.loadSetlist(other);
    desktop.whileAsking = [this] {
      state.isLookingForPlugins.set(false);
      EXPECT_EQ(songNames(), (Names{"One", "Two"})) << "which the question is about";
      EXPECT_TRUE(isFirst_ || state.isDirty.get()) << "asked again without edits";
      isFirst_ = false;
    };
  }

 private:
  bool isFirst_ = true;
};

TEST_F(AwaitedSetlist, ComesAfterAQuestionThatIsCancelled) {
  desktop.alertAnswers = {cancelButton};
  setlistFiles.newSetlist(true);
  settle();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Three"});
}

TEST_F(AwaitedSetlist, ComesAfterThePanelOfASaveWhichIsOfWhatWasThere) {
  const std::filesystem::path copy = "/home/me/copy.vrel";
  desktop.savePanelAnswers = {copy};
  EXPECT_TRUE(setlistFiles.saveSetlistAs(false));
  settle();
  EXPECT_EQ(namesOnDisk(copy), (Names{"One", "Two"}));
  EXPECT_EQ(songNames(), Names{"Three"});
}

TEST_F(AwaitedSetlist, DoesNotComeAfterANewOneThatIsWantedInstead) {
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.newSetlist(true);
  settle();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(AwaitedSetlist, IsAskedAboutByItsOwnAfterwardsWhereThereAreEdits) {
  state.markEdited();
  desktop.alertAnswers = {cancelButton, doNotSaveButton};
  setlistFiles.confirmTermination();
  settle();
  EXPECT_EQ(desktop.terminationReplies, std::vector{false});
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names{"Three"});
}

TEST_F(AwaitedSetlist, DoesNotComeAtTheEndOfTheProgram) {
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.confirmTermination();
  settle();
  EXPECT_EQ(desktop.terminationReplies, std::vector{true});
  EXPECT_EQ(songNames(), (Names{"One", "Two"}));
}

TEST_F(SetlistGuard, AsksOnceWhenPluginsAreFoundWhileItAsksAboutANewerSetlist) {
  openGig();
  files.place(other, setlistText({"Three"}));
  const std::filesystem::path newest = "/home/me/newest.vrel";
  files.place(newest, setlistText({"Four"}));
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(other);
  mainQueue.advance(31);
  state.markEdited();
  desktop.whileAsking = [this] { state.isLookingForPlugins.set(false); };
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openRecentSetlist(newest);
  settle();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names{"Four"});
}

}  // namespace
}  // namespace vrel
