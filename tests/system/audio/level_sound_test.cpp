// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/audio/graph_stage.h"
#include "support/audio/measure.h"

namespace vrel::audio::test {
namespace {

constexpr std::size_t rampFrames = 240;  // 5 ms at 48 kHz

TEST(LevelSound, TheFirstBlockIsAtItsLevelAtOnce) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(2, constant(1));
  strip.meter->setOutputVolume(0.25F);
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(64);
  EXPECT_EQ(tape.left.front(), 0.25F);
  EXPECT_EQ(tape.right.back(), 0.25F);
}

TEST(LevelSound, WhatWasSetIsReadBackBeforeItSounds) {
  MixerNode mixer;
  EXPECT_EQ(mixer.outputVolume(), 1.0F);
  mixer.setOutputVolume(31.6F);
  EXPECT_EQ(mixer.outputVolume(), 31.6F);
  ReverbNode reverb;
  EXPECT_EQ(reverb.wetDryMix(), 0.0F);
  reverb.setWetDryMix(150);
  EXPECT_EQ(reverb.wetDryMix(), 150.0F);
}

TEST(LevelSound, AChangeRampsInAStraightLineWhateverTheBlocks) {
  for (const std::uint32_t blockFrames : {1U, 33U, 128U, 1024U}) {
    OfflineStage stage(48000, blockFrames);
    const Strip strip = stage.addStrip(2, constant(1));
    ASSERT_FALSE(stage.engine->start());
    stage.record(blockFrames);
    strip.meter->setOutputVolume(0);
    const Recording tape = stage.record(2048);
    for (std::size_t frame = 0; frame < rampFrames; ++frame) {
      const double expected = 1.0 - static_cast<double>(frame + 1) / rampFrames;
      ASSERT_NEAR(tape.left[frame], expected, 1e-5) << blockFrames << " " << frame;
    }
    for (std::size_t frame = rampFrames; frame < 2048; ++frame) {
      ASSERT_EQ(tape.left[frame], 0.0F);
    }
  }
}

TEST(LevelSound, AChangeInTheMiddleOfARampGoesOnFromWhereItIs) {
  OfflineStage stage(48000, 32);
  const Strip strip = stage.addStrip(2, constant(1));
  ASSERT_FALSE(stage.engine->start());
  std::vector<float> heard = stage.record(32).left;
  for (const float level : {0.0F, 2.0F, 0.1F, 1.0F, 0.0F, 1.0F}) {
    strip.meter->setOutputVolume(level);
    const Recording tape = stage.record(96);
    heard.insert(heard.end(), tape.left.begin(), tape.left.end());
  }
  EXPECT_LE(largestStep(heard), 2.0 / rampFrames + 1e-5);
  EXPECT_GT(largestStep(heard), 0.0);
}

TEST(LevelSound, ALevelOfExactlyOneLeavesEverySampleAsItIs) {
  OfflineStage stage;
  const Wave wave = noise(4);
  const Strip strip = stage.addStrip(2, wave);
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  strip.meter->setOutputVolume(0.5F);
  stage.record(1024);
  strip.meter->setOutputVolume(1.0F);
  stage.record(1024);
  const Recording tape = stage.record(1024);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], wave(frame + 2176, 0));
  }
}

TEST(LevelSound, TheSumOfTheSystemIsNotLimited) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(2, constant(1));
  strip.meter->setOutputVolume(31.6F);
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(10).left.back(), 31.6F);
}

TEST(LevelSound, ALevelThatIsNotANumberIsSilentAndReadBack) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(2, constant(1));
  strip.meter->setOutputVolume(std::numeric_limits<float>::quiet_NaN());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(peak(stage.record(100).left), 0);
  EXPECT_TRUE(std::isnan(strip.meter->outputVolume()));
  EXPECT_EQ(stage.counters->nonFiniteBlocks.load(), 0U);
}

TEST(LevelSound, ALevelSurvivesAStopAndAStart) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(2, constant(1));
  strip.meter->setOutputVolume(0.5F);
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  stage.engine->stop();
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(256);
  EXPECT_EQ(tape.left.front(), 0.5F);
  EXPECT_EQ(tape.left.back(), 0.5F);
}

}  // namespace
}  // namespace vrel::audio::test
