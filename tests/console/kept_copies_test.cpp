// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/kept_copies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class KeptVersions : public SetlistFilesStage {
 protected:
  void save(const std::vector<std::string>& names) {
    std::vector<SongConfig> songs;
    for (const auto& name : names) {
      songs.push_back(SongConfig{.name = name});
    }
    state.songs.set(songs);
    EXPECT_TRUE(setlistFiles.writeSetlist(gig));
  }

  void readAll() {
    auto& queue = queues.queue("vrel.kept.copies");
    while (queue.pendingCount() > 0) {
      queue.runAll();
      settle();
    }
  }

  void openPage() {
    page.open();
    readAll();
  }

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& row : page.rows.get()) {
      all.push_back(row.isGood ? row.songNames : "damaged");
    }
    return all;
  }

  [[nodiscard]] std::filesystem::path pathOf(std::size_t row) const { return page.rows.get().at(row).path; }

  KeptCopies page{{state, copies, setlistFiles, mainQueue, &queues, {std::shared_ptr<void>(), &files}}};
};

TEST_F(KeptVersions, AreListedNewestFirstWithTheirTimesAndSongs) {
  save({"One"});
  save({"One", "Two"});
  save({"Three"});
  files.times[copies.copiesOf(gig).at(0)] = 1'700'000'000;
  openPage();
  EXPECT_TRUE(page.isShown.get());
  EXPECT_EQ(names(), (std::vector<std::string>{"One, Two", "One"}));
  EXPECT_EQ(page.rows.get()[0].seconds, 1'700'000'000);
  EXPECT_EQ(page.rows.get()[1].seconds, std::nullopt);
  EXPECT_EQ(page.describe(page.rows.get()[0]), "Songs: 2. One, Two");
  EXPECT_EQ(page.statusText(), gig.string());
}

TEST_F(KeptVersions, AreReadBesideTheMainThreadAndNotAnyMoreOnceThePageIsClosed) {
  save({"One"});
  save({"Two"});
  page.open();
  EXPECT_TRUE(page.isReading.get());
  EXPECT_THAT(page.rows.get(), IsEmpty());
  page.close();
  readAll();
  EXPECT_THAT(page.rows.get(), IsEmpty());
  EXPECT_FALSE(page.isReading.get());
  openPage();
  EXPECT_THAT(page.rows.get(), SizeIs(1));
  EXPECT_FALSE(page.isReading.get());
}

TEST_F(KeptVersions, AreLookedForBesideTheMainThread) {
  save({"One"});
  save({"Two"});
  page.open();
  save({"Three"});
  readAll();
  EXPECT_EQ(names(), (std::vector<std::string>{"Two", "One"})) << "those that there are when the other thread looks";
}

TEST_F(KeptVersions, WhereNothingIsKeptThePageSaysSoOnceThatIsKnown) {
  save({"One"});
  page.open();
  EXPECT_EQ(page.statusText(), gig.string());
  readAll();
  EXPECT_FALSE(page.isReading.get());
  EXPECT_THAT(page.statusText(), HasSubstr("Nothing is kept"));
}

TEST_F(KeptVersions, OneThatIsDamagedIsShownAsSuchAndNotOpened) {
  save({"One"});
  save({"Two"});
  save({"Three"});
  files.files[copies.copiesOf(gig).at(0)].resize(20);
  openPage();
  EXPECT_EQ(names(), (std::vector<std::string>{"damaged", "One"}));
  EXPECT_THAT(page.describe(page.rows.get()[0]), HasSubstr("damaged"));
  page.restore(pathOf(0));
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_EQ(songNames(), std::vector<std::string>{"Three"});
}

TEST_F(KeptVersions, OneThatIsRestoredAsksFirstAndIsSavedToTheOldPlace) {
  save({"One"});
  save({"Two"});
  openPage();
  desktop.alertAnswers = {cancelButton, doNotSaveButton};
  page.restore(pathOf(0));
  EXPECT_EQ(songNames(), std::vector<std::string>{"Two"});
  openPage();
  page.restore(pathOf(0));
  EXPECT_FALSE(page.isShown.get());
  EXPECT_EQ(songNames(), std::vector<std::string>{"One"});
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(namesOnDisk(gig), std::vector<std::string>{"One"});
  EXPECT_THAT(desktop.alerts, SizeIs(2));
}

TEST_F(KeptVersions, TheOldestIsThereForItsRestoreThoughTheSaveBeforeMakesANewOne) {
  for (int version = 1; version <= 21; ++version) {
    save({"v" + std::to_string(version)});
  }
  state.songs.set({SongConfig{.name = "edited"}});
  openPage();
  ASSERT_THAT(page.rows.get(), SizeIs(20));
  ASSERT_EQ(names().back(), "v1");
  desktop.alertAnswers = {saveButton};
  page.restore(pathOf(19));
  EXPECT_EQ(namesOnDisk(gig), std::vector<std::string>{"edited"});
  EXPECT_EQ(songNames(), std::vector<std::string>{"v1"});
}

TEST_F(KeptVersions, WithoutItsPathFileOneIsStillSavedToTheOldPlace) {
  save({"One"});
  save({"Two"});
  files.files.erase(copies.directoryOf(gig).string() + ".path");
  openPage();
  desktop.alertAnswers = {doNotSaveButton};
  page.restore(pathOf(0));
  EXPECT_EQ(songNames(), std::vector<std::string>{"One"});
  EXPECT_EQ(state.currentFilePath.get(), gig);
}

TEST_F(KeptVersions, ThoseOfASetlistThatCouldNotBeOpenedAreShown) {
  save({"One"});
  save({"Two"});
  state.currentFilePath.set("/home/me/other.vrel");
  files.files[gig].resize(20);
  setlistFiles.loadSetlist(gig);
  openPage();
  EXPECT_EQ(names(), std::vector<std::string>{"One"});
}

TEST_F(KeptVersions, InLiveModeNothingIsShownOrRestored) {
  save({"One"});
  save({"Two"});
  openPage();
  state.isLiveModeEnabled.set(true);
  page.restore(pathOf(0));
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_EQ(songNames(), std::vector<std::string>{"Two"});
  page.close();
  page.open();
  EXPECT_FALSE(page.isShown.get());
}

TEST_F(KeptVersions, OfASetlistThatWasNeverSavedThereAreNone) {
  openPage();
  EXPECT_TRUE(page.isShown.get());
  EXPECT_THAT(page.rows.get(), IsEmpty());
  EXPECT_THAT(page.statusText(), HasSubstr("Nothing is kept"));
}

TEST_F(KeptVersions, OneThatIsNotListedIsNotOpened) {
  files.place("/home/me/stranger.vrel", setlistText({"Stranger"}));
  save({"One"});
  save({"Two"});
  openPage();
  page.restore("/home/me/stranger.vrel");
  page.restore("");
  EXPECT_THAT(desktop.alerts, IsEmpty());
}

}  // namespace
}  // namespace vrel
