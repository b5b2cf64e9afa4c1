// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/app_state.h"
#include "document/setlist_coding.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/song_switch.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_components.h"
#include "simulation/simulated_user_defaults.h"
#include "support/simulated_stage.h"
#include "system/files/posix_file_manager.h"
#include "system/files/scratch_test.h"
#include "system/files/watched_calls.h"

// A program that saves is killed at every call of the system that the save makes, and at random moments. Afterwards the
// next run opens the old version or the new one, from the file or from the newest copy.

namespace vrel::system {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

/// One run of the program on the real disk, with everything else simulated.
struct Program : SimulatedMachine {
  Program(FileCalls& calls, const fs::path& root)
      : files(calls),
        state({defaults, components, mainQueue, console, files}, root / "recent_setlists.json"),
        copies(files, console, root / "state" / "copies") {}

  simulation::SimulatedUserDefaults defaults;
  simulation::SimulatedComponentManager components;
  simulation::ScriptedDesktop desktop;
  PosixFileManager files;
  AppState state;
  ConsoleSelection selection;
  ChannelBuilder builder{state, *engine, console};
  SongSwitch songSwitch{{state, *engine, mainQueue, clock, console, selection, builder}};
  SetlistCopies copies;
  SetlistFiles setlistFiles{{state, *engine, songSwitch, files, desktop, console, copies}};
};

class KilledSave : public ScratchTest {
 protected:
  /// A setlist larger than one write, identified by the notes of its first song.
  static std::string version(const std::string& notes) {
    SetlistFile setlist;
    setlist.songs.resize(3);
    setlist.songs[0].songNotes = notes;
    setlist.songs[0].channels.resize(1);
    setlist.songs[2].channels.resize(2);
    setlist.songs[2].channels[1].pluginPath = "aucd:1635085685:1:2";
    setlist.songs[2].channels[1].pluginStateBase64 = std::string(100'000, 'A');
    return encodeSetlist(setlist).value();
  }

  /// In a process of its own: opens the gig, edits it to be `notes`, and saves it, to be killed before the given call
  /// of the save. Whether the save came to its end.
  bool saveInChild(const std::string& notes, std::size_t killedCall) { return saveInChild(notes, killedCall, gig); }

  /// The same, but opens another file, and saves it over the gig.
  bool saveInChild(const std::string& notes, std::size_t killedCall, const fs::path& opened) {
    const pid_t child = ::fork();
    if (child == 0) {
      WatchedCalls calls;
      calls.mostBytesPerWrite = 30'000;
      Program program(calls, root);
      program.setlistFiles.loadSetlist(opened);
      program.state.songNotes.set(notes);
      calls.before = [killedCall, count = std::size_t{0}](const std::string& /*call*/) mutable {
        if (count++ == killedCall) {
          ::kill(::getpid(), SIGKILL);
        }
        return 0;
      };
      ::_exit(program.setlistFiles.writeSetlist(gig) && program.console.lines.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) {
      EXPECT_EQ(WTERMSIG(status), SIGKILL);
      return false;
    }
    EXPECT_EQ(WEXITSTATUS(status), EXIT_SUCCESS) << "a save that is not killed logs nothing";
    return true;
  }

  /// In a process of its own: opens what the last run left, edits it to be `notes`, and saves it, to be killed so long
  /// after the save's beginning. How long the save took, or none when it was killed.
  std::optional<Clock::duration> saveInChildFor(const std::string& notes, Clock::duration longest) {
    std::array<int, 2> pipe{};
    EXPECT_EQ(::pipe(pipe.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      Program program(plainCalls, root);
      program.setlistFiles.loadSetlist(gig);
      if (program.state.songs.get().empty()) {
        program.setlistFiles.loadSetlist(program.copies.copiesOf(gig).front());
      }
      program.state.songNotes.set(notes);
      static_cast<void>(::write(pipe[1], "x", 1));
      ::_exit(program.setlistFiles.saveSetlist() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    ::close(pipe[1]);
    char begun = 0;
    EXPECT_EQ(::read(pipe[0], &begun, 1), 1);
    ::close(pipe[0]);
    const auto begin = Clock::now();
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
      if (Clock::now() - begin >= longest) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
        break;
      }
    }
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == EXIT_SUCCESS);
    return WIFSIGNALED(status) ? std::nullopt : std::optional(Clock::now() - begin);
  }

  /// What the next run opens: the file, or where that is damaged the newest of the copies that the console names.
  [[nodiscard]] std::string openedByTheNextRun() {
    Program program(plainCalls, root);
    program.setlistFiles.loadSetlist(gig);
    fs::path opened = gig;
    isFileDamaged = program.state.songs.get().empty();
    if (isFileDamaged) {
      const auto kept = program.copies.copiesOf(gig);
      EXPECT_THAT(program.console.lines.back(), HasSubstr(program.copies.directoryOf(gig).string()));
      if (kept.empty()) {
        return "nothing to open";
      }
      opened = kept.front();
      program.setlistFiles.loadSetlist(opened);
    }
    EXPECT_EQ(program.state.songs.get().size(), 3U);
    EXPECT_EQ(program.state.currentFilePath.get(), gig) << "to be saved there";
    return textOf(opened);
  }

  /// Leaves the disk as `prepare` makes it before every kill. How many calls a save makes is found out on the way.
  void killEach(const std::string& old, const std::function<void()>& prepare) {
    const auto fresh = version("new");
    bool wasDamaged = false;
    std::size_t calls = 0;
    for (bool isSaved = false; !isSaved; ++calls) {
      fs::remove_all(root);
      fs::create_directory(root);
      prepare();
      isSaved = saveInChild("new", calls);
      const auto opened = openedByTheNextRun();
      EXPECT_TRUE(opened == fresh || opened == old) << "killed before call " << calls;
      EXPECT_TRUE(!isSaved || (opened == fresh && !isFileDamaged));
      wasDamaged = wasDamaged || isFileDamaged;
      ASSERT_LT(calls, 500U);
    }
    EXPECT_GT(calls, 30U);
    EXPECT_TRUE(wasDamaged) << "or nothing was killed where it hurts";
    EXPECT_EQ(textOf(gig), fresh);
  }

  [[nodiscard]] std::vector<fs::path> copiesOfTheGig() { return Program(plainCalls, root).copies.copiesOf(gig); }

  FileCalls plainCalls;
  const fs::path gig = root / "gig.vrel";
  bool isFileDamaged = false;
};

TEST_F(KilledSave, TheFirstOneOverAFileCostsNeitherVersion) {
  killEach(version("old"), [this] { writeFile(gig, version("old")); });
  EXPECT_EQ(copiesOfTheGig().size(), 1U);
}

TEST_F(KilledSave, OneThatDropsTheOldestCopyCostsNeitherVersion) {
  fs::path folder;
  killEach(version("old"), [&] {
    writeFile(gig, version("old"));
    folder = Program(plainCalls, root).copies.directoryOf(gig);
    fs::create_directories(folder);
    for (int number = 101; number <= 120; ++number) {
      writeFile(folder / ("000" + std::to_string(number) + ".vrel"), version("older"));
    }
  });
  EXPECT_EQ(copiesOfTheGig().size(), 20U);
  EXPECT_EQ(copiesOfTheGig().front(), folder / "000121.vrel");
  EXPECT_EQ(copiesOfTheGig().back(), folder / "000102.vrel");
}

TEST_F(KilledSave, ManyAtRandomMomentsLoseNothing) {
  const char* const asked = std::getenv("VREL_SAVE_KILLS");  // NOLINT(concurrency-mt-unsafe): there is one thread
  const int kills = asked != nullptr ? std::stoi(asked) : 25;
  std::string held = version("before");
  writeFile(gig, held);
  Clock::duration longest{};
  for (int run = 0; run < 5; ++run) {
    const auto taken = saveInChildFor(std::to_string(run), std::chrono::minutes(1));
    ASSERT_TRUE(taken);
    longest = std::max(longest, *taken);
    held = version(std::to_string(run));
  }
  std::mt19937 random(1);
  std::uniform_int_distribution<Clock::rep> moment(0, longest.count());
  int killed = 0;
  int kept = 0;
  int damaged = 0;
  for (int run = 5; killed < kills; ++run) {
    const auto fresh = version(std::to_string(run));
    const bool isSaved = saveInChildFor(std::to_string(run), Clock::duration(moment(random))).has_value();
    const auto opened = openedByTheNextRun();
    ASSERT_TRUE(opened == fresh || (opened == held && !isSaved)) << "run " << run;
    ASSERT_FALSE(isSaved && isFileDamaged);
    killed += isSaved ? 0 : 1;
    kept += !isSaved && opened == held ? 1 : 0;
    damaged += isFileDamaged ? 1 : 0;
    held = opened;
  }
  RecordProperty("killed", killed);
  RecordProperty("oldVersionKept", kept);
  RecordProperty("openedFromACopy", damaged);
}

TEST_F(KilledSave, OneOverAFileThatCannotBeOpenedLeavesItsBytesOrTheNewVersion) {
  const std::string broken = version("old").substr(0, 50'000);
  const auto fresh = version("new");
  const fs::path other = root / "other.vrel";
  for (std::size_t call = 0;; ++call) {
    fs::remove_all(root);  // with what a killed save has left: the next child would use its name
    fs::create_directory(root);
    writeFile(other, version("other"));
    writeFile(gig, broken);
    const bool isSaved = saveInChild("new", call, other);
    const auto left = textOf(gig);
    EXPECT_TRUE(left == broken || left == fresh) << "killed before call " << call;
    if (isSaved) {
      EXPECT_EQ(left, fresh);
      EXPECT_GT(call, 5U);
      break;
    }
    ASSERT_LT(call, 500U);
  }
}

TEST_F(KilledSave, WhatItLeavesOfACopyIsGoneAfterTheNextSave) {
  writeFile(gig, version("old"));
  std::size_t leftovers = 0;
  for (std::size_t call = 0; !saveInChild("new", call); ++call) {
    const auto folder = Program(plainCalls, root).copies.directoryOf(gig);
    if (fs::exists(folder) && static_cast<std::size_t>(entriesIn(folder)) > copiesOfTheGig().size()) {
      ++leftovers;
      EXPECT_TRUE(saveInChild("second", SIZE_MAX));
      EXPECT_EQ(static_cast<std::size_t>(entriesIn(folder)), copiesOfTheGig().size()) << "killed before call " << call;
    }
    fs::remove_all(root / "state");
    writeFile(gig, version("old"));
  }
  EXPECT_GT(leftovers, 3U);
}

}  // namespace
}  // namespace vrel::system
