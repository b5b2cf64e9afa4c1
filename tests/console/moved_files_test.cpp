// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/moved_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "console/instrument_selector.h"
#include "console/setlist_files_stage.h"
#include "console/window/console_stage.h"
#include "engine/audio_engine.h"

namespace vrel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(LikeliestFile, IsTheOneWithTheMostFoldersInCommonAndOfEqualOnesTheFirst) {
  EXPECT_EQ(likeliestFile("/old/gig/loops/a.wav", {"/new/a.wav", "/new/loops/a.wav", "/new/x/loops/a.wav"}),
            "/new/loops/a.wav");
  EXPECT_EQ(likeliestFile("/old/a.wav", {"/new/a.wav", "/new/b/a.wav"}), "/new/a.wav");
  EXPECT_EQ(likeliestFile("a.wav", {"/new/a.wav"}), "/new/a.wav");
  EXPECT_EQ(likeliestFile("/old/a.wav", {}), std::nullopt);
  EXPECT_EQ(likeliestFile("", {"/new/a.wav"}), std::nullopt);
}

/// The gig on another machine: a track on stage, and a clip in the second song, are beside it and no longer at home.
class FilesThatMoved : public SetlistFilesStage {
 protected:
  static constexpr std::size_t useButton = 0;
  static constexpr std::size_t leaveButton = 1;

  FilesThatMoved() {
    SetlistFile setlist;
    setlist.songs.resize(2);
    auto track = record("Track", "internal:playback");
    track.playbackFilePath = "/old/click.wav";
    track.playbackLoop = true;
    auto clips = record("Clips", "internal:visual");
    clips.visualClipMappings = {{.note = 61, .filePath = "/old/sea.mp4"}, {.filePath = "/old/gone.mp4"}};
    setlist.songs[0].channels = {record("Free", ""), track};
    setlist.songs[1].channels = {clips, track};
    files.place(gig, encodeSetlist(setlist).value());
    files.place("/home/me/audio/click.wav", "");
    files.place("/home/me/clips/sea.mp4", "");
  }

  void open() {
    setlistFiles.loadSetlist(gig);
    settleAll();
  }

  void settleAll() {
    settle();
    queues.queue("vrel.moved.files").runAll();
    settle();
  }

  [[nodiscard]] const std::string& trackIn(std::size_t song, std::size_t strip) const {
    return state.songs.get()[song].channels[strip].playbackFilePath;
  }

  InstrumentSelector instruments{{state, *engine, mainQueue, console, selection}};
  MovedFiles moved{{state,
                    *engine,
                    songSwitch,
                    setlistFiles,
                    instruments,
                    mainQueue,
                    desktop,
                    &queues,
                    {std::shared_ptr<void>(), &files}}};
};

TEST_F(FilesThatMoved, AreOfferedInOneQuestionThatTakesAllOfThem) {
  desktop.alertAnswers = {useButton};
  open();
  ASSERT_THAT(desktop.alerts, SizeIs(1));
  EXPECT_THAT(desktop.alerts[0].informativeText, HasSubstr("/home/me/audio/click.wav\n/home/me/clips/sea.mp4"));
  EXPECT_EQ(trackIn(0, 1), "/home/me/audio/click.wav");
  EXPECT_EQ(trackIn(1, 1), "/home/me/audio/click.wav");
  const auto& clips = song(1).channels[0].visualClipMappings;
  EXPECT_EQ(clips[0].filePath, "/home/me/clips/sea.mp4");
  EXPECT_EQ(clips[0].note, 61);
  EXPECT_EQ(clips[1].filePath, "/old/gone.mp4") << "which was found nowhere";
  EXPECT_EQ(strip(1).playbackFilePath.get(), "/home/me/audio/click.wav") << "on stage, too";
  EXPECT_TRUE(strip(1).playbackLoop.get());
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(FilesThatMoved, StayAsTheyAreWithoutThatAnswerAndAreNotOfferedAgain) {
  desktop.alertAnswers = {leaveButton};
  open();
  ASSERT_THAT(desktop.alerts, SizeIs(1));
  EXPECT_EQ(trackIn(0, 1), "/old/click.wav");
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_TRUE(setlistFiles.saveSetlist());
  settleAll();
  EXPECT_THAT(desktop.alerts, SizeIs(1));
  desktop.alertAnswers = {useButton};
  open();
  EXPECT_THAT(desktop.alerts, SizeIs(2)) << "the setlist was opened again";
}

TEST_F(FilesThatMoved, AreLookedForBesideTheMainThread) {
  setlistFiles.loadSetlist(gig);
  settle();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_GT(queues.queue("vrel.moved.files").pendingCount(), 0U);
}

TEST_F(FilesThatMoved, AreNotOfferedForASetlistThatIsNotOpenAnyMore) {
  setlistFiles.loadSetlist(gig);
  files.place("/home/me/other.vrel", setlistText({"Other"}));
  setlistFiles.loadSetlist("/home/me/other.vrel");
  settleAll();
  EXPECT_THAT(desktop.alerts, IsEmpty());
}

TEST_F(FilesThatMoved, WaitForTheEndOfLiveMode) {
  setlistFiles.loadSetlist(gig);
  state.isLiveModeEnabled.set(true);
  settleAll();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  state.isLiveModeEnabled.set(false);
  desktop.alertAnswers = {useButton};
  mainQueue.advance(MovedFiles::offerSeconds);
  EXPECT_EQ(trackIn(0, 1), "/home/me/audio/click.wav");
}

TEST_F(FilesThatMoved, AreNoQuestionWhereAllAreInTheirPlaces) {
  for (const auto* const path : {"/old/click.wav", "/old/sea.mp4", "/old/gone.mp4"}) {
    files.place(path, "");
  }
  open();
  EXPECT_THAT(desktop.alerts, IsEmpty());
}

class StepOfMovedFiles : public window::ConsoleStage {};

TEST_F(StepOfMovedFiles, HoldsAllSongsAndIsTakenBackWhateverIsOnStage) {
  auto& history = content.editHistory();
  const auto track = [](const std::string& path) {
    auto strip = record("Track", "internal:playback");
    strip.playbackFilePath = path;
    return strip;
  };
  auto clips = record("Clips", "internal:visual");
  clips.visualClipMappings = {{.filePath = "/old/sea.mp4"}, {.filePath = "/old/gone.mp4"}};
  SetlistFile setlist;
  setlist.songs.resize(2);
  setlist.songs[0].channels = {track("/old/click.wav")};
  setlist.songs[1].channels = {track("/old/click.wav"), clips};
  files.place("/home/me/gig.vrel", encodeSetlist(setlist).value());
  files.place("/home/me/audio/click.wav", "");
  files.place("/home/me/clips/sea.mp4", "");
  content.setlistFiles().loadSetlist("/home/me/gig.vrel");
  answerAll();
  ASSERT_EQ(history.undoCount(), 0U);
  desktop.alertAnswers = {0};
  queues.queue("vrel.moved.files").runAll();
  answerAll();
  ASSERT_EQ(history.undoCount(), 1U);
  EXPECT_EQ(state.undoTitle.get(), "Undo: File");
  const auto expectFiles = [this](const std::string& click, const std::string& sea) {
    EXPECT_EQ(state.selectedSongIndex.get(), 0U) << "where it was when they were taken";
    EXPECT_EQ(strip(0).playbackFilePath.get(), click);
    EXPECT_EQ(song(1).channels[0].playbackFilePath, click);
    EXPECT_EQ(song(1).channels[1].visualClipMappings[0].filePath, sea);
    EXPECT_EQ(song(1).channels[1].visualClipMappings[1].filePath, "/old/gone.mp4");
  };
  expectFiles("/home/me/audio/click.wav", "/home/me/clips/sea.mp4");
  history.undo();
  answerAll();
  expectFiles("/old/click.wav", "/old/sea.mp4");
  history.redo();
  answerAll();
  expectFiles("/home/me/audio/click.wav", "/home/me/clips/sea.mp4");
  content.songSwitch().applySong(1);
  answerAll();
  history.undo();
  answerAll();
  expectFiles("/old/click.wav", "/old/sea.mp4");
  EXPECT_EQ(history.undoCount(), 0U);
}

}  // namespace
}  // namespace vrel
