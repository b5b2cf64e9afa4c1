// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "foundation/block_time.h"
#include "support/audio/graph_stage.h"
#include "support/audio/hammering_device.h"
#include "support/audio/measure.h"
#include "support/audio/recording_instrument.h"
#include "system/audio/denormal_guard.h"
#include "system/audio/finite_guard.h"
#include "system/audio/paced_null_device.h"

namespace vrel::audio::test {
namespace {

TEST(RunningGraph, StopsAndStartsUnderARenderThatNeverPauses) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  std::vector<Strip> strips;
  for (std::uint32_t index = 0; index < 8; ++index) {
    strips.push_back(stage.addStrip(1 + index % 2, noise(index)));
    strips.back().reverb->setWetDryMix(index % 3 == 0 ? 30.0F : 0.0F);
  }
  ASSERT_FALSE(stage.engine->start());
  for (std::size_t turn = 0; turn < 200; ++turn) {
    const Strip& strip = strips[turn % strips.size()];
    stage.engine->stop();
    stage.unwire(strip);
    stage.engine->detach(strip.source);
    const std::uint64_t blocks = strip.source->log()->blocks.load();
    stage.device->awaitBlocks(2);
    EXPECT_EQ(strip.source->log()->blocks.load(), blocks) << "rendered while detached";
    stage.engine->attach(strip.source);
    stage.wire(strip);
    ASSERT_FALSE(stage.engine->start());
    strip.meter->setOutputVolume(static_cast<float>(turn % 7) / 7.0F);
    strip.reverb->setWetDryMix(static_cast<float>(turn % 5) * 20.0F);
  }
  stage.engine->stop();
  EXPECT_EQ(stage.engine->retiredPlans(), 0U);
  EXPECT_EQ(stage.counters->nonFiniteBlocks.load(), 0U);
  EXPECT_EQ(stage.counters->overdueWaits.load(), 0U);
}

TEST(RunningGraph, RoutesAndInstrumentsChangeUnderNotesAndNoBlockSeesTwoTables) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  std::vector<std::shared_ptr<RecordingInstrument>> instruments(4);
  for (auto& instrument : instruments) {
    instrument = std::make_shared<RecordingInstrument>();
    stage.engine->attach(instrument);
    stage.link(instrument, stage.engine->mainMixerNode());
  }
  ASSERT_FALSE(stage.engine->start());
  for (std::size_t turn = 0; turn < 120; ++turn) {
    std::vector<InstrumentRoute> routes;
    for (std::size_t index = turn % 3; index < instruments.size(); ++index) {
      routes.push_back({instruments[index], {.transpose = static_cast<std::int8_t>(turn % 24)}});
    }
    stage.engine->setInstrumentRoutes(routes);
    const auto& moved = instruments[turn % instruments.size()];
    if (turn % 10 == 0) {
      stage.engine->detach(moved);
      const auto count = moved->taken().size();
      stage.device->awaitBlocks(1);
      EXPECT_EQ(moved->taken().size(), count) << "it gets nothing while it is detached";
      stage.engine->attach(moved);
      stage.link(moved, stage.engine->mainMixerNode());
    }
    stage.device->awaitBlocks(1);
  }
  stage.device->stop();
  for (const auto& instrument : instruments) {
    const auto& taken = instrument->taken();
    ASSERT_GT(taken.size(), 20U);
    ASSERT_EQ(taken.size() % 2, 0U);
    for (std::size_t index = 0; index < taken.size(); index += 2) {
      ASSERT_EQ(taken[index].message.status, 0x90);
      ASSERT_EQ(taken[index + 1].message, (MidiMessage{0x80, taken[index].message.data1, 0}));
    }
  }
}

TEST(RunningGraph, TakesNewLinksWithoutAStop) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  const Strip strip = stage.addStrip(2, noise(1));
  ASSERT_FALSE(stage.engine->start());
  stage.device->awaitBlocks(1);
  const std::uint64_t silent = stage.counters->silentBlocks.load();
  for (int turn = 0; turn < 300; ++turn) {
    stage.unwire(strip);
    stage.wire(strip);
  }
  stage.device->awaitBlocks(2);
  EXPECT_EQ(stage.counters->silentBlocks.load(), silent);
  stage.engine->stop();
  EXPECT_EQ(stage.engine->retiredPlans(), 0U);
}

TEST(RunningGraph, FewPlansAreEverMade) {
  // Plans that were left are filled again: what waits never piles up.
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  const Strip strip = stage.addStrip(2, noise(1));
  ASSERT_FALSE(stage.engine->start());
  for (int turn = 0; turn < 100; ++turn) {
    stage.engine->disconnectNodeOutput(strip.meter);
    stage.link(strip.meter, stage.engine->mainMixerNode());
    stage.device->awaitBlocks(2);
    EXPECT_LE(stage.engine->retiredPlans(), 2U);
  }
}

TEST(RunningGraph, TheEngineMayDieWhileTheDeviceRuns) {
  const auto device = std::make_shared<HammeringDevice>();
  for (int turn = 0; turn < 10; ++turn) {
    StageOn<HammeringDevice> stage(device);
    const Strip strip = stage.addStrip(2, noise(1));
    strip.meter->installTap(0, 128, std::nullopt, [](const AVAudioPCMBuffer&) {});
    ASSERT_FALSE(stage.engine->start());
    device->awaitBlocks(3);
    stage.engine.reset();
    EXPECT_FALSE(device->isRunning());
  }
}

TEST(RunningGraph, LevelsMayChangeFromTheMainThreadAtAnyTime) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  const Strip strip = stage.addStrip(2, noise(1));
  ASSERT_FALSE(stage.engine->start());
  for (int turn = 0; turn < 5000; ++turn) {
    strip.meter->setOutputVolume(static_cast<float>(turn % 100) / 100.0F);
    strip.reverb->setWetDryMix(static_cast<float>(turn % 101));
    ASSERT_EQ(strip.reverb->wetDryMix(), static_cast<float>(turn % 101));
  }
  stage.device->awaitBlocks(2);
}

TEST(PacedDevice, AsksForBlocksAndStops) {
  const auto device = std::make_shared<PacedNullDevice>(48000, 32);
  StageOn<PacedNullDevice> stage(device);
  const Strip strip = stage.addStrip(1, constant(1));
  ASSERT_FALSE(stage.engine->start());
  while (device->blocksPlayed() < 20) {
    std::this_thread::yield();
  }
  stage.engine->stop();
  EXPECT_GE(strip.source->log()->frames.load(), 20U * 32U - 32U);
  device->stop();
  const std::uint64_t played = device->blocksPlayed();
  EXPECT_FALSE(device->isRunning());
  // A device that went away is opened again by the next start.
  ASSERT_FALSE(stage.engine->start());
  EXPECT_TRUE(device->isRunning());
  while (device->blocksPlayed() < played + 2) {
    std::this_thread::yield();
  }
}

TEST(PacedDevice, RefusesNonsenseAndASecondUser) {
  const auto device = std::make_shared<PacedNullDevice>(48000, 128);
  StageOn<PacedNullDevice> first(device);
  StageOn<PacedNullDevice> second(device);
  ASSERT_FALSE(first.engine->start());
  EXPECT_TRUE(second.engine->start());
  EXPECT_FALSE(second.engine->isRunning());
  StageOn<PacedNullDevice> third(std::make_shared<PacedNullDevice>(48000, 0));
  EXPECT_TRUE(third.engine->start());
}

TEST(Counters, ABlockThatTakesLongerThanItLastsIsLate) {
  const auto device = std::make_shared<PacedNullDevice>(48000, 32);
  StageOn<PacedNullDevice> stage(device);
  const auto slow = makeSource(1, [](std::uint64_t, std::uint32_t) {
    // Each frame takes as long as it lasts, so the block with all the rest takes longer.
    const auto until = std::chrono::steady_clock::now() + std::chrono::nanoseconds(1'000'000'000 / 48000 + 1);
    while (std::chrono::steady_clock::now() < until) {
    }
    return 0.0F;
  });
  stage.engine->attach(slow);
  stage.link(slow, stage.engine->mainMixerNode());
  ASSERT_FALSE(stage.engine->start());
  while (slow->log()->blocks.load() < 5) {
    std::this_thread::yield();
  }
  device->stop();
  EXPECT_GE(stage.counters->lateBlocks.load(), 5U);
}

TEST(BlockTime, SourcesOfABlockSeeOneTimeAndBlocksAreAsFarApartAsTheirFramesLast) {
  const auto device = std::make_shared<PacedNullDevice>(48000, 480);
  StageOn<PacedNullDevice> stage(device);
  // The time that each source sees at the first frame of its blocks.
  std::array<std::array<std::uint64_t, 100>, 2> times{};
  std::vector<std::shared_ptr<SourceNode>> sources;
  for (auto& seen : times) {
    sources.push_back(makeSource(1, [&seen](std::uint64_t frame, std::uint32_t) {
      if (frame % 480 == 0 && frame / 480 < seen.size()) {
        seen[frame / 480] = BlockTime::current().value_or(0);
      }
      return 0.0F;
    }));
    stage.engine->attach(sources.back());
    stage.link(sources.back(), stage.engine->mainMixerNode());
  }
  ASSERT_FALSE(stage.engine->start());
  while (sources.back()->log()->blocks.load() < times.back().size()) {
    std::this_thread::yield();
  }
  device->stop();
  EXPECT_EQ(times[0], times[1]);
  EXPECT_GT(times[0][0], 0U);
  for (std::size_t block = 1; block < times[0].size(); ++block) {
    const auto milliseconds = static_cast<double>(times[0][block] - times[0][block - 1]) * 1e-6;
    EXPECT_GT(milliseconds, 8) << block;
  }
  EXPECT_FALSE(BlockTime::current()) << "outside of a block";
}

TEST(DenormalGuard, FlushesInsideAndRestoresAfter) {
  volatile float tiny = 1e-38F;
  {
    const DenormalGuard guard;
    volatile float product = tiny * 0.01F;
    EXPECT_EQ(product, 0.0F);
  }
  volatile float product = tiny * 0.01F;
  EXPECT_NE(product, 0.0F);
}

TEST(FiniteGuard, SilencesAllChannelsWhenOneSampleIsBad) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::infinity()}) {
    for (const std::size_t where : {0U, 1U, 15U, 16U, 36U}) {
      std::vector<float> left(37, 0.5F);
      std::vector<float> right(37, std::numeric_limits<float>::max());
      const Stream stream{.channels = {left.data(), right.data()}, .channelCount = 2};
      EXPECT_FALSE(silenceIfNotFinite(stream, 37));
      EXPECT_EQ(left[3], 0.5F);
      right[where] = bad;
      EXPECT_TRUE(silenceIfNotFinite(stream, 37));
      EXPECT_EQ(peak(left), 0);
      EXPECT_EQ(peak(right), 0);
    }
  }
}

TEST(FiniteGuard, WhatAStripPlaysIsBoundedAMillionIncluded) {
  for (const float bad : {std::nextafter(largestSample, 2 * largestSample), -3e38F,
                          std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    std::vector<float> left(37, largestSample);
    std::vector<float> right(37, -largestSample);
    const Stream stream{.channels = {left.data(), right.data()}, .channelCount = 2};
    EXPECT_FALSE(silenceIfTooLarge(stream, 37));
    EXPECT_EQ(right[3], -largestSample);
    right[36] = bad;
    EXPECT_TRUE(silenceIfTooLarge(stream, 37));
    EXPECT_EQ(peak(left), 0);
    EXPECT_EQ(peak(right), 0);
  }
}

}  // namespace
}  // namespace vrel::audio::test
