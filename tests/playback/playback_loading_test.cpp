// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "playback/playback_stage.h"
#include "support/session_on.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class PlaybackLoading : public PlaybackStage {};

TEST_F(PlaybackLoading, WiresAPlayerLikeAnyInstrument) {
  const auto channel = addPlayback(record());
  EXPECT_EQ(nodes.engine->chainFrom(channel->instrumentNode.get()),
            "player 1 > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(channel->pluginPath.get(), "internal:playback");
  EXPECT_EQ(channel->pluginName.get(), "Vrel Player - click.wav");
  EXPECT_FALSE(channel->meterTapInstalled.get());
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(PlaybackLoading, AMixIsAppliedToTheFile) {
  const auto channel = engine->addChannel("Click");
  channel->meterNode.get()->setOutputVolume(-1.0F);
  engine->playbackLoader().loadPlaybackInstrument(*channel, record());
  EXPECT_EQ(channel->meterNode.get()->outputVolume(), engine->levels().channelOutputLevel(*channel));
}

TEST_F(PlaybackLoading, AnEndOfZeroHoldsTheDurationAfterwards) {
  const auto channel = addPlayback(record());
  EXPECT_EQ(channel->playbackEndTime.get(), 1.0);
  EXPECT_EQ(channel->playbackFileDuration.get(), 1.0);
  EXPECT_EQ(channel->playbackFrameCount.get(), 48000U);
}

TEST_F(PlaybackLoading, AStartBehindTheFileBecomesItsEnd) {
  auto config = record();
  config.playbackStartTime = 5;
  const auto channel = addPlayback(config);
  EXPECT_EQ(channel->playbackStartTime.get(), 1.0);
  EXPECT_EQ(channel->playbackStartFrame.get(), 48000);
  EXPECT_EQ(channel->playbackFrameCount.get(), 1U);
}

TEST_F(PlaybackLoading, PreparesAtMost4096Frames) {
  EXPECT_THAT(playerOf(*addPlayback(record())).calls, ElementsAre("prepare 4096"));
  auto config = record();
  config.playbackEndTime = 0.01;
  EXPECT_THAT(playerOf(*addPlayback(config)).calls, ElementsAre("prepare 480"));
  files.isOutOfMemory = true;
  EXPECT_THAT(playerOf(*addPlayback(config)).calls, ElementsAre("prepare 480"));
}

TEST_F(PlaybackLoading, OfAMissingFileLeavesTheChannelWithoutPlayer) {
  auto config = record();
  config.playbackFilePath = "/gone.wav";
  const auto channel = addPlayback(config);
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(channel->instrumentNode.get(), nullptr);
  EXPECT_THAT(console.lines, ElementsAre("Failed to load playback file: no such file: /gone.wav"));
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::instrument}));
  noteOn();
  settle();
  EXPECT_FALSE(channel->playbackIsPlaying.get());
}

TEST_F(PlaybackLoading, InAProgramWithoutFilesIsLogged) {
  simulation::SimulatedNodeFactory otherNodes;
  const auto other = AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console});
  const auto channel = other->addChannel("Click");
  other->playbackLoader().loadPlaybackInstrument(*channel, record());
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_THAT(console.lines,
              ElementsAre("Failed to load playback file: this program reads no audio files: /click.wav"));
}

TEST_F(PlaybackLoading, AStreamIsMeteredByItsTap) {
  files.isOutOfMemory = true;
  EXPECT_TRUE(addPlayback(record())->meterTapInstalled.get());
}

TEST_F(PlaybackLoading, GivesTheOldPluginBackToThePool) {
  const auto channel = engine->addChannel("Piano");
  engine->instruments().installInstrumentNode(*channel, std::make_shared<simulation::ScriptedInstrument>("piano"),
                                              "aucd:1:2:3", "Piano", std::nullopt);
  engine->playbackLoader().loadPlaybackInstrument(*channel, record());
  EXPECT_EQ(engine->pluginPool().idleCount("aucd:1:2:3"), 1U);
  EXPECT_EQ(nodes.engine->count("detach piano"), 1);
}

TEST_F(PlaybackLoading, APluginInItsPlaceEndsTheRunForGood) {
  const auto channel = addPlayback(record(true, StopMode::rangeEnd));
  const auto node = channel->instrumentNode.get();
  noteOn();
  settle();
  noteOn();
  ASSERT_TRUE(channel->playbackStopRequested.get());
  engine->instruments().installInstrumentNode(*channel, std::make_shared<simulation::ScriptedInstrument>("piano"),
                                              "aucd:1:2:3", "Piano", std::nullopt);
  EXPECT_FALSE(channel->playbackIsPlaying.get());
  EXPECT_FALSE(channel->playbackStopRequested.get());
  EXPECT_FALSE(channel->playbackRunToken.get());
  EXPECT_FALSE(channel->playbackMeterStartedAt.get());
  EXPECT_THAT(channel->playbackMeterPeaks.get(), IsEmpty());
  EXPECT_EQ(channel->playbackStopMode.get(), StopMode::toggle);
  auto& player = dynamic_cast<simulation::SimulatedPlayer&>(*node);
  player.calls.clear();
  player.consumeOne();
  settle();
  EXPECT_THAT(player.calls, IsEmpty()) << "a late completion is harmless";
}

TEST_F(PlaybackLoading, MutatesTheGraphOnce) {
  nodes.engine->record.clear();
  addPlayback(record());
  EXPECT_EQ(nodes.engine->count("stop"), 1);
  EXPECT_EQ(nodes.engine->count("start"), 1);
  EXPECT_EQ(nodes.engine->connectsWhileRunning, 0);
}

TEST_F(PlaybackLoading, UnloadingStopsThePlayerAndGoesBackToToggle) {
  const auto channel = addPlayback(record(true, StopMode::rangeEnd));
  const auto node = channel->instrumentNode.get();
  noteOn();
  settle();
  auto& player = dynamic_cast<simulation::SimulatedPlayer&>(*node);
  const int stops = player.stopCount;
  engine->instruments().unloadInstrument(*channel);
  settle();
  EXPECT_EQ(player.stopCount, stops + 1);
  EXPECT_THAT(player.scheduled, IsEmpty());
  EXPECT_EQ(channel->playbackStopMode.get(), StopMode::toggle);
  EXPECT_FALSE(channel->playbackIsPlaying.get());
  EXPECT_FALSE(channel->playbackRunToken.get());
}

TEST_F(PlaybackLoading, ReviveLoadsTheFileAgain) {
  auto config = record(true, StopMode::rangeEnd);
  config.playbackStartTime = 0.25;
  const auto channel = addPlayback(config);
  engine->instruments().simulatePluginCrash(*channel);
  ASSERT_EQ(channel->instrumentNode.get(), nullptr);
  engine->instruments().reviveChannel(channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(channel->playbackStartFrame.get(), 12000);
  EXPECT_TRUE(channel->playbackLoop.get());
  EXPECT_EQ(channel->playbackStopMode.get(), StopMode::rangeEnd);
  EXPECT_EQ(nodes.engine->chainFrom(channel->instrumentNode.get()),
            "player 2 > reverb 1 > meter 2 > main mixer > output");
}

TEST_F(PlaybackLoading, ASongStreamsItsFileAtOnceAndComesFromMemoryTheNextTime) {
  EnginePlatform platform{nodes, units, mainQueue, queues, clock, propertyLists, console};
  platform.files = &files;
  platform.decodesAhead = true;
  engine = AudioEngine::make(platform);
  mainQueue.runAll();
  files.identities["/click.wav"] = "first";
  SessionOn session(*engine, mainQueue, clock, console);
  SongConfig song;
  song.channels = {record()};
  session.setSongs({song});
  session.songSwitch.applySong(0);
  settle();
  EXPECT_EQ(files.openCount, 1);
  EXPECT_EQ(engine->channels().at(0)->playbackBuffer.get(), nullptr);
  EXPECT_EQ(engine->channels().at(0)->playbackFrameCount.get(), 48000U);
  queues.queue("vrel.playback.decoder.1").runAll();
  queues.queue("vrel.playback.decoder.2").runAll();
  files.openCount = 0;
  session.songSwitch.applySong(0);
  settle();
  EXPECT_EQ(files.openCount, 0);
  ASSERT_NE(engine->channels().at(0)->playbackBuffer.get(), nullptr);
  EXPECT_EQ(engine->channels().at(0)->playbackMeterPeaks.get().size(), 93U);
}

TEST_F(PlaybackLoading, ASongPutsItsFilesOnStageAndKeepsThemInTheDocument) {
  SessionOn session(*engine, mainQueue, clock, console);
  SongConfig song;
  song.channels = {record(true, StopMode::rangeEnd)};
  song.channels[0].name = "Track";
  session.setSongs({song});
  session.songSwitch.applySong(0);
  EXPECT_FALSE(session.state.songSwitchInProgress.get()) << "a file is there at once";
  settle();
  ASSERT_THAT(engine->channels(), SizeIs(1));
  EXPECT_EQ(engine->channels()[0]->status.get(), ChannelStatus::running);
  session.songSwitch.captureCurrentSong();
  const auto& saved = session.state.songs.get()[0].channels[0];
  EXPECT_EQ(saved.pluginPath, "internal:playback");
  EXPECT_EQ(saved.playbackFilePath, "/click.wav");
  EXPECT_TRUE(saved.playbackLoop);
  EXPECT_EQ(saved.playbackEndTime, 1.0);
  EXPECT_EQ(saved.playbackStopMode, StopMode::rangeEnd);
}

}  // namespace
}  // namespace vrel
