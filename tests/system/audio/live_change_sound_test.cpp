// SPDX-License-Identifier: GPL-3.0-or-later
// Changes of the graph on a device that asks for blocks between the stop and the start of the change.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "support/audio/graph_stage.h"
#include "support/audio/live_device.h"
#include "support/audio/measure.h"
#include "system/audio/link_fades.h"
#include "system/audio/render_core.h"

namespace vrel::audio::test {
namespace {

constexpr double liveRate = 48000;
constexpr double liveLevel = 0.287;
constexpr std::size_t halfBlocks = 64;
constexpr std::size_t changeFrame = halfBlocks * LiveDevice::frames;

Wave toneLeft(double hertz) {
  const Wave wave = sine(hertz, liveRate, liveLevel);
  return [=](std::uint64_t frame, std::uint32_t channel) { return channel == 0 ? wave(frame, channel) : 0.0F; };
}

Wave toneRight() {
  const Wave wave = sine(330, liveRate, liveLevel);
  return [=](std::uint64_t frame, std::uint32_t channel) { return channel == 1 ? wave(frame, channel) : 0.0F; };
}

/// A strip that changes on the left, beside one on the right that must not.
class LiveChange : public testing::TestWithParam<double> {
 protected:
  LiveChange() {
    stage.addStrip(2, toneRight());
    strip = stage.addStrip(2, toneLeft(GetParam()));
    EXPECT_FALSE(stage.engine->start());
  }

  /// Makes the change with a block after each of its steps.
  void change(const std::vector<std::function<void()>>& steps) {
    stage.device->play(halfBlocks);
    stage.engine->stop();
    for (const auto& step : steps) {
      stage.device->play(1);
      step();
    }
    stage.device->play(1);
    EXPECT_FALSE(stage.engine->start());
    stage.device->play(halfBlocks);
  }

  void expectNoClick() {
    const double decibels = splatterDecibels(stage.device->left, liveRate, liveLevel);
    RecordProperty("splatterDecibels", std::to_string(decibels));
    EXPECT_LE(decibels, -50);
    const Wave other = toneRight();
    for (std::size_t frame = 0; frame < stage.device->right.size(); ++frame) {
      ASSERT_EQ(stage.device->right[frame], other(frame, 1)) << "the other strip, at " << frame;
    }
    EXPECT_EQ(stage.counters->silentBlocks.load(), 0U);
  }

  std::vector<std::function<void()>> removal() {
    return {[this] { stage.unwire(strip); }, [this] { stage.engine->detach(strip.source); },
            [this] { stage.engine->detach(strip.reverb); }, [this] { stage.engine->detach(strip.meter); }};
  }

  StageOn<LiveDevice> stage{std::make_shared<LiveDevice>()};
  Strip strip;
};

TEST_P(LiveChange, ABlockBetweenStopAndStartPlaysOn) {
  change({[] {}, [] {}});
  expectNoClick();
  const Wave tone = toneLeft(GetParam());
  for (std::size_t frame = 0; frame < stage.device->left.size(); ++frame) {
    ASSERT_EQ(stage.device->left[frame], tone(frame, 0)) << frame;
  }
}

TEST_P(LiveChange, AStripThatIsRemovedFadesOut) {
  change(removal());
  expectNoClick();
  EXPECT_EQ(peak(std::span(stage.device->left).subspan(changeFrame + 8 * LiveDevice::frames)), 0);
}

TEST_P(LiveChange, AnotherSongFollowsWithoutSilence) {
  auto steps = removal();
  steps.emplace_back([this] { strip = stage.addStrip(2, toneLeft(500)); });
  change(steps);
  expectNoClick();
  EXPECT_NEAR(peak(std::span(stage.device->left).subspan(changeFrame + 10 * LiveDevice::frames)), liveLevel, 0.001);
}

TEST_P(LiveChange, AnInstrumentIsNotCalledOnceItIsDetached) {
  std::uint64_t blocks = 0;
  const auto log = strip.source->log();
  change({[&] {
            stage.engine->detach(strip.source);
            blocks = log->blocks;
          },
          [&] { EXPECT_EQ(log->blocks, blocks); }});
  EXPECT_EQ(log->blocks, blocks);
  expectNoClick();
}

TEST_P(LiveChange, AnInstrumentMovesToAnotherStrip) {
  Strip other{.source = strip.source};
  auto steps = removal();
  steps.emplace_back([&] { stage.attach(other); });
  steps.emplace_back([&] { stage.wire(other); });
  change(steps);
  expectNoClick();
  EXPECT_NEAR(peak(std::span(stage.device->left).subspan(changeFrame + 12 * LiveDevice::frames)), liveLevel, 0.001);
}

TEST_P(LiveChange, AnEffectIsPutInAndTakenOut) {
  const auto effect = std::make_shared<FactorNode>(-0.5F);
  change({[&] { stage.engine->attach(effect); }, [&] { stage.link(strip.source, effect); },
          [&] { stage.link(effect, strip.reverb); }});
  expectNoClick();
  change({[&] { stage.engine->detach(effect); }, [&] { stage.link(strip.source, strip.reverb); }});
  expectNoClick();
  EXPECT_NEAR(peak(std::span(stage.device->left).last(LiveDevice::frames * halfBlocks / 2)), liveLevel, 0.001);
}

TEST_P(LiveChange, AnInstrumentDiesWithinAChange) {
  change({[&] { strip.source->log()->isMissing = true; }, [&] { stage.engine->detach(strip.source); }});
  expectNoClick();
}

INSTANTIATE_TEST_SUITE_P(Tones, LiveChange, testing::Values(55.0, 441.3, 1201.7, 3000.0));

TEST(LiveStop, AStopThatStaysIsSilentAfterATenthOfASecond) {
  StageOn<LiveDevice> stage(std::make_shared<LiveDevice>());
  const Strip strip = stage.addStrip(2, sine(441.3, liveRate, liveLevel));
  ASSERT_FALSE(stage.engine->start());
  stage.device->play(halfBlocks);
  stage.engine->stop();
  EXPECT_FALSE(stage.engine->isRunning());
  stage.device->play(halfBlocks);
  const std::uint64_t blocks = strip.source->log()->blocks;
  stage.device->play(halfBlocks);
  EXPECT_EQ(strip.source->log()->blocks, blocks);
  EXPECT_LE(blocks, halfBlocks + RenderCore::longestEnding / LiveDevice::frames);
  EXPECT_EQ(peak(std::span(stage.device->left).last(halfBlocks * LiveDevice::frames)), 0);
  ASSERT_FALSE(stage.engine->start());
  stage.device->play(2 * halfBlocks);
  EXPECT_LE(splatterDecibels(stage.device->left, liveRate, liveLevel), -50);
  EXPECT_NEAR(peak(std::span(stage.device->left).last(1000)), liveLevel, 0.001);
}

TEST(LiveStop, EachOfManyStopsHasItsTenthOfASecond) {
  StageOn<LiveDevice> stage(std::make_shared<LiveDevice>());
  stage.addStrip(2, sine(441.3, liveRate, liveLevel));
  ASSERT_FALSE(stage.engine->start());
  for (std::size_t turn = 0; turn < 20; ++turn) {
    stage.device->play(RenderCore::longestEnding / LiveDevice::frames / 4);
    stage.engine->stop();
    stage.device->play(RenderCore::longestEnding / LiveDevice::frames / 2);
    ASSERT_FALSE(stage.engine->start());
    stage.engine->stop();
    stage.device->play(RenderCore::longestEnding / LiveDevice::frames / 2);
    ASSERT_FALSE(stage.engine->start());
  }
  EXPECT_EQ(stage.counters->silentBlocks.load(), 0U);
}

}  // namespace
}  // namespace vrel::audio::test
