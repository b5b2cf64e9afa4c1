// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/unsaved_edits.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "console/unsaved_edits_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EditsOfAFormerRun : public UnsavedEditsStage {
 protected:
  /// The next run offers what was kept, and gets this answer.
  std::unique_ptr<UnsavedEdits> answerNextRun(std::size_t button) {
    auto next = startAgain();
    desktop.alertAnswers = {button};
    next->offer();
    return next;
  }
};

TEST_F(EditsOfAFormerRun, AreOfferedAfterACrashWithTheNamesOfTheirSongs) {
  keepEdits();
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

TEST_F(EditsOfAFormerRun, AreKeptOnceMoreBeforeTheFormerOnesGo) {
  keepEdits();
  const auto next = answerNextRun(openButton);
  EXPECT_TRUE(files.files.contains(kept)) << "until this run has them";
  keep();
  EXPECT_EQ(namesOnDisk(folder / "next.vrel"), Names({"New", "Two"}));
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
}

TEST_F(EditsOfAFormerRun, GoWithASaveThatComesSoonAfterTheyWereOpened) {
  keepEdits();
  const auto next = answerNextRun(openButton);
  ASSERT_TRUE(setlistFiles.saveSetlist());
  write();
  EXPECT_EQ(namesOnDisk(gig), Names({"New", "Two"}));
  EXPECT_FALSE(files.files.contains(kept));
}

TEST_F(EditsOfAFormerRun, OfACollectedSetlistBelongToItsNewPlaceWhereItIsKnown) {
  const std::filesystem::path before = "/stick/Gig/Gig.vrel";
  const std::filesystem::path now = "/home/me/Gig/Gig.vrel";
  const std::string trackBefore = "/stick/Gig/files/take.wav";
  const std::string trackNow = "/home/me/Gig/files/take.wav";
  SetlistFile collected;
  collected.collectedFolder = "/stick/Gig";
  collected.songs.emplace_back().channels = {{.pluginPath = "internal:playback", .playbackFilePath = trackBefore}};
  files.place(before, encodeSetlist(collected).value());
  files.place(trackBefore, "");
  setlistFiles.loadSetlist(before);
  settle();
  rename("Edited");
  keep();
  auto next = startAgain();
  const auto bytes = files.files.at(before);
  files.files.erase(before);
  files.files.erase(trackBefore);
  files.place(trackNow, "");
  setlistFiles.newSetlist(false);
  desktop.alertAnswers = {openButton};
  next->offer();
  settle();
  EXPECT_EQ(state.currentFilePath.get(), before) << "nobody knows where it is";
  EXPECT_EQ(strip(0).playbackFilePath.get(), trackBefore);

  next = startAgain("third");
  files.place(now, bytes);
  setlistFiles.loadSetlist(now);
  desktop.alertAnswers = {openButton};
  next->offer();
  settle();
  EXPECT_EQ(songNames(), Names{"Edited"});
  EXPECT_EQ(state.currentFilePath.get(), now);
  EXPECT_EQ(strip(0).playbackFilePath.get(), trackNow);
  EXPECT_EQ(setlistFiles.collectedFolder(), "/home/me/Gig");
}

TEST_F(EditsOfAFormerRun, GoWhenTheyAreDiscarded) {
  keepEdits();
  const auto next = answerNextRun(discardButton);
  EXPECT_FALSE(files.files.contains(kept));
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 1U) << "asked once";
}

TEST_F(EditsOfAFormerRun, AreOfferedAgainWithoutAnAnswer) {
  keepEdits();
  auto next = startAgain();
  next->offer();
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names({"New", "Two"})) << "nothing has changed";
}

TEST_F(EditsOfAFormerRun, OfARunThatIsStillThereAreItsOwn) {
  keepEdits();
  running = {"first"};
  auto next = startAgain();
  next->offer();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_TRUE(files.files.contains(kept));
}

TEST_F(EditsOfAFormerRun, AreOfferedWhenThePluginsAreFound) {
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

TEST_F(EditsOfAFormerRun, AreOfferedBehindTheSetlistThatIsBeingRead) {
  files.place(gig, setlistText({"One", "Two"}));
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  desktop.whileAsking = [this] { EXPECT_EQ(songNames(), Names({"One", "Two"})); };
  background.whileWorking = [&] { next->offer(); };
  setlistFiles.loadSetlist(gig);
  settle();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names({"A"}));
}

TEST_F(EditsOfAFormerRun, AreReadBesideTheMainThreadAndNotOfferedInLiveModeThatBeganMeanwhile) {
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  background.whileWorking = [this] { state.isLiveModeEnabled.set(true); };
  next->offer();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  state.isLiveModeEnabled.set(false);
  mainQueue.advance(UnsavedEdits::offerSeconds);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(songNames(), Names({"A"}));
}

TEST_F(EditsOfAFormerRun, OfSeveralRunsAreOfferedOneAfterTheOther) {
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

TEST_F(EditsOfAFormerRun, OfASetlistWithoutAFileHaveNoPlace) {
  setlistFiles.newSetlist(false);
  rename("New");
  keep();
  EXPECT_FALSE(files.files.contains(folder / "first.path"));
  const auto next = answerNextRun(openButton);
  EXPECT_EQ(desktop.alerts.at(0).messageText, "Open the unsaved edits of an untitled setlist?");
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(EditsOfAFormerRun, ThatAreDamagedAreLoggedAndNotOffered) {
  files.place(folder / "a.vrel", "{");
  auto next = startAgain();
  next->offer();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to read unsaved edits")));
}

TEST_F(EditsOfAFormerRun, AreOfferedBehindLiveModeAndAnotherQuestion) {
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  state.isLiveModeEnabled.set(true);
  next->offer();
  mainQueue.advance(UnsavedEdits::offerSeconds + 0.1);
  EXPECT_THAT(desktop.alerts, IsEmpty());
  state.isLiveModeEnabled.set(false);
  desktop.whileAsking = [&] {
    mainQueue.advance(UnsavedEdits::offerSeconds + 0.1);
    EXPECT_EQ(desktop.alerts.size(), 1U) << "the other question only";
  };
  EXPECT_FALSE(setlistFiles.confirmSetlistChange());
  desktop.whileAsking = nullptr;
  mainQueue.advance(UnsavedEdits::offerSeconds + 0.1);
  EXPECT_EQ(desktop.alerts.size(), 2U);
}

TEST_F(EditsOfAFormerRun, AreNotOpenedInLiveModeThatBeganMeanwhile) {
  openGig();
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  desktop.alertAnswers = {openButton};
  desktop.whileAsking = [&] { state.isLiveModeEnabled.set(true); };
  next->offer();
  EXPECT_EQ(songNames(), Names({"One", "Two"}));
  EXPECT_TRUE(files.files.contains(folder / "a.vrel")) << "offered at the next start";
}

TEST_F(EditsOfAFormerRun, AreOpenedInPlaceOfOtherEditsOnlyAfterTheUsualQuestion) {
  openGig();
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  rename("New");
  desktop.alertAnswers = {openButton, cancelButton};
  next->offer();
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(songNames(), Names({"New", "Two"}));
  desktop.alertAnswers = {openButton, saveButton};
  next->offer();
  EXPECT_EQ(namesOnDisk(gig), Names({"New", "Two"}));
  EXPECT_EQ(songNames(), Names({"A"}));
}

TEST_F(EditsOfAFormerRun, OfAFormerRunStayUntilAWriteThatBeganWithThem) {
  openGig();
  files.place(folder / "a.vrel", setlistText({"A"}));
  auto next = startAgain();
  rename("New");
  mainQueue.advance(afterKeeping);  // the write is on its way
  desktop.alertAnswers = {openButton, doNotSaveButton};
  next->offer();
  ASSERT_EQ(songNames(), Names({"A"}));
  write();
  EXPECT_TRUE(files.files.contains(folder / "a.vrel"));
  keep();
  EXPECT_EQ(namesOnDisk(folder / "next.vrel"), Names({"A"}));
  EXPECT_FALSE(files.files.contains(folder / "a.vrel"));
}

TEST_F(EditsOfAFormerRun, AreAskedForInTheLanguageOfTheSession) {
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
