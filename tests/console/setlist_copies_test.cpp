// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_copies.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class CopiesOfSetlists : public SetlistFilesStage {
 protected:
  /// Saves a setlist whose only song has this name.
  bool save(const std::string& name) { return saveTo(gig, name); }
  bool saveTo(const std::filesystem::path& path, const std::string& name) {
    state.songs.set({SongConfig{.name = name}});
    return setlistFiles.writeSetlist(path);
  }

  /// The songs in the copies, newest first.
  [[nodiscard]] Names kept(const std::filesystem::path& path) const {
    Names names;
    for (const auto& copy : copies.copiesOf(path)) {
      names.push_back(namesOnDisk(copy).value_or(Names{"not readable"}).at(0));
    }
    return names;
  }
};

TEST_F(CopiesOfSetlists, TheFirstSaveOfAFileOverwritesNothingAndKeepsNothing) {
  EXPECT_TRUE(save("v1"));
  EXPECT_THAT(copies.copiesOf(gig), IsEmpty());
  EXPECT_FALSE(files.directories.contains(copiesFolder));
}

TEST_F(CopiesOfSetlists, EachSaveKeepsWhatItOverwrites) {
  save("v1");
  save("v2");
  save("v3");
  EXPECT_EQ(kept(gig), (Names{"v2", "v1"}));
  EXPECT_EQ(namesOnDisk(gig), Names{"v3"});
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(CopiesOfSetlists, ACopyIsTheFileToTheByte) {
  const std::string bytes = "\n " + setlistText({"v1"}) + " \n";
  files.place(gig, bytes);
  save("v2");
  EXPECT_EQ(files.files[copies.copiesOf(gig).at(0)], bytes);
}

TEST_F(CopiesOfSetlists, TheLast20AreKept) {
  for (int version = 1; version <= 30; ++version) {
    EXPECT_TRUE(save("v" + std::to_string(version)));
  }
  const auto names = kept(gig);
  ASSERT_THAT(names, SizeIs(20));
  EXPECT_EQ(names.front(), "v29");
  EXPECT_EQ(names.back(), "v10");
  EXPECT_THAT(files.fileNames(copies.directoryOf(gig)), SizeIs(20));
}

TEST_F(CopiesOfSetlists, WhatTheNewestCopyHoldsIsNotKeptTwice) {
  save("v1");
  for (int time = 0; time < 5; ++time) {
    save("v1");
  }
  EXPECT_EQ(kept(gig), Names{"v1"});
  save("v2");
  EXPECT_EQ(kept(gig), Names{"v1"}) << "v1 is in the newest copy already";
  save("v1");
  EXPECT_EQ(kept(gig), (Names{"v2", "v1"}));
}

TEST_F(CopiesOfSetlists, ADamagedFileIsOverwrittenAndPushesNoGoodCopyOut) {
  save("v1");
  save("v2");
  for (int time = 0; time < 25; ++time) {
    files.files[gig] = setlistText({"broken"}).substr(0, 40 + static_cast<std::size_t>(time));
    EXPECT_TRUE(save("v3"));
  }
  EXPECT_EQ(kept(gig), Names{"v1"});
  EXPECT_EQ(namesOnDisk(gig), Names{"v3"});
}

TEST_F(CopiesOfSetlists, ASetlistOfTheOldestFormIsAGoodOne) {
  files.place(gig, R"([{"name":"oldest"}])");
  save("v2");
  EXPECT_EQ(kept(gig), Names{"oldest"});
}

TEST_F(CopiesOfSetlists, FilesOfOneNameInTwoPlacesShareNothing) {
  files.placeDirectory("/a");
  files.placeDirectory("/b");
  for (const char* version : {"1", "2"}) {
    saveTo("/a/gig.vrel", std::string("a") + version);
    saveTo("/b/gig.vrel", std::string("b") + version);
  }
  EXPECT_EQ(kept("/a/gig.vrel"), Names{"a1"});
  EXPECT_EQ(kept("/b/gig.vrel"), Names{"b1"});
}

TEST_F(CopiesOfSetlists, AFileHasTheSameCopiesUnderEveryPathToIt) {
  save("v1");
  save("v2");
  files.links["/home/me/current.vrel"] = gig;
  EXPECT_EQ(kept("/home/me/current.vrel"), Names{"v1"});
  EXPECT_EQ(kept("/home/me/x/../gig.vrel"), Names{"v1"});
}

TEST_F(CopiesOfSetlists, TheirFolderIsNamedAfterTheFileWhateverItIsCalled) {
  EXPECT_THAT(copies.directoryOf(gig).filename().string(), StartsWith("gig.vrel-"));
  EXPECT_EQ(copies.directoryOf(gig).parent_path(), copiesFolder);
  std::set<std::filesystem::path> folders;
  for (const std::string& name : {std::string(255, 'x'), std::string(254, 'x') + "y", std::string(250, '\x80'),
                                  "a" + std::string(127, '\xC3') + "\xA9", std::string("..."), std::string("%s\n")}) {
    const auto folder = copies.directoryOf("/" + name);
    EXPECT_LE(folder.filename().string().size(), 255U);
    EXPECT_EQ(folder.parent_path(), copiesFolder);
    folders.insert(folder);
  }
  EXPECT_THAT(folders, SizeIs(6));
}

TEST_F(CopiesOfSetlists, ALongNameIsCutBetweenCharacters) {
  std::string name = "a";
  for (int letter = 0; letter < 100; ++letter) {
    name += "\xC3\xA9";
  }
  const auto folder = copies.directoryOf("/" + name).filename().string();
  EXPECT_EQ(folder.substr(0, folder.rfind('-')), name.substr(0, 99));
}

TEST_F(CopiesOfSetlists, OpeningADamagedFileLogsWhereTheyAre) {
  save("v1");
  save("v2");
  files.files[gig] = files.files[gig].substr(0, 20);
  setlistFiles.loadSetlist(gig);
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to load setlist: "),
                                         "Earlier versions of it are kept in " + copies.directoryOf(gig).string()));
  setlistFiles.loadSetlist(copies.copiesOf(gig).at(0));
  EXPECT_EQ(songNames(), Names{"v1"});
}

TEST_F(CopiesOfSetlists, WithoutAnyNothingIsSaidOfThem) {
  files.place(gig, "broken");
  setlistFiles.loadSetlist(gig);
  EXPECT_THAT(console.lines, SizeIs(1));
}

TEST_F(CopiesOfSetlists, ADamagedSetlistOffersItsNewestGoodCopyWhichIsSavedToItsPlace) {
  save("v1");
  save("v2");
  save("v3");
  files.files[copies.copiesOf(gig).at(0)] = "damaged, too";
  files.files[gig].resize(20);
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(setlistFiles.damagedSetlist.get(), gig);
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openNewestCopy();
  EXPECT_EQ(songNames(), Names{"v1"});
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_EQ(state.recentFiles.get().front(), gig);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_EQ(setlistFiles.damagedSetlist.get(), std::nullopt);
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(namesOnDisk(gig), Names{"v1"});
}

TEST_F(CopiesOfSetlists, ACopyThatIsOpenedByHandIsSavedToThePlaceOfItsSetlist) {
  save("v1");
  save("v2");
  setlistFiles.loadSetlist(copies.copiesOf(gig).at(0));
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(namesOnDisk(gig), Names{"v1"});
  EXPECT_EQ(kept(gig), (Names{"v2", "v1"}));
}

TEST_F(CopiesOfSetlists, ACopyWhosePathFileIsMissingIsSavedToTheDamagedPlace) {
  save("v1");
  save("v2");
  files.files.erase(copies.directoryOf(gig).string() + ".path");
  files.files[gig].resize(20);
  setlistFiles.loadSetlist(gig);
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openNewestCopy();
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(namesOnDisk(gig), Names{"v1"});
}

TEST_F(CopiesOfSetlists, APathFileThatIsMissingIsWrittenByTheNextSave) {
  save("v1");
  save("v2");
  save("v1");
  const std::string pathFile = copies.directoryOf(gig).string() + ".path";
  files.files.erase(pathFile);
  files.files[gig] = files.files[copies.copiesOf(gig).at(0)];
  save("v3");
  EXPECT_EQ(files.files[pathFile], gig) << "though the newest copy held the file already";
}

TEST_F(CopiesOfSetlists, NothingIsOfferedWithoutAGoodCopyNorOpenedInLiveMode) {
  save("v1");
  files.files[gig].resize(20);
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(setlistFiles.damagedSetlist.get(), std::nullopt);
  save("v2");
  save("v3");
  files.files[gig].resize(20);
  setlistFiles.loadSetlist(gig);
  ASSERT_EQ(setlistFiles.damagedSetlist.get(), gig);
  state.isLiveModeEnabled.set(true);
  setlistFiles.openNewestCopy();
  EXPECT_EQ(songNames(), Names{"v3"});
  EXPECT_THAT(desktop.alerts, IsEmpty());
  state.isLiveModeEnabled.set(false);
  desktop.alertAnswers = {cancelButton};
  setlistFiles.openNewestCopy();
  EXPECT_EQ(songNames(), Names{"v3"});
  save("v4");
  EXPECT_EQ(setlistFiles.damagedSetlist.get(), std::nullopt) << "a save mends it";
}

// What goes wrong with a copy stops no save.

TEST_F(CopiesOfSetlists, AFolderThatCannotBeCreatedIsLoggedAndTheSaveContinues) {
  save("v1");
  files.readOnly.insert("/home/me/state");
  files.placeDirectory("/home/me/state");
  EXPECT_TRUE(save("v2"));
  EXPECT_EQ(namesOnDisk(gig), Names{"v2"});
  EXPECT_EQ(console.lines,
            Lines{"Failed to keep a copy of /home/me/gig.vrel: /home/me/state/copies: Permission denied"});
}

TEST_F(CopiesOfSetlists, AFullDiskIsLoggedAndTheSaveContinuesIfItFits) {
  save("v1");
  files.freeBytes = 3;
  EXPECT_FALSE(save("v2"));
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to keep a copy of /home/me/gig.vrel: "),
                                         StartsWith("Failed to save setlist: ")));
  EXPECT_THAT(files.fileNames(copies.directoryOf(gig)), IsEmpty()) << "nothing half written stays";
}

TEST_F(CopiesOfSetlists, AFullDiskLosesNoCopyThatIsThere) {
  for (int version = 1; version <= 25; ++version) {
    save("v" + std::to_string(version));
  }
  files.freeBytes = 3;
  save("v26");
  EXPECT_THAT(kept(gig), SizeIs(20));
  EXPECT_EQ(kept(gig).front(), "v24");
}

TEST_F(CopiesOfSetlists, AFileThatCanBeWrittenButNotReadIsLoggedAndSaved) {
  save("v1");
  files.unreadable.insert(gig);
  EXPECT_TRUE(save("v2"));
  EXPECT_EQ(console.lines, Lines{"Failed to keep a copy of /home/me/gig.vrel: /home/me/gig.vrel: Permission denied"});
}

TEST_F(CopiesOfSetlists, AMissingStateFolderIsLogged) {
  SetlistCopies nowhere(files, console, "");
  files.place(gig, setlistText({"v1"}));
  EXPECT_FALSE(nowhere.keep(gig));
  EXPECT_EQ(console.lines, Lines{"Failed to keep a copy of /home/me/gig.vrel: "
                                 "no state folder (HOME and XDG_STATE_HOME are not set)"});
  EXPECT_THAT(nowhere.copiesOf(gig), IsEmpty());
}

TEST_F(CopiesOfSetlists, CopiesThatCannotBeRemovedDoNotStopASave) {
  for (int version = 1; version <= 21; ++version) {
    save("v" + std::to_string(version));
  }
  files.readOnly.insert(copies.directoryOf(gig));
  EXPECT_TRUE(save("v22"));
  EXPECT_EQ(namesOnDisk(gig), Names{"v22"});
}

TEST_F(CopiesOfSetlists, WhatElseLiesInTheirFolderIsNotTouched) {
  save("v1");
  save("v2");
  const auto folder = copies.directoryOf(gig);
  const Names strangers{"notes.txt", "12.vrel", "000001.vrel2", "99999999999999999999.vrel", "x000001.vrel", ".vrel"};
  for (const auto& name : strangers) {
    files.place(folder / name, "mine");
  }
  for (int version = 3; version <= 40; ++version) {
    save("v" + std::to_string(version));
  }
  EXPECT_THAT(kept(gig), SizeIs(20));
  EXPECT_EQ(kept(gig).front(), "v39");
  for (const auto& name : {"notes.txt", "12.vrel", "99999999999999999999.vrel", "x000001.vrel", ".vrel"}) {
    EXPECT_EQ(files.files[folder / name], "mine") << name;
  }
}

// The power fails at any step of a save: the old version or the new one can be opened afterwards.

class PowerCut : public CopiesOfSetlists {
 protected:
  /// What can be opened: the file, or the newest copy that can.
  [[nodiscard]] std::optional<Names> opened() {
    auto names = namesOnDisk(gig);
    for (const auto& copy : copies.copiesOf(gig)) {
      names = names ? names : namesOnDisk(copy);
    }
    return names;
  }

  /// Cuts the power at every step of saving "new" over the disk as it is, until a save gets through.
  void cutAtEveryStep(const Names& oldSongs) {
    const auto disk = files.files;
    const auto directories = files.directories;
    bool wasDamaged = false;
    for (std::size_t steps = 0;; ++steps) {
      files.files = disk;
      files.directories = directories;
      files.stepsTaken = 0;
      files.stepsBeforePowerCut = steps;
      const bool isSaved = save("new");
      const bool wasCut = files.isPowerCut();
      files.bringPowerBack();
      const auto songs = opened();
      EXPECT_TRUE(songs == oldSongs || songs == Names{"new"}) << "cut after step " << steps;
      wasDamaged = wasDamaged || !namesOnDisk(gig);
      EXPECT_THAT(kept(gig), testing::Not(testing::Contains("not readable")));
      if (isSaved && !wasCut) {
        EXPECT_EQ(songs, Names{"new"});
        EXPECT_GT(steps, 10U);
        break;
      }
      EXPECT_TRUE(save("after")) << "and the next save is a save";
      EXPECT_EQ(namesOnDisk(gig), Names{"after"});
      EXPECT_LE(files.fileNames(copies.directoryOf(gig)).size(), 20U);
    }
    EXPECT_TRUE(wasDamaged) << "or the copies were not needed";
  }
};

TEST_F(PowerCut, InTheFirstSaveThatOverwritesCostsNothing) {
  save("old");
  cutAtEveryStep({"old"});
}

TEST_F(PowerCut, InASaveWhoseCopyCouldNotBeMadeCostsNothing) {
  save("old");
  files.placeDirectory("/home/me/state");
  files.readOnly.insert("/home/me/state");
  for (std::size_t steps = 0;; ++steps) {
    files.stepsTaken = 0;
    files.stepsBeforePowerCut = steps;
    const bool isSaved = save("new");
    files.bringPowerBack();
    ASSERT_TRUE(namesOnDisk(gig) == Names{"old"} || namesOnDisk(gig) == Names{"new"}) << "cut after step " << steps;
    if (isSaved) {
      break;
    }
    files.files[gig] = setlistText({"old"});
  }
  EXPECT_EQ(namesOnDisk(gig), Names{"new"});
}

TEST_F(PowerCut, InASaveThatDropsTheOldestCopyCostsNothing) {
  for (int version = 1; version <= 21; ++version) {
    save("v" + std::to_string(version));
  }
  save("old");
  cutAtEveryStep({"old"});
}

TEST_F(PowerCut, InASaveOverAFileThatAnEarlierOneHasDamagedCostsNothing) {
  save("v1");
  save("v2");
  files.files[gig].resize(30);
  cutAtEveryStep({"v1"});
}

TEST_F(PowerCut, InASaveOverAFileThatCannotBeOpenedLeavesTheOldBytesOrTheNew) {
  const std::string broken = setlistText({"old"}).substr(0, 60);
  files.place(gig, broken);
  bool isSaved = false;
  for (std::size_t steps = 0; !isSaved; ++steps) {
    files.stepsTaken = 0;
    files.stepsBeforePowerCut = steps;
    isSaved = save("new");
    files.bringPowerBack();
    ASSERT_TRUE(files.files[gig] == broken || namesOnDisk(gig) == Names{"new"}) << "cut after step " << steps;
    files.files[gig] = isSaved ? files.files[gig] : broken;
  }
  EXPECT_EQ(namesOnDisk(gig), Names{"new"});
}

}  // namespace
}  // namespace vrel
