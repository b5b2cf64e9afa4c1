// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_runs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>

#include "playback/playback_stage.h"
#include "support/raw_peaks.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class PlaybackRun : public PlaybackStage {
 protected:
  std::shared_ptr<AudioChannel> load(bool loops = false, const PlaybackStopMode& stopMode = StopMode::toggle) {
    auto channel = addPlayback(record(loops, stopMode));
    playerOf(*channel).calls.clear();
    return channel;
  }

  static void expectIdle(const AudioChannel& channel) {
    EXPECT_FALSE(channel.playbackIsPlaying.get());
    EXPECT_FALSE(channel.playbackStopRequested.get());
    EXPECT_FALSE(channel.playbackRunToken.get());
    EXPECT_FALSE(channel.playbackMeterStartedAt.get());
  }
};

TEST_F(PlaybackRun, StartsWithANoteAndEndsWithTheFile) {
  const auto channel = load();
  noteOn();
  EXPECT_TRUE(channel->playbackIsPlaying.get());
  EXPECT_EQ(channel->playbackMeterStartedAt.get(), clock.CACurrentMediaTime());
  EXPECT_THAT(playerOf(*channel).calls, IsEmpty()) << "the node is for the player queue";
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 0 + 48000", "play"));
  playerOf(*channel).consumeOne();
  EXPECT_TRUE(channel->playbackIsPlaying.get()) << "the end is reported on the main queue";
  settle();
  expectIdle(*channel);
}

TEST_F(PlaybackRun, TheFileComesBeforeTheBuffer) {
  const auto channel = load();
  ASSERT_NE(channel->playbackBuffer.get(), nullptr);
  noteOn();
  settle();
  ASSERT_THAT(playerOf(*channel).scheduled, SizeIs(1));
  EXPECT_EQ(playerOf(*channel).scheduled[0].file, channel->playbackFile.get());
}

TEST_F(PlaybackRun, ANoteOutsideTheSplitAndNoteOffsChangeNothing) {
  const auto channel = load();
  channel->minNote.set(60);
  channel->maxNote.set(72);
  noteOn(59);
  noteOn(73);
  expectIdle(*channel);
  noteOn(60);
  engine->routeMIDI(0x80, 60, 0);
  engine->routeMIDI(0x90, 60, 0);
  settle();
  EXPECT_TRUE(channel->playbackIsPlaying.get());
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 0 + 48000", "play"));
}

TEST_F(PlaybackRun, ThreeQuickNotesOnAnExitLoopStopItAtItsExit) {
  const auto channel = load(true, StopMode::rangeEnd);
  noteOn();
  EXPECT_FALSE(channel->playbackStopRequested.get());
  noteOn();
  EXPECT_TRUE(channel->playbackStopRequested.get());
  noteOn();
  EXPECT_TRUE(channel->playbackStopRequested.get());
  settle();
  EXPECT_TRUE(channel->playbackIsPlaying.get());
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 0 + 48000", "play"));
  playerOf(*channel).consumeOne();
  settle();
  expectIdle(*channel);
  EXPECT_EQ(playerOf(*channel).calls.back(), "stop");
}

TEST_F(PlaybackRun, TwoQuickNotesOnAToggleChannelNeverPlay) {
  const auto channel = load();
  noteOn();
  noteOn();
  expectIdle(*channel);
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop"));
}

TEST_F(PlaybackRun, AfterAPassTheNextNoteBeginsAtTheEntryAgain) {
  const auto channel = load();
  noteOn();
  settle();
  const auto first = channel->playbackRunToken.get();
  playerOf(*channel).consumeOne();
  settle();
  playerOf(*channel).calls.clear();
  noteOn();
  settle();
  EXPECT_NE(channel->playbackRunToken.get(), first);
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 0 + 48000", "play"));
}

TEST_F(PlaybackRun, ALoopIsScheduledAgainAtEachCompletion) {
  const auto channel = load(true);
  noteOn();
  settle();
  for (int pass = 0; pass < 3; ++pass) {
    ASSERT_TRUE(playerOf(*channel).consumeOne());
    EXPECT_THAT(playerOf(*channel).scheduled, IsEmpty()) << "the next pass is for the player queue";
    settle();
  }
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 0 + 48000", "play", "segment 0 + 48000",
                                                    "segment 0 + 48000", "segment 0 + 48000"));
  EXPECT_TRUE(channel->playbackIsPlaying.get());
}

TEST_F(PlaybackRun, StopModesActAsTheUserSeesThem) {
  for (const auto& [loops, mode, stopsAtOnce] : {std::tuple{false, "toggle", true},
                                                 {false, "rangeEnd", true},
                                                 {true, "toggle", true},
                                                 {true, "rangeEnd", false},
                                                 {true, "some other word", false}}) {
    SCOPED_TRACE(std::string(loops ? "loop, " : "once, ") + mode);
    engine->removeAllChannels();
    const auto channel = load(loops, PlaybackStopMode::fromText(mode));
    noteOn();
    settle();
    noteOn();
    EXPECT_EQ(channel->playbackIsPlaying.get(), !stopsAtOnce);
    EXPECT_EQ(channel->playbackStopRequested.get(), !stopsAtOnce);
    settle();
    EXPECT_EQ(playerOf(*channel).stopCount, stopsAtOnce ? 2 : 1);
  }
}

TEST_F(PlaybackRun, ACompletionOfAnOlderRunDoesNothing) {
  const auto channel = load(true);
  noteOn();
  settle();
  const auto older = playerOf(*channel).scheduled.at(0).completionHandler;
  noteOn();
  noteOn();
  settle();
  playerOf(*channel).calls.clear();
  older();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, IsEmpty());
  EXPECT_TRUE(channel->playbackIsPlaying.get());
}

TEST_F(PlaybackRun, ABufferWithoutFilePlaysFromMemory) {
  const auto channel = load();
  channel->playbackFile.set(nullptr);
  noteOn();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "buffer", "play"));
  playerOf(*channel).consumeOne();
  settle();
  expectIdle(*channel);
}

TEST_F(PlaybackRun, ABufferLoopsByItselfUnlessItMustStopAtItsExit) {
  const auto channel = load(true);
  channel->playbackFile.set(nullptr);
  noteOn();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "buffer, loops", "play"));
  noteOn();
  settle();
  channel->playbackStopMode.set(StopMode::rangeEnd);
  playerOf(*channel).calls.clear();
  noteOn();
  settle();
  playerOf(*channel).consumeOne();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "buffer", "play", "buffer"));
  noteOn();
  playerOf(*channel).consumeOne();
  settle();
  expectIdle(*channel);
}

TEST_F(PlaybackRun, ABufferStopsAtItsExitInNoModeButTheOneOfThatName) {
  const auto channel = load(true, PlaybackStopMode::fromText("some other word"));
  channel->playbackFile.set(nullptr);
  noteOn();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "buffer, loops", "play"));
}

TEST_F(PlaybackRun, PlaysTheRangeBetweenEntryAndExit) {
  auto config = record();
  config.playbackStartTime = 0.25;
  config.playbackEndTime = 0.5;
  const auto channel = addPlayback(config);
  playerOf(*channel).calls.clear();
  noteOn();
  settle();
  EXPECT_THAT(playerOf(*channel).calls, ElementsAre("stop", "segment 12000 + 12000", "play"));
}

TEST_F(PlaybackRun, WithNothingToPlayStaysIdle) {
  const auto channel = load();
  const auto node = std::dynamic_pointer_cast<AVAudioPlayerNode>(channel->instrumentNode.get());
  channel->playbackBuffer.set(nullptr);
  channel->playbackFrameCount.set(0);
  engine->playbackRuns().triggerPlayback(*channel, node);
  expectIdle(*channel);
  channel->playbackFile.set(nullptr);
  channel->playbackFrameCount.set(9);
  engine->playbackRuns().triggerPlayback(*channel, node);
  expectIdle(*channel);
  EXPECT_EQ(playerQueue().pendingCount(), 0U);
}

TEST_F(PlaybackRun, PanicEndsASinglePass) {
  const auto channel = load();
  noteOn();
  settle();
  engine->panic();
  EXPECT_TRUE(channel->playbackIsPlaying.get()) << "panic changes no field itself";
  settle();
  expectIdle(*channel);
}

TEST_F(PlaybackRun, APanicBeforeAFileHasBegunKeepsItSilent) {
  const auto channel = load();
  noteOn();
  engine->panic();
  settle();
  EXPECT_FALSE(playerOf(*channel).isPlaying());
  expectIdle(*channel);
  noteOn();
  settle();
  EXPECT_TRUE(playerOf(*channel).isPlaying());
}

TEST_F(PlaybackRun, APanicBeforeALoopHasBegunLeavesItPlayingInSilenceUntilTheNextNote) {
  const auto channel = load(true);
  noteOn();
  engine->panic();
  settle();
  EXPECT_FALSE(playerOf(*channel).isPlaying());
  EXPECT_TRUE(channel->playbackIsPlaying.get());
  noteOn();
  settle();
  expectIdle(*channel);
  noteOn();
  settle();
  EXPECT_TRUE(playerOf(*channel).isPlaying());
}

TEST_F(PlaybackRun, PanicLeavesALoopPlayingInSilenceUntilTheNextNote) {
  const auto channel = load(true);
  noteOn();
  settle();
  engine->panic();
  settle();
  EXPECT_TRUE(channel->playbackIsPlaying.get());
  EXPECT_FALSE(playerOf(*channel).isPlaying());
  EXPECT_THAT(playerOf(*channel).scheduled, SizeIs(1));
  noteOn();
  settle();
  expectIdle(*channel);
  noteOn();
  settle();
  EXPECT_TRUE(playerOf(*channel).isPlaying());
}

TEST_F(PlaybackRun, AfterAPanicTheNextNoteStopsALoopAndTheOneAfterStartsItInEveryMode) {
  for (const char* mode : {"toggle", "rangeEnd", "other"}) {
    const auto channel = load(true, PlaybackStopMode::fromText(mode));
    noteOn();
    settle();
    engine->panic();
    settle();
    EXPECT_TRUE(channel->playbackIsPlaying.get()) << mode;
    noteOn();
    settle();
    expectIdle(*channel);
    noteOn();
    settle();
    EXPECT_TRUE(playerOf(*channel).isPlaying()) << mode;
    engine->removeAllChannels();
  }
}

TEST_F(PlaybackRun, AStopThatIsAskedForBehindTheExitWaitsForTheNextOne) {
  const auto channel = load(true, StopMode::rangeEnd);
  noteOn();
  settle();
  EXPECT_TRUE(playerOf(*channel).repeats);
  playerOf(*channel).continued = true;
  ASSERT_TRUE(playerOf(*channel).consumeOne());
  noteOn();
  EXPECT_FALSE(playerOf(*channel).repeats);
  settle();
  EXPECT_TRUE(channel->playbackIsPlaying.get()) << "the pass that sounds already goes on";
  playerOf(*channel).continued = false;
  ASSERT_TRUE(playerOf(*channel).consumeOne());
  settle();
  expectIdle(*channel);
}

TEST_F(PlaybackRun, WorkForAChannelThatHasGoneEndsInSilence) {
  auto channel = load(true);
  const auto node = channel->instrumentNode.get();
  auto& player = dynamic_cast<simulation::SimulatedPlayer&>(*node);
  noteOn();
  settle();
  const auto late = player.scheduled.at(0).completionHandler;
  noteOn();
  noteOn();
  engine->removeChannel(*channel);
  channel.reset();
  player.calls.clear();
  late();
  settle();
  EXPECT_THAT(player.calls, ElementsAre("stop")) << "what the second note asked for; the third finds no channel";
}

TEST_F(PlaybackRun, ACompletionMayOutliveTheEngine) {
  const auto channel = load(true);
  noteOn();
  settle();
  const auto late = playerOf(*channel).scheduled.at(0).completionHandler;
  engine.reset();
  late();
  mainQueue.runAll();
  EXPECT_TRUE(channel->playbackIsPlaying.get()) << "nothing is left to play the next pass or to end the run";
}

TEST_F(PlaybackRun, TheMeterOfALoopBeginsAgainByTimeAlone) {
  files.sounds["/click.wav"].channels[0].assign(48000, 0.0F);
  std::fill_n(files.sounds["/click.wav"].channels[0].begin(), 4800, 1.0F);
  const auto channel = load(true);
  noteOn();
  settle();
  const auto left = [&] {
    test::setRawPeaks(*channel, {});
    engine->levelCapture().feedPlaybackMeter(*channel);
    return test::rawPeaks(*channel).left;
  };
  EXPECT_GT(left(), 0.0F);
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 500'000'000);
  EXPECT_EQ(left(), 0.0F);
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 550'000'000);
  EXPECT_GT(left(), 0.0F) << "1.05 seconds in, though no pass has been consumed";
}

}  // namespace
}  // namespace vrel
