// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/dropped_files.h"

#include <gtest/gtest.h>

#include <string>

#include "console/window/console_stage.h"
#include "document/plugin_path.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

/// A song with one strip, and a setlist on the disk.
class Drops : public window::ConsoleStage {
 protected:
  Drops() {
    SetlistFile other;
    other.songs.emplace_back().name = "Other";
    files.files["/home/me/other.vrel"] = encodeSetlist(other).value();
    addSong("One", {record("A", pianoKey)});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
  }

  [[nodiscard]] DroppedFiles& drops() { return content.droppedFiles(); }
  [[nodiscard]] const std::shared_ptr<AudioChannel>& first() { return engine->channels()[0]; }
};

TEST_F(Drops, KindsAreKnownByTheirExtensionInAnyCase) {
  EXPECT_EQ(droppedFileKind("/a/gig.vrel"), DroppedFileKind::setlist);
  EXPECT_EQ(droppedFileKind("/a/Click.WAV"), DroppedFileKind::audio);
  for (const auto* clip : {"/a/sea.Mp4", "/a/logo.png", "/a/wood.JPG", "/a/wood.jpeg", "/a/sky.WebP"}) {
    EXPECT_EQ(droppedFileKind(clip), DroppedFileKind::clip) << clip;
  }
  for (const auto* other : {"/a/notes.txt", "/a/wav", "/a/.vrel", ""}) {
    EXPECT_EQ(droppedFileKind(other), DroppedFileKind::other) << other;
  }
}

TEST_F(Drops, ASetlistIsOpenedAndAsksFirstWhetherToSave) {
  constexpr std::size_t doNotSave = 1;
  constexpr std::size_t cancel = 2;
  desktop.alertAnswers = {cancel, doNotSave};
  drops().dropOnWindow("/home/me/other.vrel");
  EXPECT_EQ(state.songs.get()[0].name, "One");
  drops().dropOnWindow("/home/me/other.vrel");
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(state.songs.get()[0].name, "Other");
}

TEST_F(Drops, ASetlistIsOpenedAlsoWhereItIsDroppedOnAStripOrBehindTheLastOne) {
  constexpr std::size_t doNotSave = 1;
  desktop.alertAnswers = {doNotSave, doNotSave};
  drops().dropOnStrip(first(), "/home/me/other.vrel");
  EXPECT_EQ(state.songs.get()[0].name, "Other");
  state.songs.modify([](std::vector<SongConfig>& songs) { songs[0].name = "Edited"; });
  state.markEdited();
  drops().dropBehindStrips("/home/me/other.vrel");
  EXPECT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(state.songs.get()[0].name, "Other");
  EXPECT_EQ(engine->channels().size(), 0U);
}

TEST_F(Drops, AnAudioFileOnAStripIsPlayedByIt) {
  drops().dropOnStrip(first(), "/home/me/click.wav");
  EXPECT_EQ(first()->pluginPath.get(), pathPlayback);
  EXPECT_EQ(first()->playbackFilePath.get(), "/home/me/click.wav");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Drops, AVideoOnAStripIsShownOnMiddleCAndTheNextOneBesideIt) {
  drops().dropOnStrip(first(), "/home/me/sea.mp4");
  drops().dropOnStrip(first(), "/home/me/sky.mp4");
  EXPECT_EQ(first()->pluginPath.get(), pathVisual);
  const auto& clips = first()->visualClipMappings.get();
  ASSERT_EQ(clips.size(), 2U);
  EXPECT_EQ(clips[0].note, 60);
  EXPECT_EQ(clips[1].note, 61);
  EXPECT_EQ(clips[1].filePath, "/home/me/sky.mp4");
}

TEST_F(Drops, BehindTheLastStripAFileMakesANewOneUnderItsName) {
  drops().dropBehindStrips("/home/me/click.wav");
  answerAll();
  ASSERT_EQ(engine->channels().size(), 2U);
  EXPECT_EQ(strip(1).name.get(), "click");
  EXPECT_EQ(strip(1).pluginPath.get(), pathPlayback);
}

TEST_F(Drops, AFileThatNothingCanPlayChangesNothing) {
  state.isDirty.set(false);
  drops().dropOnStrip(first(), "/home/me/notes.txt");
  drops().dropBehindStrips("/home/me/notes.txt");
  drops().dropOnWindow("/home/me/click.wav");
  EXPECT_EQ(first()->pluginPath.get(), pianoKey);
  EXPECT_EQ(engine->channels().size(), 1U);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Drops, InLiveModeNothingIsTaken) {
  content.liveMode().setLiveMode(true);
  drops().dropOnWindow("/home/me/other.vrel");
  drops().dropOnStrip(first(), "/home/me/click.wav");
  drops().dropBehindStrips("/home/me/click.wav");
  EXPECT_EQ(state.songs.get()[0].name, "One");
  EXPECT_EQ(first()->pluginPath.get(), pianoKey);
  EXPECT_EQ(engine->channels().size(), 1U);
}

TEST_F(Drops, WhatADropReplacedIsTakenBack) {
  drops().dropOnStrip(first(), "/home/me/click.wav");
  content.editHistory().undo();
  answerAll();
  EXPECT_EQ(first()->pluginPath.get(), pianoKey);
}

}  // namespace
}  // namespace vrel
