// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_collector.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/setlist_files_stage.h"
#include "document/setlist_coding.h"
#include "platform/dispatch.h"
#include "platform/file_copier.h"

namespace vrel {
namespace {

namespace fs = std::filesystem;

/// Copies into memory; files named "gone" are not there.
class MemoryCopier : public FileCopier {
 public:
  std::map<fs::path, std::string> made;
  bool isFull = false;
  std::function<void()> whileCopying = [] {};

  fs::path canonicalPath(const fs::path& path) override { return path; }
  Outcome makeDirectory(const fs::path& path) override {
    made[path] = "folder";
    return {};
  }
  Copy copy(const fs::path& from, const fs::path& to, const Progress& progress) override {
    whileCopying();
    if (!progress(0.5)) {
      return {End::stopped};
    }
    if (from.stem() == "gone") {
      return {End::sourceFailed, from.string() + ": No such file or directory"};
    }
    if (isFull) {
      return {End::targetFailed, to.string() + ": No space left on device"};
    }
    made[to] = "copy";
    return {};
  }
  Outcome write(const fs::path& path, const std::string& bytes) override {
    made[path] = bytes;
    return {};
  }
  void remove(const fs::path& path) override { made.erase(path); }
};

/// A setlist with two tracks on stage, edited since it was opened.
class Collecting : public SetlistFilesStage {
 protected:
  Collecting() {
    SetlistFile setlist;
    auto& song = setlist.songs.emplace_back();
    song.name = "One";
    for (const auto* const file : {"/sounds/take.wav", "/sounds/gone.wav"}) {
      song.channels.push_back({.pluginPath = "internal:playback", .playbackFilePath = file});
    }
    files.place(gig, encodeSetlist(setlist).value());
    setlistFiles.loadSetlist(gig);
    settle();
    strip(0).name.set("Renamed");
    state.markEdited();
    console.lines.clear();
  }

  void choose() {
    desktop.savePanelAnswers = {folder};
    collector->collect();
  }
  void finish() {
    queues.queue("vrel.collected.setlist").runAll();
    settle();
  }

  const fs::path folder = "/stick/Saturday";
  const std::shared_ptr<MemoryCopier> memory = std::make_shared<MemoryCopier>();
  MemoryCopier& copier = *memory;
  std::unique_ptr<SetlistCollector> collector = std::make_unique<SetlistCollector>(
      SetlistCollector::Collaborators{state, songSwitch, mainQueue, queues, memory, desktop, console});
};

TEST_F(Collecting, TakesWhatIsOnStageAndSaysWhatWasMissing) {
  choose();
  EXPECT_EQ(desktop.savePanels.at(0).allowedType, FileType::folder);
  EXPECT_EQ(desktop.savePanels[0].suggestedName, gig.stem());
  EXPECT_EQ(collector->progress.get(), 0.0);
  EXPECT_TRUE(copier.made.empty()) << "nothing is copied on the main thread";
  finish();
  EXPECT_EQ(collector->progress.get(), std::nullopt);
  const auto collected = decodeSetlist(copier.made.at(folder / "Saturday.vrel"));
  ASSERT_TRUE(collected.ok());
  EXPECT_EQ(collected.value().songs.at(0).channels.at(0).name, "Renamed");
  EXPECT_TRUE(copier.made.contains(folder / "files/take.wav"));
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_NE(desktop.alerts[0].messageText.find("/stick/Saturday"), std::string::npos);
  EXPECT_NE(desktop.alerts[0].informativeText.find("/sounds/gone.wav"), std::string::npos);
  EXPECT_EQ(state.currentFilePath.get(), gig) << "it stays open where it is";
  EXPECT_TRUE(state.isDirty.get()) << "and is not saved by this";
}

TEST_F(Collecting, TakesWhatHoldsForAllSongs) {
  state.globalMidiControlAssignments.set({{{MidiControlKind::panic, {}}, {0xB0, 15, 120}}});
  state.songControl.set({.byProgramChange = true, .midiChannel = 9, .stepGuardMilliseconds = 450});
  choose();
  finish();
  const auto collected = decodeSetlist(copier.made.at(folder / "Saturday.vrel"));
  ASSERT_TRUE(collected.ok());
  EXPECT_EQ(collected.value().globalMidiControlAssignments, state.globalMidiControlAssignments.get());
  EXPECT_EQ(collected.value().songControl, state.songControl.get());
}

TEST_F(Collecting, ShowsHowFarItIs) {
  std::vector<std::optional<double>> shown;
  const auto watching = collector->progress.changed.connect([&](const auto& value) { shown.push_back(value); });
  choose();
  finish();
  EXPECT_EQ(shown, (std::vector<std::optional<double>>{0, 0.25, 0.75, std::nullopt}));
}

TEST_F(Collecting, StoppedByAPressItLeavesNothingAndAsksNothing) {
  copier.whileCopying = [this] { collector->stop(); };
  choose();
  finish();
  EXPECT_TRUE(copier.made.empty());
  EXPECT_TRUE(desktop.alerts.empty());
  EXPECT_EQ(collector->progress.get(), std::nullopt);
  copier.whileCopying = [] {};
  choose();
  finish();
  EXPECT_FALSE(copier.made.empty()) << "the next attempt is not stopped";
}

TEST_F(Collecting, AFullDiskIsSaidAndLeavesNothing) {
  copier.isFull = true;
  choose();
  finish();
  EXPECT_TRUE(copier.made.empty());
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_NE(desktop.alerts[0].informativeText.find("No space left on device"), std::string::npos);
  EXPECT_EQ(console.lines.back(),
            "Failed to collect the setlist: /stick/Saturday/files/take.wav: No space left on device");
}

TEST_F(Collecting, IsNotBegunInLiveModeNorTwiceAndEndsInLiveModeWithoutAQuestion) {
  state.isLiveModeEnabled.set(true);
  choose();
  EXPECT_TRUE(desktop.savePanels.empty());
  state.isLiveModeEnabled.set(false);
  desktop.whileAsking = [this] { state.isLiveModeEnabled.set(true); };
  choose();
  EXPECT_EQ(collector->progress.get(), std::nullopt) << "Live mode has begun while the folder was chosen";
  desktop.whileAsking = nullptr;
  state.isLiveModeEnabled.set(false);
  choose();
  choose();
  EXPECT_EQ(desktop.savePanels.size(), 2U);
  state.isLiveModeEnabled.set(true);
  finish();
  EXPECT_TRUE(desktop.alerts.empty());
  EXPECT_EQ(console.lines.back(), "Not collected: /sounds/gone.wav: No such file or directory");
}

TEST_F(Collecting, TheEndOfTheProgramStopsIt) {
  choose();
  collector.reset();
  EXPECT_TRUE(copier.made.empty());
  settle();
}

TEST_F(Collecting, TheEndOfTheProgramIsAskedAboutWhileItIsUnderWay) {
  setlistFiles.mayEnd = [this] { return collector->mayEnd(); };
  const auto askForEnd = [this](std::deque<std::size_t> answers) {
    desktop.alerts.clear();
    desktop.alertAnswers = std::move(answers);
    setlistFiles.confirmTermination();
    return desktop.terminationReplies.back();
  };
  choose();
  EXPECT_FALSE(askForEnd({1, doNotSaveButton})) << "it goes on";
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].messageText, "The setlist is still being collected");
  EXPECT_FALSE(setlistFiles.isEndAgreed());
  EXPECT_TRUE(askForEnd({0, doNotSaveButton}));
  finish();
  EXPECT_TRUE(askForEnd({doNotSaveButton})) << "nothing is under way any more";
  EXPECT_EQ(desktop.alerts.size(), 1U);
}

/// A queue that leaves its work behind when it ends, as one does whose file never answers.
class LeavingQueueFactory : public DispatchQueueFactory {
 public:
  std::deque<DispatchQueue::Work> left;

  std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& /*label*/) override {
    class Queue : public DispatchQueue {
     public:
      explicit Queue(std::deque<Work>& work) : work_(work) {}
      void async(Work work) override { work_.push_back(std::move(work)); }
      void sync(const Work& work) override { work(); }

     private:
      std::deque<Work>& work_;
    };
    return std::make_unique<Queue>(left);
  }
};

TEST_F(Collecting, WorkThatWasLeftBehindAtTheEndRemovesItsCopiesAndSaysNothing) {
  LeavingQueueFactory leaving;
  collector = std::make_unique<SetlistCollector>(
      SetlistCollector::Collaborators{state, songSwitch, mainQueue, leaving, memory, desktop, console});
  choose();
  copier.whileCopying = [this] { collector.reset(); };
  ASSERT_EQ(leaving.left.size(), 1U);
  leaving.left.front()();
  settle();
  EXPECT_TRUE(copier.made.empty());
  EXPECT_TRUE(desktop.alerts.empty());
}

}  // namespace
}  // namespace vrel
