// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "support/audio/graph_stage.h"
#include "support/audio/hammering_device.h"
#include "support/audio/measure.h"

namespace vrel::audio::test {
namespace {

/// What a listener got.
struct Heard {
  std::vector<std::vector<float>> channels{2};
  std::uint32_t buffers = 0;
  std::uint32_t channelCount = 0;
  std::uint32_t frameLength = 0;
  double sampleRate = 0;

  AVAudioNode::TapBlock listener() {
    return [this](const AVAudioPCMBuffer& buffer) {
      ++buffers;
      channelCount = buffer.format().channelCount;
      sampleRate = buffer.format().sampleRate;
      frameLength = buffer.frameLength;
      channels.resize(std::max<std::size_t>(channels.size(), channelCount));
      for (std::uint32_t channel = 0; channel < channelCount; ++channel) {
        const float* const samples = buffer.floatChannelData()[channel];
        channels[channel].insert(channels[channel].end(), samples, samples + buffer.frameLength);
      }
    };
  }
};

TEST(Tap, DeliversEverySampleInBuffersOfItsSize) {
  for (const std::uint32_t frames : {1U, 31U, 128U, 1000U, 1024U}) {
    OfflineStage stage(48000, frames);
    const Wave wave = noise(1);
    const Strip strip = stage.addStrip(2, wave);
    Heard heard;
    strip.meter->installTap(0, 128, std::nullopt, heard.listener());
    ASSERT_FALSE(stage.engine->start());
    stage.record(10000);
    EXPECT_EQ(heard.buffers, 10000U / 128);
    EXPECT_EQ(heard.frameLength, 128U);
    EXPECT_EQ(heard.channelCount, 2U);
    EXPECT_EQ(heard.sampleRate, 48000);
    for (std::size_t frame = 0; frame < heard.channels[1].size(); ++frame) {
      ASSERT_EQ(heard.channels[0][frame], wave(frame, 0));
      ASSERT_EQ(heard.channels[1][frame], wave(frame, 1));
    }
    EXPECT_EQ(stage.counters->droppedTapBuffers.load(), 0U);
  }
}

TEST(Tap, OnAMixerSeesTheSumBeforeTheLevel) {
  OfflineStage stage;
  stage.addStrip(2, constant(0.5F));
  stage.addStrip(2, constant(0.25F));
  stage.engine->mainMixerNode()->setOutputVolume(0);
  Heard heard;
  stage.engine->mainMixerNode()->installTap(0, 256, stage.engine->mainMixerNode()->outputFormat(0), heard.listener());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(peak(stage.record(1024).left), 0);
  EXPECT_EQ(heard.buffers, 4U);
  EXPECT_EQ(heard.channels[1].back(), 0.75F);
}

TEST(Tap, OnAMixerWithOnlyMonoInputsHasOneChannel) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(0.5F));
  Heard heard;
  strip.meter->installTap(0, 128, std::nullopt, heard.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  EXPECT_EQ(heard.channelCount, 1U);
  EXPECT_EQ(heard.channels[0].back(), 0.5F);
}

TEST(Tap, AGivenFormatDecidesTheChannels) {
  OfflineStage stage;
  const Strip mono = stage.addStrip(1, constant(0.5F));
  const Strip stereo =
      stage.addStrip(2, [](std::uint64_t, std::uint32_t channel) { return channel == 0 ? 1.0F : 0.5F; });
  Heard wide;
  Heard narrow;
  mono.meter->installTap(0, 128, AVAudioFormat{.sampleRate = 48000, .channelCount = 2}, wide.listener());
  stereo.meter->installTap(0, 128, AVAudioFormat{.sampleRate = 48000, .channelCount = 1}, narrow.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  EXPECT_EQ(wide.channelCount, 2U);
  EXPECT_EQ(wide.channels[1].back(), 0.5F);
  EXPECT_EQ(narrow.channelCount, 1U);
  EXPECT_EQ(narrow.channels[0].back(), 0.75F);
}

TEST(Tap, OnAnyOtherNodeSeesItsOutput) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(0.5F));
  Heard heard;
  strip.source->installTap(0, 64, std::nullopt, heard.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  EXPECT_EQ(heard.buffers, 2U);
  EXPECT_EQ(heard.channels[0].back(), 0.5F);
}

TEST(Tap, ASourceThatChangesItsChannelsBeginsANewBuffer) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(0.5F));
  Heard heard;
  strip.meter->installTap(0, 200, std::nullopt, heard.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  const auto wide = makeSource(2, constant(0.25F));
  stage.engine->stop();
  stage.engine->attach(wide);
  stage.link(wide, strip.reverb);
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  ASSERT_EQ(heard.buffers, 1U);
  EXPECT_EQ(heard.channelCount, 2U);
  EXPECT_GT(heard.channels[0].front(), 0.49F) << "the earlier source fades out";
  stage.record(400);
  EXPECT_EQ(heard.channels[0].back(), 0.25F);
}

TEST(Tap, ASecondOneTakesThePlaceOfTheFirst) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(1));
  Heard first;
  Heard second;
  strip.meter->installTap(0, 128, std::nullopt, first.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  strip.meter->installTap(0, 64, std::nullopt, second.listener());
  stage.record(128);
  EXPECT_EQ(first.buffers, 1U);
  EXPECT_EQ(second.buffers, 2U);
}

TEST(Tap, SurvivesAStopAndAStartOfTheEngine) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(1));
  Heard heard;
  strip.meter->installTap(0, 128, std::nullopt, heard.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  stage.engine->stop();
  stage.record(128);
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  EXPECT_EQ(heard.buffers, 2U);
}

TEST(Tap, RemovedInItsOwnBlockItIsNotCalledAgain) {
  OfflineStage stage(48000, 1024);
  const Strip strip = stage.addStrip(1, constant(1));
  int calls = 0;
  strip.meter->installTap(0, 128, std::nullopt, [&](const AVAudioPCMBuffer&) {
    ++calls;
    strip.meter->removeTap(0);
  });
  ASSERT_FALSE(stage.engine->start());
  stage.record(4096);
  EXPECT_EQ(calls, 1);
}

TEST(Tap, ReplacedInItsOwnBlockTheNewOneGoesOn) {
  OfflineStage stage(48000, 1024);
  const Strip strip = stage.addStrip(1, constant(1));
  Heard second;
  int calls = 0;
  strip.meter->installTap(0, 128, std::nullopt, [&](const AVAudioPCMBuffer&) {
    ++calls;
    strip.meter->removeTap(0);
    strip.meter->installTap(0, 512, std::nullopt, second.listener());
  });
  ASSERT_FALSE(stage.engine->start());
  stage.record(2048);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(second.buffers, 2U);
}

TEST(Tap, AfterItsRemovalTheCapturesAreGone) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(1));
  auto captured = std::make_shared<int>(1);
  strip.meter->installTap(0, 128, std::nullopt, [captured](const AVAudioPCMBuffer&) {});
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  EXPECT_EQ(captured.use_count(), 2);
  strip.meter->removeTap(0);
  strip.meter->removeTap(0);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(Tap, ATappedNodeMayBeDetachedAndComeBack) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(1));
  Heard heard;
  strip.meter->installTap(0, 128, std::nullopt, heard.listener());
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  stage.engine->detach(strip.meter);
  stage.record(256);
  EXPECT_EQ(heard.buffers, 1U);
  stage.engine->attach(strip.meter);
  stage.link(strip.reverb, strip.meter);
  stage.link(strip.meter, stage.engine->mainMixerNode());
  stage.record(128);
  EXPECT_EQ(heard.buffers, 2U);
}

TEST(Tap, AFullRingDropsWholeBuffersAndCounts) {
  TapPoint tap;
  std::vector<float> samples(1024);
  std::vector<float> heard;
  tap.install(128, std::nullopt, [&heard](const AVAudioPCMBuffer& buffer) {
    heard.push_back(buffer.floatChannelData()[0][0]);
    EXPECT_EQ(buffer.floatChannelData()[0][127], heard.back());
  });
  const auto push = [&](int block) {
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
      samples[frame] = static_cast<float>(block * 8 + static_cast<int>(frame / 128));
    }
    const AudioThreadScope audioThread;
    tap.push({.channels = {samples.data(), nullptr}, .channelCount = 1}, 1024);
  };
  for (int block = 0; block < 20; ++block) {
    push(block);
  }
  const std::uint64_t dropped = tap.takeDroppedBuffers();
  EXPECT_GT(dropped, 0U);
  const std::size_t kept = tap.deliver();
  EXPECT_EQ(kept + dropped, 160U);
  // Four of the largest blocks always fit.
  EXPECT_GE(kept, 32U);
  for (std::size_t index = 0; index < kept; ++index) {
    ASSERT_EQ(heard[index], static_cast<float>(index));
  }
  push(100);
  EXPECT_EQ(tap.deliver(), 8U);
  EXPECT_EQ(heard.back(), 807.0F);
  EXPECT_EQ(tap.takeDroppedBuffers(), 0U);
}

TEST(Tap, OffersItsBuffersOnAThreadOfItsOwnOnADevice) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  const Strip strip = stage.addStrip(2, constant(0.5F));
  std::atomic<int> buffers{0};
  std::atomic<int> wrong{0};
  const std::thread::id here = std::this_thread::get_id();
  strip.meter->installTap(0, 128, std::nullopt, [&](const AVAudioPCMBuffer& buffer) {
    if (std::this_thread::get_id() == here || audioScopeDepth() != 0 || buffer.floatChannelData()[1][5] != 0.5F) {
      wrong.fetch_add(1);
    }
    buffers.fetch_add(1);
  });
  ASSERT_FALSE(stage.engine->start());
  while (buffers.load() < 50) {
    std::this_thread::yield();
  }
  strip.meter->removeTap(0);
  const int atRemoval = buffers.load();
  stage.device->awaitBlocks(50);
  EXPECT_EQ(buffers.load(), atRemoval);
  EXPECT_EQ(wrong.load(), 0);
}

TEST(Tap, MayComeAndGoWhileAudioRuns) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  const Strip strip = stage.addStrip(2, noise(2));
  ASSERT_FALSE(stage.engine->start());
  for (int turn = 0; turn < 200; ++turn) {
    auto captured = std::make_shared<std::atomic<int>>(0);
    strip.meter->installTap(0, turn % 2 == 0 ? 128 : 64, std::nullopt,
                            [captured](const AVAudioPCMBuffer&) { captured->fetch_add(1); });
    stage.device->awaitBlocks(1);
    strip.meter->removeTap(0);
    ASSERT_EQ(captured.use_count(), 1);
  }
}

}  // namespace
}  // namespace vrel::audio::test
