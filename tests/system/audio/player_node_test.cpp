// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/player_node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "simulation/simulated_audio_files.h"
#include "support/audio/hammering_device.h"
#include "support/audio/player_stage.h"

namespace vrel::audio::test {
namespace {

using simulation::SimulatedAudioFile;
using simulation::SimulatedSound;

constexpr std::uint32_t blockFrames = 128;

float sampleAt(std::size_t frame) {
  return static_cast<float>(frame % 1000 + 1) / 2000.0F;
}

/// Never silent; the right channel is the negative of the left.
SimulatedSound stepsOf(std::size_t frameCount) {
  SimulatedSound sound;
  sound.channels.resize(2);
  for (std::size_t frame = 0; frame < frameCount; ++frame) {
    sound.channels[0].push_back(sampleAt(frame));
    sound.channels[1].push_back(-sampleAt(frame));
  }
  return sound;
}

std::shared_ptr<AVAudioFile> fileOf(std::size_t frameCount) {
  return std::make_shared<SimulatedAudioFile>("/steps", stepsOf(frameCount));
}

class Player : public testing::Test {
 protected:
  OfflinePlayers stage;
  std::shared_ptr<AVAudioPlayerNode> player = stage.addPlayer();
};

TEST_F(Player, SoundsFromTheBlockThatFollowsPlay) {
  stage.record(blockFrames);
  player->scheduleSegment(fileOf(5000), 100, 200, [] {});
  EXPECT_EQ(stage.record(blockFrames).left[0], 0.0F) << "scheduled, not played";
  player->play();
  const auto tape = stage.record(3 * blockFrames);
  for (std::size_t frame = 0; frame < 200; ++frame) {
    ASSERT_EQ(tape.left[frame], sampleAt(100 + frame));
    ASSERT_EQ(tape.right[frame], -sampleAt(100 + frame));
  }
  EXPECT_EQ(std::count(tape.left.begin() + 200, tape.left.end(), 0.0F), 3 * blockFrames - 200);
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST_F(Player, ALoopHasNoSeam) {
  stage.loop(player, fileOf(300000), 5, 100003, 3);
  player->play();
  const auto tape = stage.record(300009);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], sampleAt(5 + frame % 100003)) << "frame " << frame;
  }
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST_F(Player, ALoopShorterThanABlockHasNoSeam) {
  stage.loop(player, fileOf(300), 5, 7, 1000);
  player->play();
  const auto tape = stage.record(7000);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], sampleAt(5 + frame % 7)) << "frame " << frame;
  }
}

TEST_F(Player, ASegmentIsConsumedWhenItsLastFrameIsTaken) {
  std::size_t played = 0;
  std::size_t consumedAt = 0;
  player->scheduleSegment(fileOf(50000), 0, 50000, [&] { consumedAt = played; });
  player->play();
  while (played < 60000) {
    stage.record(blockFrames);
    played += blockFrames;
  }
  EXPECT_GE(consumedAt + blockFrames, 50000U);
  EXPECT_LE(consumedAt, 50000U + blockFrames);
}

TEST_F(Player, AShortFileIsNotConsumedBeforeItIsPlayed) {
  bool isConsumed = false;
  player->scheduleSegment(fileOf(100), 0, 100, [&] { isConsumed = true; });
  EXPECT_FALSE(isConsumed);
  player->play();
  stage.record(blockFrames);
  EXPECT_FALSE(isConsumed) << "it is looked at before a block";
  stage.record(blockFrames);
  EXPECT_TRUE(isConsumed);
}

TEST_F(Player, ALoopThatIsNotToGoOnEndsAtItsExitAtAnyMoment) {
  for (const std::uint32_t framesBefore : {1U, 100U, 4000U, 29000U}) {
    int passes = 0;
    const auto looped = stage.addPlayer();
    stage.record(2 * blockFrames);  // its link has faded in
    const std::weak_ptr<AVAudioPlayerNode> weak = looped;
    const auto file = fileOf(40000);
    looped->setRepeating(true);
    std::function<void()> next = [&] {
      ++passes;
      stage.queue.emplace_back([&] {
        if (const auto alive = weak.lock(); alive->hasContinued()) {
          alive->scheduleSegment(file, 5, 30000, next);
        }
      });
    };
    looped->scheduleSegment(file, 5, 30000, next);
    looped->play();
    const auto tape = stage.record(60000 - framesBefore);
    looped->setRepeating(false);
    const auto rest = stage.record(40000);
    const std::size_t blocks = (60000 - framesBefore + blockFrames - 1) / blockFrames * blockFrames;
    const std::size_t end = blocks > 60000 ? 90000 : 60000;  // a block that began before the exit may have passed it
    for (std::size_t frame = 0; frame < 60000 - framesBefore; ++frame) {
      ASSERT_EQ(tape.left[frame], sampleAt(5 + frame % 30000)) << framesBefore;
    }
    const auto silent = static_cast<std::size_t>(std::count(rest.left.begin(), rest.left.end(), 0.0F));
    EXPECT_EQ(rest.left.size() - silent, end - blocks) << framesBefore;
    EXPECT_EQ(passes, end == 60000 ? 2 : 3) << framesBefore;
    looped->stop();
    stage.record(2 * blockFrames);
  }
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST_F(Player, StopsWithinOneBlockAndCallsEachHandlerOnce) {
  int calls = 0;
  player->scheduleSegment(fileOf(90000), 0, 90000, [&] { ++calls; });
  player->scheduleSegment(fileOf(90000), 0, 90000, [&] { ++calls; });
  player->play();
  const float last = stage.record(10 * blockFrames).left.back();
  player->stop();
  EXPECT_EQ(calls, 2);
  const auto tape = stage.record(2 * blockFrames);
  EXPECT_LT(tape.left[0], last);
  EXPECT_GT(tape.left[0], 0.9F * last) << "a ramp, not a step";
  EXPECT_EQ(tape.left[64], 0.0F);
  EXPECT_EQ(stage.record(200 * blockFrames).left, std::vector<float>(200 * blockFrames));
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST_F(Player, AStopSilencesTheLastFramesOfAFileToo) {
  player->scheduleSegment(fileOf(1000), 0, 1000, [] {});
  player->play();
  stage.record(blockFrames);
  player->stop();
  EXPECT_FALSE(player->isPlaying());
  const auto tape = stage.record(1024);
  EXPECT_GT(tape.left[0], 0.0F) << "a ramp, not a step";
  EXPECT_EQ(std::count(tape.left.begin() + 64, tape.left.end(), 0.0F), 1024 - 64);
}

TEST_F(Player, AStopBehindAnEndAtTheBoundaryOfABlockAddsNoRamp) {
  player->scheduleSegment(fileOf(2 * blockFrames), 0, 2 * blockFrames, [] {});
  player->play();
  EXPECT_EQ(stage.record(2 * blockFrames).left.back(), sampleAt(2 * blockFrames - 1));
  player->stop();
  const auto tape = stage.record(blockFrames);
  EXPECT_EQ(std::count(tape.left.begin(), tape.left.end(), 0.0F), blockFrames);
}

TEST_F(Player, ANewRunCutsTheTailOfTheLast) {
  player->scheduleSegment(fileOf(1000), 0, 1000, [] {});
  player->play();
  stage.record(blockFrames);
  player->stop();
  player->scheduleSegment(fileOf(5000), 500, 4000, [] {});
  player->play();
  const auto tape = stage.record(1024);
  EXPECT_EQ(tape.left[64], sampleAt(564));
  EXPECT_EQ(tape.left[1000], sampleAt(1500));
}

TEST_F(Player, WhatIsScheduledAfterAStopWaitsForPlay) {
  player->scheduleSegment(fileOf(90000), 0, 90000, [] {});
  player->play();
  player->stop();
  player->scheduleSegment(fileOf(90000), 0, 90000, [] {});
  EXPECT_EQ(stage.record(10 * blockFrames).left, std::vector<float>(10 * blockFrames));
}

TEST_F(Player, UnreadableFramesAreSilentForTheirDuration) {
  auto sound = stepsOf(100);
  sound.claimedFrames = 100;
  player->scheduleSegment(std::make_shared<SimulatedAudioFile>("/short", sound), 0, 200, [] {});
  player->scheduleSegment(fileOf(1000), 0, 1000, [] {});
  player->play();
  const auto tape = stage.record(1024);
  EXPECT_EQ(tape.left[99], sampleAt(99));
  EXPECT_EQ(tape.left[100], 0.0F);
  EXPECT_EQ(tape.left[199], 0.0F);
  EXPECT_EQ(tape.left[200], sampleAt(0));
  EXPECT_EQ(stage.counters->unreadFrames.load(), 100U);
}

TEST_F(Player, AFileThatFailsIsSilentForItsTime) {
  auto sound = stepsOf(10000);
  sound.readFailure = Error{"bad sector"};
  bool isConsumed = false;
  player->scheduleSegment(std::make_shared<SimulatedAudioFile>("/bad", sound), 0, 10000, [&] { isConsumed = true; });
  player->play();
  EXPECT_EQ(stage.record(10240).left, std::vector<float>(10240));
  EXPECT_TRUE(isConsumed);
  EXPECT_EQ(stage.counters->unreadFrames.load(), 10000U);
}

TEST_F(Player, AFileWithHugeSamplesIsSilentWhereTheyAreAndChangesNothingForTheOthers) {
  for (const float bad : {3e38F, -3e38F, std::numeric_limits<float>::quiet_NaN()}) {
    SimulatedSound huge = stepsOf(std::size_t{3} * blockFrames);
    huge.channels[1][blockFrames + 7] = bad;
    const auto files = {std::make_shared<SimulatedAudioFile>("/huge", huge),
                        std::make_shared<SimulatedAudioFile>("/huger", huge)};
    OfflinePlayers players;
    for (const auto& file : files) {
      const auto hugePlayer = players.addPlayer();
      hugePlayer->scheduleSegment(file, 0, 3 * blockFrames, [] {});
      hugePlayer->play();
    }
    const auto other = players.addPlayer();
    other->scheduleSegment(fileOf(5000), 0, 5000, [] {});
    other->play();
    const auto tape = players.record(std::size_t{3} * blockFrames);
    for (std::size_t frame = 0; frame < blockFrames; ++frame) {
      ASSERT_EQ(tape.left[frame], 3 * sampleAt(frame));
      ASSERT_EQ(tape.left[blockFrames + frame], sampleAt(blockFrames + frame)) << "the others' block is silent";
      ASSERT_EQ(tape.left[2 * blockFrames + frame], 3 * sampleAt(2 * blockFrames + frame));
    }
    EXPECT_EQ(players.counters->silencedPlayerBlocks, 2U);
    EXPECT_EQ(players.counters->nonFiniteBlocks, 0U);
  }
}

TEST_F(Player, AnUnderrunIsSilentAndCounted) {
  player->scheduleSegment(fileOf(90000), 0, 90000, [] {});
  player->play();
  for (int block = 0; block < 40; ++block) {  // nobody reads on
    stage.device->renderBlock();
  }
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 8U) << "the head has 32 blocks";
}

TEST_F(Player, ABufferPlaysOnceOrUntilItIsStopped) {
  const auto buffer = std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{48000, 1}, 300U);
  for (std::size_t frame = 0; frame < 300; ++frame) {
    buffer->floatChannelData()[0][frame] = sampleAt(frame);
  }
  buffer->frameLength = 300;
  player->scheduleBuffer(buffer, AVAudioPlayerNodeBufferOptions::none, [] {});
  player->play();
  EXPECT_EQ(stage.record(512).right[299], sampleAt(299));
  int ends = 0;
  player->stop();
  player->scheduleBuffer(buffer, AVAudioPlayerNodeBufferOptions::loops, [&] { ++ends; });
  player->play();
  const auto tape = stage.record(100000);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], sampleAt(frame % 300));
  }
  EXPECT_EQ(ends, 0);
  player->stop();
  EXPECT_EQ(ends, 1);
}

TEST_F(Player, AnEmptyBufferIsConsumedAtOnce) {
  bool isConsumed = false;
  player->scheduleBuffer(std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{48000, 2}, 0U),
                         AVAudioPlayerNodeBufferOptions::loops, [&] { isConsumed = true; });
  player->play();
  EXPECT_TRUE(isConsumed);
  stage.record(1024);
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST_F(Player, HasAVolumeOfItsOwn) {
  player->setVolume(0.5F);
  player->scheduleSegment(fileOf(1000), 0, 1000, [] {});
  player->play();
  EXPECT_EQ(stage.record(blockFrames).left[100], sampleAt(100) * 0.5F);
}

/// A file whose reads wait, but for the first, until they are released.
class SlowFile : public SimulatedAudioFile {
 public:
  SlowFile() : SimulatedAudioFile("/slow", stepsOf(200000)) {}
  Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override {
    if (++reads == 2) {
      isReading.count_down();
      released.wait();
    }
    return SimulatedAudioFile::readIntoBuffer(buffer, frameCount);
  }

  int reads = 0;
  std::latch isReading{1};
  std::latch released{1};
};

TEST(RunningPlayer, AStopDoesNotWaitForTheDisk) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  RenderNodeFactory factory(stage.device, stage.counters);
  const auto player = factory.makePlayerNode();
  const auto file = std::make_shared<SlowFile>();
  bool isStopped = false;
  player->scheduleSegment(file, 0, 200000, [&] { isStopped = true; });
  file->isReading.wait();  // on the feeder's thread
  player->stop();
  EXPECT_TRUE(isStopped);
  file->released.count_down();
}

TEST(RunningPlayer, RunsAndStopsUnderARenderThatNeverPauses) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  RenderNodeFactory factory(stage.device, stage.counters);
  std::vector<std::shared_ptr<AVAudioPlayerNode>> players;
  for (int index = 0; index < 4; ++index) {
    players.push_back(factory.makePlayerNode());
    stage.engine->attach(players.back());
    stage.link(players.back(), stage.engine->mainMixerNode());
  }
  ASSERT_FALSE(stage.engine->start());
  std::atomic<int> ends{0};
  int runs = 0;
  for (std::size_t turn = 0; turn < 300; ++turn) {
    const auto& player = players[turn % players.size()];
    player->stop();
    for (int segment = 0; segment < 3; ++segment) {
      player->scheduleSegment(fileOf(20000), 0, 100 + static_cast<std::uint32_t>(turn) * 60, [&ends] { ++ends; });
      ++runs;
    }
    player->play();
    stage.device->awaitBlocks(turn % 5);
  }
  std::thread panic([&] {
    for (const auto& player : players) {
      player->stop();
    }
  });
  panic.join();
  stage.engine->stop();
  EXPECT_EQ(ends.load(), runs) << "each handler is called once";
  EXPECT_EQ(stage.counters->nonFiniteBlocks.load(), 0U);
}

}  // namespace
}  // namespace vrel::audio::test
