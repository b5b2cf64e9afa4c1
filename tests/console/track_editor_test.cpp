// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/track_editor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "console/track_stage.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using testing::ElementsAre;

class Track : public TrackStage {
 protected:
  [[nodiscard]] std::string savedBytes() {
    SetlistFile all;
    content.songSwitch().captureCurrentSong();
    all.songs = state.songs.get();
    return encodeSetlist(all).value();
  }
};

TEST_F(Track, AFreshStripGetsTheWholeFile) {
  openWith("/ten.wav");
  EXPECT_EQ(editor().duration.get(), 10);
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 10}));
  EXPECT_EQ(editor().columns.get().size(), 180U);
  EXPECT_EQ(editor().columns.get()[0], (WaveformColumn{-0.5F, 0.5F}));
  EXPECT_EQ(editor().error.get(), std::nullopt);
}

TEST_F(Track, AnEndOfZeroBecomesTheEndOfTheFile) {
  addSound("/twenty.wav", 20);
  openWith("/twenty.wav", 10, 0);
  EXPECT_EQ(editor().range.get(), (TrackRange{10, 20}));
}

TEST_F(Track, AnEndBeforeTheStartBecomesTheEndOfTheFile) {
  openWith("/ten.wav", 4, 2);
  EXPECT_EQ(editor().range.get(), (TrackRange{4, 10}));
}

TEST_F(Track, AStartBehindTheFileLeavesTheLeastRangeAtItsEnd) {
  openWith("/ten.wav", 50, 60);
  EXPECT_DOUBLE_EQ(start(), 9.95);
  EXPECT_DOUBLE_EQ(end(), 10);
}

TEST_F(Track, AFileShorterThanTheLeastRangeIsPlayedWhole) {
  addSound("/blip.wav", 0.03);
  openWith("/blip.wav");
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 0.03}));
}

TEST_F(Track, AnEmptyFileHasNoRangeAndNoBars) {
  addSound("/empty.wav", 0);
  openWith("/empty.wav");
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 0}));
  EXPECT_TRUE(editor().columns.get().empty());
  editor().togglePreview();
  pass(0.1);
  EXPECT_FALSE(editor().isPreviewing.get());
}

TEST_F(Track, ADraggedExitIsAWholeNumberOfBeatsBehindTheEntry) {
  openWith("/ten.wav", 1, 10);
  drag(9, 2.2);
  EXPECT_DOUBLE_EQ(end(), 2);
  drag(2, 1.1);
  EXPECT_DOUBLE_EQ(end(), 1.5);
  EXPECT_DOUBLE_EQ(start(), 1);
}

TEST_F(Track, AnExitOffTheGridIsTheEndOfTheFileAlone) {
  openWith("/ten.wav", 0.2, 5);
  drag(5, 9.99);
  EXPECT_EQ(end(), 10);
}

TEST_F(Track, AnEntryDraggedPastTheExitPushesIt) {
  openWith("/ten.wav", 1, 3);
  drag(1, 5);
  EXPECT_DOUBLE_EQ(start(), 5);
  EXPECT_DOUBLE_EQ(end(), 5.05);
  drag(5, 11);
  EXPECT_DOUBLE_EQ(start(), 9.95);
  EXPECT_DOUBLE_EQ(end(), 10);
}

TEST_F(Track, ADragInTheMiddleTakesTheEntry) {
  openWith("/ten.wav", 2, 6);
  drag(4, 3);
  EXPECT_EQ(editor().range.get(), (TrackRange{3, 6}));
  drag(4.6, 5.1);
  EXPECT_EQ(editor().range.get(), (TrackRange{3, 5}));
}

TEST_F(Track, ADragKeepsItsPointWhenItPassesTheOther) {
  openWith("/ten.wav", 2, 6);
  editor().beginDrag(0.6);
  editor().drag(0.1);
  EXPECT_DOUBLE_EQ(start(), 2);
  EXPECT_DOUBLE_EQ(end(), 2.5);
  editor().endDrag();
}

TEST_F(Track, APressWithoutADragMovesNothing) {
  openWith("/ten.wav", 2, 6);
  editor().beginDrag(0.3);
  editor().endDrag();
  editor().drag(0.5);
  EXPECT_EQ(editor().range.get(), (TrackRange{2, 6}));
}

TEST_F(Track, TheGridFollowsTheEntryAndTheTempo) {
  openWith("/ten.wav", 8.5, 10);
  EXPECT_THAT(editor().beats(), ElementsAre(8.5, 9, 9.5, 10));
  state.tempoBpm.set(0);
  EXPECT_THAT(editor().beats(), ElementsAre(8.5));
  state.tempoBpm.set(65535);
  EXPECT_EQ(editor().beats().size(), 513U);
}

TEST_F(Track, AtATempoOfZeroTheExitGoesToTheEndOfTheFile) {
  state.tempoBpm.set(0);
  openWith("/ten.wav", 1, 9);
  drag(9, 3);
  EXPECT_EQ(end(), 10);
}

TEST_F(Track, ThePreviewGoesBackToTheEntryInALoopByTheClock) {
  openWith("/ten.wav", 2, 2.1);
  editor().setLooping(true);
  editor().togglePreview();
  EXPECT_THAT(players.calls, ElementsAre("open /ten.wav", "seek 2000 ms", "prepare", "play"));
  players.calls.clear();
  pass(0.09);
  EXPECT_NEAR(editor().playheadTime.get(), 2.09, 1e-6);
  EXPECT_TRUE(players.calls.empty());
  pass(0.03);
  EXPECT_THAT(players.calls, ElementsAre("stop", "seek 2000 ms", "play"));
  EXPECT_EQ(editor().playheadTime.get(), 2);
  pass(0.06);
  EXPECT_NEAR(editor().playheadTime.get(), 2.06, 1e-6);
  EXPECT_TRUE(editor().isPreviewing.get());
}

TEST_F(Track, WithoutALoopThePreviewStopsAndThePlayheadReturns) {
  openWith("/ten.wav", 2, 2.1);
  editor().togglePreview();
  pass(0.12);
  EXPECT_FALSE(editor().isPreviewing.get());
  EXPECT_EQ(editor().playheadTime.get(), 2);
  EXPECT_EQ(players.calls.back(), "gone");
}

TEST_F(Track, ASecondPressAMovedPointAndAnotherFileEachEndThePreview) {
  addSound("/five.wav", 5);
  openWith("/ten.wav", 2, 6);
  editor().togglePreview();
  editor().togglePreview();
  EXPECT_FALSE(editor().isPreviewing.get());
  editor().togglePreview();
  drag(2, 3);
  EXPECT_FALSE(editor().isPreviewing.get());
  editor().togglePreview();
  editor().setFile("/five.wav");
  EXPECT_FALSE(editor().isPreviewing.get());
  EXPECT_EQ(players.calls.back(), "gone");
}

TEST_F(Track, APanicOfAnyKindEndsThePreview) {
  openWith("/ten.wav", 2, 6);
  editor().togglePreview();
  ASSERT_TRUE(editor().isPreviewing.get());
  content.panic();
  EXPECT_FALSE(editor().isPreviewing.get());
  editor().togglePreview();
  ASSERT_TRUE(editor().isPreviewing.get());
  content.midiLearn().performMidiControl({.kind = MidiControlKind::panic}, true, 1);
  EXPECT_FALSE(editor().isPreviewing.get());
  EXPECT_EQ(players.calls.back(), "gone");
}

TEST_F(Track, APreviewThatFailsSaysSoAndKeepsTheFile) {
  players.unplayable.insert("/ten.wav");
  openWith("/ten.wav");
  editor().togglePreview();
  EXPECT_FALSE(editor().isPreviewing.get());
  EXPECT_EQ(editor().error.get(), TextKey::playbackPreviewError);
  EXPECT_EQ(editor().filePath.get(), "/ten.wav");
}

TEST_F(Track, ThePreviewNeverTouchesTheStrip) {
  play("/ten.wav", 2, 6);
  const auto node = strip(0).instrumentNode.get();
  editor().open(strip(0));
  run();
  editor().togglePreview();
  pass(1);
  EXPECT_EQ(strip(0).instrumentNode.get(), node);
  EXPECT_FALSE(strip(0).playbackIsPlaying.get());
}

TEST_F(Track, AnUnreadableFileSaysSoAndAReadableOneClearsThat) {
  openWith("/none.wav");
  EXPECT_EQ(editor().error.get(), TextKey::playbackReadError);
  EXPECT_EQ(editor().duration.get(), 0);
  EXPECT_TRUE(editor().columns.get().empty());
  EXPECT_FALSE(editor().isReading.get());
  editor().setFile("/ten.wav");
  run();
  EXPECT_EQ(editor().error.get(), std::nullopt);
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 10}));
}

TEST_F(Track, AReadThatFailsLeavesAnEmptyWaveformAndNoMessage) {
  sounds.sounds["/ten.wav"].readFailure = Error{"bad sector"};
  openWith("/ten.wav");
  EXPECT_TRUE(editor().columns.get().empty());
  EXPECT_EQ(editor().error.get(), std::nullopt);
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 10}));
}

TEST_F(Track, ATruncatedFileIsFlatBehindItsEnd) {
  sounds.sounds["/ten.wav"].claimedFrames = 10000;
  openWith("/ten.wav");
  EXPECT_EQ(editor().duration.get(), 20);
  ASSERT_EQ(editor().columns.get().size(), 180U);
  EXPECT_EQ(editor().columns.get()[89].high, 0.5F);
  EXPECT_EQ(editor().columns.get()[91].high, 0);
}

TEST_F(Track, AFileThatVanishesIsReportedAndReadAgainWhenItIsBack) {
  openWith("/ten.wav");
  const auto sound = sounds.sounds["/ten.wav"];
  sounds.sounds.clear();
  sounds.identities.clear();
  pass(1);
  run();
  EXPECT_EQ(editor().error.get(), TextKey::playbackReadError);
  EXPECT_EQ(editor().range.get(), (TrackRange{0, 10})) << "nothing is lost";
  sounds.sounds["/ten.wav"] = sound;
  sounds.identities["/ten.wav"] = "second";
  pass(1);
  run();
  EXPECT_EQ(editor().error.get(), std::nullopt);
  EXPECT_EQ(editor().columns.get().size(), 180U);
}

TEST_F(Track, AFileThatIsReplacedIsReadAgainAndItsRangeMadeLegal) {
  openWith("/ten.wav", 2, 9);
  addSound("/ten.wav", 4, 0.25F);
  sounds.identities["/ten.wav"] = "second";
  pass(1);
  run();
  EXPECT_EQ(editor().duration.get(), 4);
  EXPECT_EQ(editor().range.get(), (TrackRange{2, 4}));
  EXPECT_EQ(editor().columns.get()[0].high, 0.25F);
}

TEST_F(Track, ApplyLoadsTheStripWithWhatIsSetUp) {
  openWith("/ten.wav", 1, 9);
  editor().setLooping(true);
  editor().setStopMode(StopMode::rangeEnd);
  drag(9, 3.1);
  EXPECT_FALSE(state.isDirty.get());
  editor().apply();
  EXPECT_EQ(editor().channel(), nullptr);
  EXPECT_EQ(strip(0).pluginPath.get(), pathPlayback);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_EQ(strip(0).playbackStartFrame.get(), 1000);
  EXPECT_EQ(strip(0).playbackFrameCount.get(), 2000U);
  EXPECT_TRUE(strip(0).playbackLoop.get());
  EXPECT_EQ(strip(0).playbackStopMode.get().mode(), StopMode::rangeEnd);
  EXPECT_TRUE(state.isDirty.get());
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_TRUE(strip(0).playbackIsPlaying.get());
}

TEST_F(Track, ApplyWithoutAFileDoesNothing) {
  editor().open(strip(0));
  editor().apply();
  EXPECT_NE(editor().channel(), nullptr);
  EXPECT_EQ(strip(0).pluginPath.get(), "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Track, ApplyOnAnInstrumentPutsATrackInItsPlace) {
  state.scannedPlugins.set({piano});
  content.instrumentSelector().put(engine->channels()[0], record("", pianoKey));
  settle();
  units.answerWithInstrument();
  settle();
  openWith("/ten.wav");
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey) << "before it is applied";
  editor().apply();
  EXPECT_EQ(strip(0).pluginPath.get(), pathPlayback);
}

TEST_F(Track, AnAppliedRangeFitsTheFrameCounterOfAPlayer) {
  auto& sound = sounds.sounds["/days.wav"];
  sound.sampleRate = framesPerSecond;
  sound.channels.assign(1, std::vector<float>(1000));
  sound.claimedFrames = std::int64_t{1} << 33;
  openWith("/days.wav");
  sounds.isOutOfMemory = true;  // it is streamed
  editor().apply();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_LE(strip(0).playbackFrameCount.get(), std::numeric_limits<std::uint32_t>::max());
}

TEST_F(Track, CancelLeavesTheSavedFileAsItWas) {
  play("/ten.wav", 2, 6);
  const auto node = strip(0).instrumentNode.get();
  const auto before = savedBytes();
  addSound("/five.wav", 5);
  editor().open(strip(0));
  run();
  editor().setFile("/five.wav");
  run();
  editor().setLooping(true);
  editor().setStopMode(StopMode::rangeEnd);
  drag(2, 3);
  editor().togglePreview();
  editor().cancel();
  EXPECT_EQ(savedBytes(), before);
  EXPECT_EQ(strip(0).instrumentNode.get(), node);
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_EQ(players.calls.back(), "gone");
}

TEST_F(Track, AnUnknownStopModeIsAppliedAsItWasRead) {
  play("/ten.wav", 0, 0);
  strip(0).playbackStopMode.set(PlaybackStopMode::fromText("fade"));
  editor().open(strip(0));
  run();
  editor().apply();
  EXPECT_EQ(strip(0).playbackStopMode.get().text(), "fade");
}

TEST_F(Track, TheFileIsAskedForAndACancelledPanelChangesNothing) {
  editor().open(strip(0));
  editor().chooseFile();
  ASSERT_EQ(desktop.openPanels.size(), 1U);
  EXPECT_EQ(desktop.openPanels[0].allowedType, FileType::audio);
  EXPECT_EQ(editor().filePath.get(), std::nullopt);
  desktop.openPanelAnswers = {"/ten.wav"};
  editor().chooseFile();
  EXPECT_EQ(editor().filePath.get(), "/ten.wav");
}

TEST_F(Track, AStripThatGoesWhileAFileIsAskedForTakesTheEditorWithIt) {
  editor().open(strip(0));
  desktop.openPanelAnswers = {"/ten.wav"};
  desktop.whileAsking = [this] { content.channelOperations().removeChannelFromConsole(strip(0)); };
  editor().chooseFile();
  run();
  EXPECT_EQ(editor().channel(), nullptr);
  EXPECT_EQ(editor().filePath.get(), std::nullopt);
}

TEST_F(Track, ItClosesWithItsStripAndWithTheSong) {
  openWith("/ten.wav");
  editor().togglePreview();
  content.songSwitch().applySong(0);
  run();
  EXPECT_EQ(editor().channel(), nullptr);
  EXPECT_FALSE(editor().isPreviewing.get());
}

TEST_F(Track, LiveModeCancelsItAndDoesNotOpenIt) {
  openWith("/ten.wav");
  content.liveMode().setLiveMode(true);
  EXPECT_EQ(editor().channel(), nullptr);
  editor().open(strip(0));
  EXPECT_EQ(editor().channel(), nullptr);
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

TEST_F(Track, KeysMoveTheEntryFreelyAndTheExitByBeats) {
  openWith("/ten.wav", 2, 6);
  editor().nudge(TrackPoint::entry, 1, TrackNudge::usual);
  EXPECT_DOUBLE_EQ(start(), 2.01);
  editor().nudge(TrackPoint::entry, -1, TrackNudge::fine);
  EXPECT_DOUBLE_EQ(start(), 2.009);
  editor().nudge(TrackPoint::entry, -1, TrackNudge::coarse);
  EXPECT_DOUBLE_EQ(start(), 1.009);
  editor().nudge(TrackPoint::exit, -1, TrackNudge::usual);
  EXPECT_DOUBLE_EQ(end(), 5.509) << "back on the grid";
  editor().nudge(TrackPoint::exit, 1, TrackNudge::coarse);
  EXPECT_DOUBLE_EQ(end(), 7.509);
}

TEST_F(Track, TheEntryMovesToTheNearestZeroCrossing) {
  auto& samples = sounds.sounds["/ten.wav"].channels[0];
  for (std::size_t frame = 0; frame < samples.size(); ++frame) {
    samples[frame] = frame % 100 < 50 ? 0.5F : -0.5F;
  }
  openWith("/ten.wav", 2.012, 6);
  editor().moveEntryToZeroCrossing();
  run();
  EXPECT_DOUBLE_EQ(start(), 2);
  EXPECT_DOUBLE_EQ(end(), 6);
}

TEST_F(Track, WithoutAZeroCrossingNearbyTheEntryStays) {
  openWith("/ten.wav", 2.012, 6);
  editor().moveEntryToZeroCrossing();
  run();
  EXPECT_DOUBLE_EQ(start(), 2.012);
}

TEST_F(Track, ZoomingInShowsSingleFramesAtLast) {
  auto& samples = sounds.sounds["/ten.wav"].channels[0];
  samples[5000] = -1.0F;
  openWith("/ten.wav");
  for (int step = 0; step < 40; ++step) {
    editor().zoom(1.5, 0.5);
  }
  run();
  EXPECT_DOUBLE_EQ(editor().view.get().length, 0.18);
  ASSERT_EQ(editor().columns.get().size(), 180U);
  EXPECT_EQ(editor().columns.get()[90], (WaveformColumn{-1.0F, -1.0F}));
  EXPECT_EQ(editor().columns.get()[89], (WaveformColumn{0.5F, 0.5F}));
  for (int step = 0; step < 40; ++step) {
    editor().zoom(0.5, 0.5);
  }
  EXPECT_EQ(editor().columns.get().size(), 180U);
  EXPECT_EQ(editor().view.get(), (TrackView{0, 10})) << "the picture of the start";
}

TEST_F(Track, ADragInAZoomedViewMovesWithinIt) {
  openWith("/ten.wav", 4, 6);
  editor().zoom(5, 0.4);
  ASSERT_DOUBLE_EQ(editor().view.get().from, 3.2);
  editor().beginDrag(0.4);
  editor().drag(0.5);
  EXPECT_DOUBLE_EQ(start(), 4.2);
  editor().endDrag();
}

TEST_F(Track, AColumnThatComesTooLateIsNotShown) {
  openWith("/ten.wav");
  editor().zoom(50, 0.5);
  editor().zoom(0.0001, 0.5);
  run();
  EXPECT_EQ(editor().columns.get().size(), 180U);
  EXPECT_EQ(editor().columns.get()[0], (WaveformColumn{-0.5F, 0.5F}));
}

TEST_F(Track, APickOfThePlayerInTheSelectorOpensItForTheStripAsItIs) {
  content.instrumentSelector().open(strip(1));
  content.instrumentSelector().pickPlayback();
  EXPECT_EQ(content.instrumentSelector().channel(), nullptr);
  ASSERT_NE(editor().channel(), nullptr);
  EXPECT_EQ(editor().channel()->id, strip(1).id);
  EXPECT_EQ(strip(1).pluginPath.get(), "");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Track, AnAppliedTrackIsTakenBackByUndo) {
  openWith("/ten.wav");
  editor().apply();
  run();
  content.editHistory().undo();
  run();
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

}  // namespace
}  // namespace vrel
