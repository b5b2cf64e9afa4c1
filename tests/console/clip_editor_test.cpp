// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/clip_editor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/content_view.h"
#include "document/plugin_path.h"
#include "document/setlist_coding.h"
#include "platform/notification_center.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_video.h"
#include "support/session_on.h"
#include "support/simulated_session.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;

struct VideosFirst {
  simulation::SimulatedVideos videos;
};

struct MachineWithVideos : VideosFirst, SimulatedMachine {
  MachineWithVideos() {
    engine = AudioEngine::make(
        {nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, nullptr, &videos});
    mainQueue.runAll();
  }
};

/// A song with a strip that shows one clip, and an empty one.
class Clips : public testing::Test, protected MachineWithVideos, protected SessionOn {
 protected:
  Clips() : SessionOn(*engine, mainQueue, clock, console) {
    files.placeDirectory(state.recentFilesPath.parent_path());
    videos.paths = {"/sea.mp4", "/sky.mov", "/wood.webm"};
    SongConfig song;
    song.channels = {record("A", std::string(pathVisual)), record("B", "")};
    song.channels[0].visualClipMappings = {{.note = 62, .filePath = "/sea.mp4"}};
    setSongs({song});
    content.contentDidAppear();
    run();
    content.songSwitch().applySong(0);
    run();
    state.isDirty.set(false);
  }

  void run() {
    do {
      settle();
    } while (videos.answerSearch() || mainQueue.pendingCount() > 0);
  }

  [[nodiscard]] ClipEditor& editor() { return content.clipEditor(); }
  [[nodiscard]] AudioChannel& strip(std::size_t index) { return *engine->channels()[index]; }
  [[nodiscard]] const VisualClipMapping& row(std::size_t index) { return editor().mappings.get().at(index); }

  [[nodiscard]] std::vector<int> notes() {
    std::vector<int> all;
    for (const auto& mapping : editor().mappings.get()) {
      all.push_back(mapping.note);
    }
    return all;
  }

  [[nodiscard]] std::string savedBytes() {
    content.songSwitch().captureCurrentSong();
    SetlistFile all;
    all.songs = state.songs.get();
    return encodeSetlist(all).value();
  }

  void playNote(std::uint8_t note) {
    state.noteActivity(note, true);
    state.noteActivity(note, false);
  }

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  ContentView content{{state,
                       *engine,
                       mainQueue,
                       clock,
                       console,
                       desktop,
                       files,
                       notifications,
                       "/home/me/copies",
                       {.videos = &videos}}};
};

TEST_F(Clips, TwoNewRowsAreBothOnMiddleCAndTheLastIsSelected) {
  editor().open(strip(1));
  EXPECT_TRUE(editor().mappings.get().empty());
  editor().add();
  editor().add();
  EXPECT_THAT(notes(), ElementsAre(60, 60));
  EXPECT_NE(row(0).id, row(1).id);
  EXPECT_EQ(row(1).filePath, "");
  EXPECT_EQ(row(1).triggerMode, VisualTriggerMode::hold);
  EXPECT_EQ(editor().selectedMappingId.get(), row(1).id);
}

TEST_F(Clips, CancelLeavesTheStripAndItsPlayersAsTheyAre) {
  const auto before = savedBytes();
  const auto players = engine->visualEngine().playersByChannelAndNote();
  editor().open(strip(0));
  editor().add();
  editor().setNote(row(0).id, 70);
  editor().setTriggerMode(row(0).id, VisualTriggerMode::toggle);
  editor().remove(row(1).id);
  editor().dropFiles({"/sky.mov"});
  editor().cancel();
  run();
  EXPECT_EQ(savedBytes(), before);
  EXPECT_EQ(engine->visualEngine().playersByChannelAndNote(), players);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Clips, DeletingTheSelectedRowMovesThePreviewToTheFirst) {
  editor().open(strip(0));
  editor().dropFiles({"/sky.mov", "/wood.webm"});
  ASSERT_EQ(editor().previewed()->filePath, "/wood.webm");
  editor().remove(row(2).id);
  EXPECT_EQ(editor().selectedMappingId.get(), std::nullopt);
  EXPECT_EQ(editor().previewed()->filePath, "/sea.mp4");
}

TEST_F(Clips, ApplyWithAnEmptyListLeavesAVisualStripWithoutClips) {
  editor().open(strip(0));
  editor().remove(row(0).id);
  EXPECT_EQ(editor().previewed(), nullptr);
  editor().apply();
  run();
  EXPECT_EQ(strip(0).pluginPath.get(), pathVisual);
  EXPECT_TRUE(strip(0).visualClipMappings.get().empty());
  EXPECT_TRUE(engine->visualEngine().playersByChannelAndNote().empty());
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Clips, ApplyRebuildsTheClipsAndKeepsRowsWithoutAFile) {
  editor().open(strip(0));
  editor().dropFiles({"/sky.mov"});
  editor().add();
  editor().apply();
  run();
  EXPECT_EQ(editor().channel(), nullptr);
  ASSERT_EQ(strip(0).visualClipMappings.get().size(), 3U);
  EXPECT_EQ(engine->visualEngine().playersByChannelAndNote().size(), 2U);
  engine->routeMIDI(0x90, 60, 100);
  ASSERT_EQ(engine->visualEngine().activePlayers.get().size(), 1U);
  EXPECT_EQ(engine->visualEngine().activePlayers.get()[0]->filePath, "/sky.mov");
}

TEST_F(Clips, OldClipsAnswerToNotesWhileTheCopyIsEdited) {
  editor().open(strip(0));
  editor().remove(row(0).id);
  engine->routeMIDI(0x90, 62, 100);
  EXPECT_EQ(engine->visualEngine().activePlayers.get().size(), 1U);
}

TEST_F(Clips, ApplyOnAnInstrumentPutsClipsInItsPlace) {
  state.scannedPlugins.set({piano});
  content.instrumentSelector().put(engine->channels()[1], record("", pianoKey));
  settle();
  units.answerWithInstrument();
  run();
  editor().open(strip(1));
  editor().dropFiles({"/sky.mov"});
  EXPECT_EQ(strip(1).pluginPath.get(), pianoKey);
  editor().apply();
  run();
  EXPECT_EQ(strip(1).pluginPath.get(), pathVisual);
}

TEST_F(Clips, DroppedVideosTakeTheNextFreeNotesAndOtherFilesNone) {
  editor().open(strip(0));
  editor().dropFiles({"/sky.mov", "/click.wav", "/wood.webm", "/sea.mp4"});
  EXPECT_THAT(notes(), ElementsAre(62, 60, 61, 63));
  EXPECT_EQ(editor().selectedMappingId.get(), row(3).id);
}

TEST_F(Clips, DropsStopWhereTheNotesEnd) {
  editor().open(strip(1));
  editor().dropFiles(std::vector<std::filesystem::path>(100, "/sea.mp4"));
  EXPECT_EQ(editor().mappings.get().size(), 68U);
  EXPECT_EQ(notes().back(), 127);
}

TEST_F(Clips, TheFileOfARowIsAskedForAndACancelledPanelChangesNothing) {
  editor().open(strip(0));
  editor().chooseFile(row(0).id);
  EXPECT_EQ(row(0).filePath, "/sea.mp4");
  ASSERT_EQ(desktop.openPanels.size(), 1U);
  EXPECT_EQ(desktop.openPanels[0].allowedType, FileType::clip);
  desktop.openPanelAnswers = {"/sky.mov"};
  editor().chooseFile(row(0).id);
  EXPECT_EQ(row(0).filePath, "/sky.mov");
}

TEST_F(Clips, ARowThatGoesWhileItsFileIsAskedForTakesNone) {
  editor().open(strip(0));
  desktop.openPanelAnswers = {"/sky.mov"};
  desktop.whileAsking = [this] { content.channelOperations().removeChannelFromConsole(strip(0)); };
  editor().chooseFile(row(0).id);
  run();
  EXPECT_EQ(editor().channel(), nullptr);
}

TEST_F(Clips, ARowThatHoldsItsLastPictureIsPreviewedAndAppliedSo) {
  editor().open(strip(0));
  const int before = videos.playersMade;
  editor().setHoldsLastPicture(row(0).id, true);
  EXPECT_TRUE(row(0).holdsLastPicture);
  EXPECT_EQ(videos.playersMade, before + 1) << "the preview plays it so";
  EXPECT_FALSE(strip(0).visualClipMappings.get()[0].holdsLastPicture) << "before it is applied";
  editor().apply();
  run();
  EXPECT_TRUE(strip(0).visualClipMappings.get()[0].holdsLastPicture);
  EXPECT_EQ(engine->visualEngine().playersByChannelAndNote().begin()->second->looper, nullptr);
  editor().open(strip(0));
  editor().setHoldsLastPicture(row(0).id, false);
  editor().apply();
  run();
  EXPECT_NE(engine->visualEngine().playersByChannelAndNote().begin()->second->looper, nullptr);
}

TEST_F(Clips, DroppedPicturesGetRowsAsVideosDo) {
  editor().open(strip(0));
  editor().dropFiles({"/logo.PNG", "/notes.txt", "/wood.jpeg", "/sky.webp"});
  EXPECT_EQ(editor().mappings.get().size(), 4U);
  EXPECT_EQ(row(1).filePath, "/logo.PNG");
}

TEST_F(Clips, LearnTakesTheNextNoteAndNoOther) {
  editor().open(strip(0));
  state.noteActivity(50, true);
  editor().toggleLearn(row(0).id);
  state.noteActivity(50, false);
  EXPECT_THAT(notes(), ElementsAre(62)) << "a release is not a note";
  playNote(71);
  playNote(72);
  EXPECT_THAT(notes(), ElementsAre(71));
  EXPECT_EQ(editor().learningMappingId.get(), std::nullopt);
  editor().toggleLearn(row(0).id);
  editor().toggleLearn(row(0).id);
  playNote(73);
  EXPECT_THAT(notes(), ElementsAre(71));
}

TEST_F(Clips, TheNotePickerSetsTheNoteAndStartsNoClip) {
  editor().open(strip(0));
  editor().toggleNotePicker(row(0).id);
  EXPECT_EQ(editor().notePickerMappingId.get(), row(0).id);
  editor().setNote(row(0).id, 200);
  EXPECT_THAT(notes(), ElementsAre(127));
  EXPECT_TRUE(engine->visualEngine().activePlayers.get().empty());
  editor().toggleNotePicker(row(0).id);
  EXPECT_EQ(editor().notePickerMappingId.get(), std::nullopt);
}

TEST_F(Clips, ThePreviewLoopsMutedAndFollowsTheSelection) {
  const int before = videos.playersMade;
  editor().open(strip(0));
  EXPECT_EQ(videos.playersMade, before + 1);
  editor().dropFiles({"/sky.mov"});
  EXPECT_EQ(videos.playersMade, before + 2);
  editor().setNote(row(1).id, 99);
  EXPECT_EQ(videos.playersMade, before + 2) << "another note leaves it playing";
  editor().add();
  EXPECT_EQ(editor().previewed()->filePath, "");
  EXPECT_EQ(editor().previewPicture.get(), nullptr);
}

TEST_F(Clips, AFileIsLookedIntoOnceAndSaysWhetherItCanBePlayed) {
  editor().open(strip(0));
  editor().wantSummary("/sea.mp4");
  editor().wantSummary("/sea.mp4");
  editor().wantSummary("/none.mp4");
  editor().wantSummary("");
  run();
  EXPECT_THAT(videos.summarised, ElementsAre("/sea.mp4", "/none.mp4"));
  EXPECT_TRUE(editor().summaries.get().at("/sea.mp4").isPlayable);
  EXPECT_EQ(editor().summaries.get().at("/sea.mp4").seconds, 2.5);
  EXPECT_FALSE(editor().summaries.get().at("/none.mp4").isPlayable);
}

TEST_F(Clips, WhatIsFoundAfterItClosedIsDropped) {
  editor().open(strip(0));
  editor().wantSummary("/sea.mp4");
  editor().cancel();
  run();
  EXPECT_TRUE(editor().summaries.get().empty());
}

TEST_F(Clips, TwoThousandRowsAreEditedAndApplied) {
  std::vector<VisualClipMapping> many(2000);
  for (std::size_t index = 0; index < many.size(); ++index) {
    many[index].note = static_cast<std::uint8_t>(index % 128);
    many[index].filePath = "/none" + std::to_string(index) + ".mp4";
  }
  strip(0).visualClipMappings.set(many);
  editor().open(strip(0));
  editor().setNote(row(1999).id, 5);
  editor().remove(row(0).id);
  editor().apply();
  run();
  EXPECT_EQ(strip(0).visualClipMappings.get().size(), 1999U);
  EXPECT_EQ(strip(0).visualClipMappings.get().back().note, 5);
}

TEST_F(Clips, ItClosesWithItsStripAndInLiveMode) {
  editor().open(strip(0));
  content.songSwitch().applySong(0);
  run();
  EXPECT_EQ(editor().channel(), nullptr);
  editor().open(strip(0));
  content.liveMode().setLiveMode(true);
  EXPECT_EQ(editor().channel(), nullptr);
  editor().open(strip(0));
  EXPECT_EQ(editor().channel(), nullptr);
}

TEST_F(Clips, APickOfTheVisualInTheSelectorOpensItForTheStripAsItIs) {
  content.instrumentSelector().open(strip(1));
  content.instrumentSelector().pickVisual();
  ASSERT_NE(editor().channel(), nullptr);
  EXPECT_EQ(strip(1).pluginPath.get(), "");
  EXPECT_FALSE(state.isDirty.get());
}

}  // namespace
}  // namespace vrel
