// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>

#include "support/audio/graph_stage.h"
#include "support/audio/measure.h"

namespace vrel::audio::test {
namespace {

constexpr std::size_t oneSecond = 48000;

TEST(GraphSound, SilenceInGivesSilenceOut) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(2, constant(0));
  strip.reverb->setWetDryMix(100);
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(oneSecond);
  EXPECT_EQ(peak(tape.left), 0);
  EXPECT_EQ(peak(tape.right), 0);
}

TEST(GraphSound, AnEmptyGraphIsSilent) {
  OfflineStage stage;
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(peak(stage.record(1000).left), 0);
}

TEST(GraphSound, TheUnityPathIsBitExact) {
  OfflineStage stage(48000, 127);
  const Wave wave = noise(7);
  stage.addStrip(2, wave);
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(10000);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], wave(frame, 0)) << frame;
    ASSERT_EQ(tape.right[frame], wave(frame, 1)) << frame;
  }
}

TEST(GraphSound, AMonoSourceGoesToBothSides) {
  OfflineStage stage;
  const Wave wave = noise(3);
  stage.addStrip(1, wave);
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(5000);
  for (std::size_t frame = 0; frame < tape.left.size(); ++frame) {
    ASSERT_EQ(tape.left[frame], wave(frame, 0));
  }
  EXPECT_EQ(tape.left, tape.right);
}

TEST(GraphSound, StripsAddUpSampleForSample) {
  OfflineStage both;
  both.addStrip(2, noise(1));
  both.addStrip(1, noise(2));
  OfflineStage first;
  first.addStrip(2, noise(1));
  OfflineStage other;
  other.addStrip(1, noise(2));
  ASSERT_FALSE(both.engine->start());
  ASSERT_FALSE(first.engine->start());
  ASSERT_FALSE(other.engine->start());
  const Recording sum = both.record(5000);
  const Recording one = first.record(5000);
  const Recording two = other.record(5000);
  for (std::size_t frame = 0; frame < sum.left.size(); ++frame) {
    ASSERT_EQ(sum.left[frame], one.left[frame] + two.left[frame]);
    ASSERT_EQ(sum.right[frame], one.right[frame] + two.right[frame]);
  }
}

TEST(GraphSound, TheSizeOfTheBlocksChangesNoSample) {
  const auto recordIn = [](std::uint32_t blockFrames) {
    OfflineStage stage(48000, blockFrames);
    const Strip strip = stage.addStrip(2, noise(5));
    strip.reverb->setWetDryMix(60);
    EXPECT_FALSE(stage.engine->start());
    return stage.record(9000);
  };
  const Recording reference = recordIn(128);
  for (const std::uint32_t blockFrames : {1U, 31U, 33U, 127U, 1000U, 1024U, 3000U}) {
    const Recording tape = recordIn(blockFrames);
    EXPECT_EQ(tape.left, reference.left) << blockFrames;
    EXPECT_EQ(tape.right, reference.right) << blockFrames;
  }
}

TEST(GraphSound, TwoRendersAreEqual) {
  const auto render = [] {
    OfflineStage stage;
    const Strip strip = stage.addStrip(2, noise(9));
    strip.reverb->setWetDryMix(75);
    EXPECT_FALSE(stage.engine->start());
    Recording tape = stage.record(oneSecond / 2);
    strip.meter->setOutputVolume(0.3F);
    strip.reverb->setWetDryMix(20);
    const Recording more = stage.record(oneSecond / 2);
    tape.left.insert(tape.left.end(), more.left.begin(), more.left.end());
    return tape.left;
  };
  EXPECT_EQ(render(), render());
}

TEST(GraphSound, AChainOfEffectsRunsInItsOrder) {
  OfflineStage stage;
  const auto source = makeSource(1, constant(1));
  stage.engine->attach(source);
  AVAudioEngine::Node last = source;
  for (const float factor : {0.5F, 3.0F, 0.25F}) {
    const auto effect = std::make_shared<FactorNode>(factor);
    stage.engine->attach(effect);
    stage.link(last, effect);
    last = effect;
  }
  stage.link(last, stage.engine->mainMixerNode());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(10).right.back(), 0.375F);
}

TEST(GraphSound, AMasterChainIsBetweenMixerAndOutput) {
  OfflineStage stage;
  stage.addStrip(2, constant(0.5F));
  const auto effect = std::make_shared<FactorNode>(0.5F);
  stage.engine->attach(effect);
  stage.link(stage.engine->mainMixerNode(), effect);
  stage.link(effect, stage.engine->outputNode());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(10).left.back(), 0.25F);
}

TEST(GraphSound, AMonoChainIntoTheOutputReachesBothSides) {
  OfflineStage stage;
  const auto source = makeSource(1, constant(0.25F));
  stage.engine->attach(source);
  stage.link(source, stage.engine->outputNode());
  ASSERT_FALSE(stage.engine->start());
  const Recording tape = stage.record(10);
  EXPECT_EQ(tape.left.back(), 0.25F);
  EXPECT_EQ(tape.right.back(), 0.25F);
}

TEST(GraphSound, ANonFiniteSampleNeverReachesTheDevice) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    OfflineStage stage;
    const Strip strip =
        stage.addStrip(2, [bad](std::uint64_t frame, std::uint32_t) { return frame == 200 ? bad : 0.5F; });
    strip.reverb->setWetDryMix(50);
    ASSERT_FALSE(stage.engine->start());
    const Recording tape = stage.record(oneSecond);
    for (const float sample : tape.left) {
      ASSERT_TRUE(std::isfinite(sample));
    }
    EXPECT_EQ(stage.counters->nonFiniteBlocks.load(), 1U);
    // The hall has thrown away what it could not hold, and sounds on.
    EXPECT_GT(std::abs(tape.left.back()), 0.4F);
  }
}

}  // namespace
}  // namespace vrel::audio::test
