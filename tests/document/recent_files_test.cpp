// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "document/app_state.h"
#include "document/recent_files_coding.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_components.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/simulated_user_defaults.h"
#include "simulation/virtual_time.h"

namespace vrel {
namespace {

using Paths = std::vector<std::filesystem::path>;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class RecentFiles : public testing::Test {
 protected:
  RecentFiles() { files.placeDirectory(recentPath.parent_path()); }

  AppState& start() {
    return state.emplace(AppState::Collaborators{defaults, components, mainQueue, console, files}, recentPath);
  }

  void placeSetlists(const Paths& paths) {
    for (const auto& path : paths) {
      files.place(path, "{}");
    }
  }

  [[nodiscard]] Paths stored() {
    const auto paths = decodeRecentFiles(files.files[recentPath]);
    return paths ? paths.value() : Paths{"not readable"};
  }

  const std::filesystem::path recentPath = "/home/me/recent_setlists.json";
  simulation::SimulatedUserDefaults defaults;
  simulation::SimulatedComponentManager components;
  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::RecordingConsole console;
  simulation::SimulatedFileManager files;
  std::optional<AppState> state;
};

TEST_F(RecentFiles, WithoutAFileTheListIsEmptyAndNothingIsSaidOrWritten) {
  EXPECT_THAT(start().recentFiles.get(), IsEmpty());
  EXPECT_EQ(state->recentFilesPath, recentPath);
  EXPECT_THAT(console.lines, IsEmpty());
  EXPECT_EQ(files.stepsTaken, 0U);
}

TEST_F(RecentFiles, TheListOutlivesTheProgramInItsOrder) {
  placeSetlists({"/a.vrel", "/b.vrel"});
  start().addRecentFile("/a.vrel");
  state->addRecentFile("/b.vrel");
  EXPECT_EQ(start().recentFiles.get(), (Paths{"/b.vrel", "/a.vrel"}));
}

TEST_F(RecentFiles, AnEntryThatIsAddedAgainMovesToTheHeadAndIsListedOnce) {
  start().addRecentFile("/a.vrel");
  state->addRecentFile("/b.vrel");
  state->addRecentFile("/c.vrel");
  state->addRecentFile("/a.vrel");
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/a.vrel", "/c.vrel", "/b.vrel"}));
  EXPECT_EQ(stored(), state->recentFiles.get());
}

TEST_F(RecentFiles, TheSixthFallsOff) {
  start();
  for (const char* path : {"/1", "/2", "/3", "/4", "/5", "/6"}) {
    state->addRecentFile(path);
  }
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/6", "/5", "/4", "/3", "/2"}));
  EXPECT_EQ(stored(), state->recentFiles.get());
}

TEST_F(RecentFiles, DeletedOnesVanishAtTheNextStartAndFromTheDiskAtTheNextWrite) {
  placeSetlists({"/a.vrel", "/b.vrel", "/c.vrel"});
  for (const char* path : {"/a.vrel", "/b.vrel", "/c.vrel"}) {
    (state ? *state : start()).addRecentFile(path);
  }
  files.files.erase("/b.vrel");
  EXPECT_EQ(start().recentFiles.get(), (Paths{"/c.vrel", "/a.vrel"}));
  EXPECT_EQ(stored(), (Paths{"/c.vrel", "/b.vrel", "/a.vrel"}));
  state->addRecentFile("/a.vrel");
  EXPECT_EQ(stored(), (Paths{"/a.vrel", "/c.vrel"}));
}

TEST_F(RecentFiles, TheListIsWrittenBesideTheMainThreadInTheOrderOfItsChangesAndBeforeTheEnd) {
  simulation::CrankedQueueFactory queues;
  state.emplace(AppState::Collaborators{defaults, components, mainQueue, console, files, &queues}, recentPath);
  state->addRecentFile("/a.vrel");
  state->addRecentFile("/b.vrel");
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/b.vrel", "/a.vrel"})) << "at once, whoever looks";
  EXPECT_FALSE(files.files.contains(recentPath));
  queues.queue("vrel.recent.list").runOne();
  EXPECT_EQ(stored(), (Paths{"/a.vrel"}));
  state.reset();
  EXPECT_EQ(stored(), (Paths{"/b.vrel", "/a.vrel"}));
}

TEST_F(RecentFiles, ClearingEmptiesTheListHereAndOnTheDisk) {
  start().addRecentFile("/a.vrel");
  state->clearRecentFiles();
  EXPECT_THAT(state->recentFiles.get(), IsEmpty());
  EXPECT_EQ(files.files[recentPath], "[]");
}

TEST_F(RecentFiles, TheyAreReadBetweenTheSettingsAndTheScan) {
  class ScanWatch : public AVAudioUnitComponentManager {
   public:
    explicit ScanWatch(simulation::RecordingConsole& log) : console(log) {}
    std::vector<AVAudioUnitComponent> componentsMatchingDescription(
        const AudioComponentDescription& /*type*/) override {
      console.print("scan");
      return {};
    }
    simulation::RecordingConsole& console;
  } scan(console);
  files.place(recentPath, "broken");
  const AppState session({defaults, scan, mainQueue, console, files}, recentPath);
  ASSERT_GE(console.lines.size(), 2U);
  EXPECT_THAT(console.lines[0], StartsWith("Failed to load recent files: "));
  EXPECT_EQ(console.lines[1], "scan");
}

TEST_F(RecentFiles, ADamagedListIsEmptyAndLoggedAndStaysUntilTheNextWrite) {
  for (const std::string damaged : {"", "[\"/a.vrel\"", R"({"recent":[]})", R"(["/a.vrel",7])", R"(["/a.vrel",null])",
                                    "\"/a.vrel\"", "[\"\xFF\"]", "[[[[", "null"}) {
    placeSetlists({"/a.vrel"});
    files.place(recentPath, damaged);
    console.lines.clear();
    EXPECT_THAT(start().recentFiles.get(), IsEmpty()) << damaged;
    EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to load recent files: "))) << damaged;
    EXPECT_EQ(files.files[recentPath], damaged);
    state->addRecentFile("/a.vrel");
    EXPECT_EQ(stored(), (Paths{"/a.vrel"}));
  }
}

TEST_F(RecentFiles, ADirectoryOrAnUnreadableFileInItsPlaceIsLogged) {
  files.place(recentPath, "[]");
  files.unreadable.insert(recentPath);
  start();
  files.files.clear();
  files.placeDirectory(recentPath);
  start().addRecentFile("/a.vrel");
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/a.vrel"}));
  EXPECT_THAT(console.lines, ElementsAre("Failed to load recent files: " + recentPath.string() + ": Permission denied",
                                         "Failed to load recent files: " + recentPath.string() + ": Is a directory",
                                         "Failed to save recent files: " + recentPath.string() + ": Is a directory"));
}

TEST_F(RecentFiles, AListOfMoreThanAMebibyteIsNotRead) {
  placeSetlists({"/a.vrel"});
  const std::string list = R"(["/a.vrel"])";
  const std::size_t mebibyte = std::size_t{1} << 20U;
  files.place(recentPath, list + std::string(mebibyte - list.size(), ' '));
  EXPECT_EQ(start().recentFiles.get(), (Paths{"/a.vrel"}));
  files.place(recentPath, list + std::string(mebibyte - list.size() + 1, ' '));
  EXPECT_THAT(start().recentFiles.get(), IsEmpty());
  EXPECT_THAT(console.lines, ElementsAre("Failed to load recent files: " + recentPath.string() + ": File too large"));
}

TEST_F(RecentFiles, OfALongListTheFirstFiveThatExistAreTakenOnce) {
  placeSetlists({"/1", "/2", "/3", "/4", "/5", "/6"});
  files.place(recentPath, R"(["/1","/gone","/2","/1","","/3","/4","/5","/6"])");
  EXPECT_EQ(start().recentFiles.get(), (Paths{"/1", "/2", "/3", "/4", "/5"}));
}

TEST_F(RecentFiles, AMissingDirectoryIsLoggedAtEachSaveNotMadeAndTheListHolds) {
  files.directories = {"/"};
  start().addRecentFile("/a.vrel");
  state->clearRecentFiles();
  state->addRecentFile("/b.vrel");
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/b.vrel"}));
  const auto line = "Failed to save recent files: " + recentPath.string() + ": No such file or directory";
  EXPECT_THAT(console.lines, ElementsAre(line, line, line));
  EXPECT_EQ(files.stepsTaken, 0U);
}

TEST_F(RecentFiles, AReadOnlyListIsLoggedAndHoldsInMemory) {
  placeSetlists({"/a.vrel"});
  files.place(recentPath, R"(["/a.vrel"])");
  files.readOnly.insert(recentPath);
  start().clearRecentFiles();
  EXPECT_THAT(state->recentFiles.get(), IsEmpty());
  EXPECT_EQ(stored(), (Paths{"/a.vrel"}));
  EXPECT_THAT(console.lines,
              ElementsAre("Failed to save recent files: " + recentPath.string() + ": Permission denied"));
}

TEST_F(RecentFiles, AFullDiskIsLogged) {
  files.freeBytes = 4;
  start().addRecentFile("/a.vrel");
  EXPECT_EQ(state->recentFiles.get(), (Paths{"/a.vrel"}));
  EXPECT_THAT(console.lines,
              ElementsAre("Failed to save recent files: " + recentPath.string() + ": No space left on device"));
}

TEST_F(RecentFiles, AnyPathThatIsTextComesBack) {
  const Paths paths{"/with \"quotes\" and \\.vrel", "/Ñandú 鍵盤.vrel", "/line\nend.vrel", "/\x01.vrel"};
  const auto bytes = encodeRecentFiles(paths);
  ASSERT_TRUE(bytes);
  const auto read = decodeRecentFiles(bytes.value());
  ASSERT_TRUE(read);
  EXPECT_EQ(read.value(), paths);
}

TEST_F(RecentFiles, APathThatIsNotUtf8IsLoggedAndDoesNotTouchTheFile) {
  files.place(recentPath, "[]");
  start().addRecentFile("/\xFF.vrel");
  EXPECT_EQ(state->recentFiles.get().size(), 1U);
  EXPECT_THAT(console.lines, ElementsAre("Failed to save recent files: a path is not valid UTF-8"));
  EXPECT_EQ(files.files[recentPath], "[]");
}

}  // namespace
}  // namespace vrel
