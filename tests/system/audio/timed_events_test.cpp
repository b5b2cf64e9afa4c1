// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/timed_events.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "support/audio/recording_instrument.h"
#include "system/audio/render_core.h"
#include "system/audio/route_table.h"

namespace vrel::audio::test {
namespace {

constexpr double sampleRate = 48000;
constexpr std::uint32_t frames = 128;
constexpr double nanosecondsPerFrame = 1e9 / sampleRate;

std::int64_t timeOf(double frame) {
  return static_cast<std::int64_t>(frame * nanosecondsPerFrame);
}

class PlayedByTheClock : public testing::Test {
 protected:
  PlayedByTheClock() {
    const AudioThreadScope block;
    timed->setTaken(true);
  }

  /// What falls into the block of this number, frames counted from the first block.
  std::vector<std::uint32_t> block(std::uint32_t number) {
    std::vector<std::uint32_t> due;
    due.reserve(1000);
    const AudioThreadScope block;
    for (const auto& event : timed->take(static_cast<std::uint64_t>(timeOf(number * frames)), frames, sampleRate)) {
      due.push_back(number * frames + event.frame);
    }
    return due;
  }

  const std::unique_ptr<TimedEvents> timed = std::make_unique<TimedEvents>();
};

TEST_F(PlayedByTheClock, EachSoundsOneBlockLaterWhateverItsPlaceInTheBlock) {
  std::vector<std::uint32_t> expected;
  std::vector<std::uint32_t> heard;
  for (std::uint32_t number = 1; number <= 200; ++number) {
    for (const std::uint32_t place : {(number * 37) % 64, 64 + (number * 53) % 64}) {
      const std::uint32_t frame = (number - 1) * frames + place;
      ASSERT_TRUE(timed->push(timeOf(frame), {0x90, 60, 1}));
      expected.push_back(frame + frames);
    }
    const auto due = block(number);
    heard.insert(heard.end(), due.begin(), due.end());
  }
  ASSERT_EQ(heard.size(), expected.size());
  for (std::size_t index = 0; index < heard.size(); ++index) {
    EXPECT_LE(std::abs(static_cast<int>(heard[index]) - static_cast<int>(expected[index])), 1) << index;
  }
}

TEST_F(PlayedByTheClock, WhatIsReadTooLateComesAtOnceAndWhatIsEarlyWaits) {
  ASSERT_TRUE(timed->push(timeOf(5), {0x90, 60, 1}));
  ASSERT_TRUE(timed->push(timeOf(5 * frames + 7), {0x90, 61, 1}));
  EXPECT_EQ(block(4), std::vector<std::uint32_t>{4 * frames});
  EXPECT_EQ(block(5), std::vector<std::uint32_t>{});
  EXPECT_EQ(block(6), std::vector<std::uint32_t>{6 * frames + 7});
}

TEST_F(PlayedByTheClock, AClockThatHasJumpedHoldsNothingUp) {
  ASSERT_TRUE(timed->push(timeOf(1e9), {0x90, 60, 1}));
  ASSERT_TRUE(timed->push(timeOf(10), {0x80, 60, 0}));
  EXPECT_EQ(block(1), (std::vector<std::uint32_t>{frames, frames + 10}));
}

TEST_F(PlayedByTheClock, WhatNoBlockTakesIsLeftToTheMainThread) {
  {
    const AudioThreadScope block;
    timed->setTaken(false);
  }
  EXPECT_FALSE(timed->push(timeOf(1), {0x90, 60, 1}));
  EXPECT_TRUE(block(1).empty());
}

TEST_F(PlayedByTheClock, WhatIsTakenInABlockWithoutAPlanComesWithTheNextPlan) {
  RenderCounters counters;
  RenderCore core(counters, true);
  const std::shared_ptr<TimedEvents> played = std::make_shared<TimedEvents>();
  core.setTimedEvents(played);
  const auto instrument = std::make_shared<RecordingProcessor>();
  const RouteTable routes({{instrument, {}}});
  core.publish(&routes);
  std::array<float, frames> left{};
  std::array<float, frames> right{};
  const auto render = [&] {
    const AudioThreadScope block;
    core.render(left.data(), right.data(), frames, sampleRate, {});
  };
  render();
  {
    const AudioThreadScope block;
    played->setTaken(true);  // as the last block with a plan has
  }
  ASSERT_TRUE(played->push(0, {0x80, 60, 0}));
  ASSERT_TRUE(played->push(0, {0x90, 62, 100}));
  ASSERT_TRUE(played->push(0, {0xE0, 0, 64}));
  render();
  render();
  EXPECT_FALSE(played->push(0, {0x90, 64, 100})) << "nothing else is taken while there is no plan";
  RenderPlan plan;
  core.publish(&plan);
  render();
  render();
  {
    const AudioThreadScope block;
    instrument->process({.frameCount = frames, .inputs = {}, .output = {}});
  }
  std::vector<MidiMessage> heard;
  for (const auto& event : instrument->taken()) {
    heard.push_back(event.message);
  }
  EXPECT_EQ(heard, (std::vector<MidiMessage>{{0x80, 60, 0}, {0xE0, 0, 64}})) << "each once, and no press";
}

TEST_F(PlayedByTheClock, WhileTheMainThreadOwesAMessageItGetsTheLaterOnesToo) {
  {
    const AudioThreadScope block;
    timed->setTaken(false);
  }
  ASSERT_FALSE(timed->push(timeOf(1), {0x90, 60, 1}));
  auto owed = timed->owe();
  {
    const AudioThreadScope block;
    timed->setTaken(true);
  }
  EXPECT_FALSE(timed->push(timeOf(2), {0x80, 60, 0}));
  auto alsoOwed = timed->owe();
  owed.reset();
  EXPECT_FALSE(timed->push(timeOf(3), {0x90, 62, 1}));
  alsoOwed.reset();
  EXPECT_TRUE(timed->push(timeOf(4), {0x90, 64, 1}));
  EXPECT_EQ(block(1), std::vector<std::uint32_t>{frames + 4});
  EXPECT_EQ(timed->overruns(), 0U);
}

TEST_F(PlayedByTheClock, APressThatTheMainThreadOvertakesDoesNotSound) {
  ASSERT_TRUE(timed->push(timeOf(1), {0x90, 60, 1}));
  ASSERT_TRUE(timed->push(timeOf(2), {0x80, 62, 0}));
  {
    const AudioThreadScope block;
    timed->setTaken(false);
  }
  ASSERT_FALSE(timed->push(timeOf(3), {0x80, 60, 0}));
  EXPECT_EQ(block(1), std::vector<std::uint32_t>{frames + 2});
}

TEST_F(PlayedByTheClock, APanicEndsWhatItWouldResetOfAllThatWaits) {
  const std::vector<MidiMessage> ended{{0x91, 60, 1}, {0xA1, 60, 9}, {0xB1, 1, 9}, {0xB1, 11, 9},
                                       {0xB1, 64, 9}, {0xB1, 67, 9}, {0xD1, 9, 0}, {0xE1, 0, 0}};
  const std::vector<MidiMessage> kept{{0x81, 60, 0}, {0x91, 60, 0}, {0xB1, 7, 9}, {0xC1, 5, 0}};
  const auto play = [&](const std::vector<MidiMessage>& messages) {
    for (const auto& message : messages) {
      ASSERT_TRUE(timed->push(timeOf(1), message));
    }
  };
  play(ended);
  play(kept);
  {
    const AudioThreadScope block;
    timed->keep(timed->take(static_cast<std::uint64_t>(timeOf(frames)), frames, sampleRate));  // of no plan
  }
  play(ended);
  play(kept);
  timed->endWaiting();
  play(ended);
  std::vector<MidiMessage> heard;
  heard.reserve(100);
  {
    const AudioThreadScope block;
    for (const auto& event : timed->take(static_cast<std::uint64_t>(timeOf(2 * frames)), frames, sampleRate)) {
      heard.push_back(event.message);
    }
  }
  std::vector<MidiMessage> expected;
  for (const auto& part : {kept, kept, ended}) {
    expected.insert(expected.end(), part.begin(), part.end());
  }
  EXPECT_EQ(heard, expected);
}

TEST_F(PlayedByTheClock, AFullQueueLeavesTheRestToTheMainThreadAndLosesNoRelease) {
  const MidiMessage press{0x90, 60, 1};
  const MidiMessage release{0x80, 60, 0};
  int taken = 0;
  while (timed->push(timeOf(taken), taken % 2 == 0 ? press : release)) {
    ++taken;
  }
  auto owed = timed->owe();
  EXPECT_FALSE(timed->push(timeOf(taken), release));
  int heard = 0;
  for (std::uint32_t number = 1; number < 100; ++number) {
    heard += static_cast<int>(block(number).size());
  }
  EXPECT_EQ(heard, taken / 2) << "a press could sound behind the release that the main thread sends";
  EXPECT_EQ(timed->overruns(), 1U);
  owed.reset();
  EXPECT_TRUE(timed->push(timeOf(taken), press));
}

}  // namespace
}  // namespace vrel::audio::test
