// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstddef>
#include <numbers>
#include <span>
#include <thread>
#include <vector>

#include "support/audio/graph_stage.h"
#include "support/audio/measure.h"
#include "system/audio/paced_null_device.h"
#include "system/audio/soft_edges.h"

namespace vrel::audio::test {
namespace {

constexpr double rate = 48000;
constexpr double amplitude = 0.5;
constexpr double hertz = 220;
constexpr std::size_t edgeFrames = SoftEdges::edgeFrames;
// The steepest step of the sine, and one that a soft edge may add to it.
constexpr double steepest = amplitude * 2.0 * std::numbers::pi * hertz / rate;
constexpr double edge = amplitude * std::numbers::pi / 2 / edgeFrames;

TEST(RewiringSound, AStopAndStartBetweenTwoBlocksIsNotHeardAtAll) {
  OfflineStage stage(rate);
  const Wave wave = sine(hertz, rate, amplitude);
  stage.addStrip(2, wave);
  const Strip other = stage.addStrip(2, constant(0));
  ASSERT_FALSE(stage.engine->start());
  std::size_t frame = 0;
  for (int turn = 0; turn < 20; ++turn) {
    for (const float sample : stage.record(333).left) {
      ASSERT_EQ(sample, wave(frame++, 0));
    }
    stage.engine->stop();
    stage.unwire(other);
    stage.wire(other);
    ASSERT_FALSE(stage.engine->start());
  }
}

TEST(RewiringSound, ASilentBlockHasSoftEdges) {
  for (const std::uint32_t blockFrames : {1U, 16U, 32U, 128U, 1024U}) {
    OfflineStage stage(rate, blockFrames);
    stage.addStrip(2, sine(hertz, rate, amplitude));
    ASSERT_FALSE(stage.engine->start());
    std::vector<float> heard = stage.record(2048).left;
    const auto append = [&](const Recording& tape) { heard.insert(heard.end(), tape.left.begin(), tape.left.end()); };
    for (int turn = 0; turn < 40; ++turn) {
      stage.engine->stop();
      append(stage.record(blockFrames));
      ASSERT_FALSE(stage.engine->start());
      append(stage.record(2000 + static_cast<std::size_t>(turn)));
    }
    EXPECT_LE(largestStep(heard), steepest + 2 * edge) << blockFrames;
  }
}

TEST(RewiringSound, SilenceComesWithin256Frames) {
  OfflineStage stage(rate, 128);
  stage.addStrip(2, constant(0.5F));
  ASSERT_FALSE(stage.engine->start());
  stage.record(1024);
  stage.engine->stop();
  const Recording tape = stage.record(512);
  EXPECT_GT(tape.left.front(), 0.45F);
  EXPECT_EQ(peak(std::span(tape.left).subspan(edgeFrames)), 0);
  ASSERT_FALSE(stage.engine->start());
  const Recording again = stage.record(512);
  EXPECT_LT(again.left.front(), 0.05F);
  EXPECT_EQ(again.left[edgeFrames], 0.5F);
}

TEST(RewiringSound, GivingUpAStripWhileRunningLeavesTheOthersExact) {
  OfflineStage stage(rate);
  const Wave wave = sine(hertz, rate, amplitude);
  stage.addStrip(2, wave);
  ASSERT_FALSE(stage.engine->start());
  std::size_t frame = 0;
  for (int turn = 0; turn < 10; ++turn) {
    const Strip other = stage.addStrip(2, constant(0));
    for (const float sample : stage.record(100).left) {
      ASSERT_EQ(sample, wave(frame++, 0));
    }
    stage.engine->disconnectNodeOutput(other.source);
    stage.engine->detach(other.source);
    for (const float sample : stage.record(100).left) {
      ASSERT_EQ(sample, wave(frame++, 0));
    }
    stage.engine->detach(other.reverb);
    stage.engine->detach(other.meter);
  }
}

TEST(RewiringSound, StripsThatAreNotTouchedGoOnWithoutAClickOnADevice) {
  std::vector<float> heard;
  heard.reserve(1U << 20U);
  auto device =
      std::make_shared<PacedNullDevice>(rate, 64, [&heard](std::span<const float> left, std::span<const float>) {
        if (heard.size() + left.size() <= heard.capacity()) {
          heard.insert(heard.end(), left.begin(), left.end());
        }
      });
  StageOn<PacedNullDevice> stage(device);
  stage.addStrip(2, sine(hertz, rate, amplitude));
  const Strip other = stage.addStrip(2, constant(0));
  ASSERT_FALSE(stage.engine->start());
  for (int turn = 0; turn < 60; ++turn) {
    const std::uint64_t played = device->blocksPlayed();
    stage.engine->stop();
    stage.unwire(other);
    stage.wire(other);
    ASSERT_FALSE(stage.engine->start());
    while (device->blocksPlayed() < played + 4) {
      std::this_thread::yield();
    }
  }
  device->stop();
  EXPECT_GT(peak(heard), 0.9 * amplitude);
  EXPECT_LE(largestStep(heard), steepest + 2 * edge);
}

}  // namespace
}  // namespace vrel::audio::test
