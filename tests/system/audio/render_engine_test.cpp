// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "support/audio/graph_stage.h"
#include "support/audio/hammering_device.h"
#include "support/audio/measure.h"
#include "system/audio/render_node_factory.h"
#include "system/audio/soft_edges.h"

namespace vrel::audio::test {
namespace {

/// A node that some other system made.
class ForeignNode final : public AVAudioNode {
 public:
  [[nodiscard]] AVAudioFormat inputFormat(int) const override { return {}; }
  [[nodiscard]] AVAudioFormat outputFormat(int) const override { return {}; }
  void installTap(int, std::uint32_t, std::optional<AVAudioFormat>, TapBlock) override {}
  void removeTap(int) override {}
};

TEST(RenderEngine, StartsStopsAndSaysSo) {
  OfflineStage stage;
  EXPECT_FALSE(stage.engine->isRunning());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_TRUE(stage.engine->isRunning());
  EXPECT_FALSE(stage.engine->start());
  stage.engine->stop();
  EXPECT_FALSE(stage.engine->isRunning());
  stage.engine->stop();
}

TEST(RenderEngine, AStoppedEngineLeavesTheDeviceRunningOnSilence) {
  OfflineStage stage;
  stage.addStrip(2, constant(1));
  ASSERT_FALSE(stage.engine->start());
  stage.record(128);
  stage.engine->stop();
  EXPECT_TRUE(stage.device->isRunning());
  stage.record(SoftEdges::edgeFrames);
  EXPECT_EQ(peak(stage.record(128).left), 0);
  EXPECT_EQ(stage.counters->silentBlocks.load(), SoftEdges::edgeFrames / 128 + 1);
  EXPECT_EQ(stage.counters->blocks.load(), 1U);
}

TEST(RenderEngine, ADeviceThatCannotBeOpenedIsAnErrorAndTheEngineStaysStopped) {
  StageOn<FailingDevice> stage(std::make_shared<FailingDevice>(1));
  const Outcome failure = stage.engine->start();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->description, "the sound card is gone");
  EXPECT_FALSE(stage.engine->isRunning());
  EXPECT_FALSE(stage.engine->start());
  EXPECT_TRUE(stage.engine->isRunning());
}

TEST(RenderEngine, TwoEnginesDoNotShareADevice) {
  OfflineStage stage;
  ASSERT_FALSE(stage.engine->start());
  RenderEngine second(stage.device, stage.counters);
  EXPECT_TRUE(second.start());
  EXPECT_FALSE(second.isRunning());
}

TEST(RenderEngine, ADeviceWithoutAUsableRateIsAnError) {
  for (const double rate : {0.0, -48000.0, 1e10, std::nan("")}) {
    OfflineStage stage(rate, 128);
    stage.addStrip(1, constant(1));
    EXPECT_TRUE(stage.engine->start());
    EXPECT_FALSE(stage.engine->isRunning());
  }
}

TEST(RenderEngine, StopStopsTheDeviceOnlyAtTheEndOfItsLife) {
  auto device = std::make_shared<OfflineDevice>(48000, 128);
  {
    StageOn<OfflineDevice> stage(device);
    ASSERT_FALSE(stage.engine->start());
    EXPECT_TRUE(device->isRunning());
  }
  EXPECT_FALSE(device->isRunning());
  EXPECT_EQ(device->renderBlock().left.size(), 128U);
}

TEST(RenderEngine, ACycleIsRefusedAndCounted) {
  OfflineStage stage;
  const auto first = std::make_shared<MixerNode>();
  const auto second = std::make_shared<MixerNode>();
  stage.engine->attach(first);
  stage.engine->attach(second);
  stage.link(first, second);
  stage.link(second, first);
  EXPECT_EQ(stage.counters->refusedConnections.load(), 1U);
  stage.link(first, first);
  EXPECT_EQ(stage.counters->refusedConnections.load(), 2U);
  // What was there before stays.
  const auto source = makeSource(1, constant(1));
  stage.engine->attach(source);
  stage.link(source, first);
  stage.link(second, stage.engine->mainMixerNode());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(8).left.back(), 1.0F);
}

TEST(RenderEngine, NothingLeadsOutOfTheOutput) {
  OfflineStage stage;
  const auto mixer = std::make_shared<MixerNode>();
  stage.engine->attach(mixer);
  stage.link(stage.engine->outputNode(), mixer);
  EXPECT_EQ(stage.counters->refusedConnections.load(), 1U);
}

TEST(RenderEngine, NodesThatAreNotAttachedAreNotConnected) {
  OfflineStage stage;
  const auto source = makeSource(1, constant(1));
  stage.link(source, stage.engine->mainMixerNode());
  stage.link(nullptr, stage.engine->mainMixerNode());
  EXPECT_EQ(stage.counters->refusedConnections.load(), 2U);
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(peak(stage.record(64).left), 0);
}

TEST(RenderEngine, AForeignNodeIsRefused) {
  OfflineStage stage;
  const auto node = std::make_shared<ForeignNode>();
  stage.engine->attach(node);
  stage.engine->attach(nullptr);
  stage.link(node, stage.engine->mainMixerNode());
  EXPECT_EQ(stage.counters->refusedNodes.load(), 1U);
  EXPECT_EQ(stage.counters->refusedConnections.load(), 1U);
}

TEST(RenderEngine, ANodeIsInOneEngineAtATime) {
  OfflineStage first;
  OfflineStage second;
  const auto source = makeSource(1, constant(1));
  first.engine->attach(source);
  first.engine->attach(source);
  second.engine->attach(source);
  EXPECT_EQ(second.counters->refusedNodes.load(), 1U);
  first.engine->detach(source);
  second.engine->attach(source);
  second.link(source, second.engine->mainMixerNode());
  ASSERT_FALSE(second.engine->start());
  EXPECT_EQ(second.record(8).left.back(), 1.0F);
}

TEST(RenderEngine, ANodeMayOutliveTheEngine) {
  const auto source = makeSource(2, constant(1));
  {
    OfflineStage stage;
    stage.engine->attach(source);
    stage.link(source, stage.engine->mainMixerNode());
    ASSERT_FALSE(stage.engine->start());
    stage.record(64);
  }
  OfflineStage stage;
  stage.engine->attach(source);
  stage.link(source, stage.engine->mainMixerNode());
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(64).left.back(), 1.0F);
}

TEST(RenderEngine, TheFixedNodesStay) {
  OfflineStage stage;
  stage.engine->detach(stage.engine->mainMixerNode());
  stage.engine->detach(stage.engine->outputNode());
  stage.addStrip(1, constant(1));
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(8).left.back(), 1.0F);
}

TEST(RenderEngine, DetachingAnUnknownNodeDoesNothing) {
  OfflineStage stage;
  stage.engine->detach(makeSource(1, constant(1)));
  stage.engine->detach(nullptr);
  stage.engine->disconnectNodeInput(nullptr);
  stage.engine->disconnectNodeOutput(makeSource(1, constant(1)));
}

TEST(RenderEngine, OnlyWhatReachesTheOutputIsRendered) {
  OfflineStage stage;
  const Strip heard = stage.addStrip(1, constant(1));
  const Strip lost = stage.addStrip(1, constant(1));
  stage.engine->disconnectNodeOutput(lost.meter);
  ASSERT_FALSE(stage.engine->start());
  stage.record(256);
  EXPECT_EQ(heard.source->log()->blocks.load(), 2U);
  EXPECT_EQ(lost.source->log()->blocks.load(), 0U);
}

TEST(RenderEngine, ASecondInputOfAnEffectTakesThePlaceOfTheFirst) {
  OfflineStage stage;
  const auto one = makeSource(1, constant(1));
  const auto two = makeSource(1, constant(2));
  const auto effect = std::make_shared<FactorNode>(1.0F);
  for (const AVAudioEngine::Node& node :
       {AVAudioEngine::Node(one), AVAudioEngine::Node(two), AVAudioEngine::Node(effect)}) {
    stage.engine->attach(node);
  }
  stage.link(effect, stage.engine->mainMixerNode());
  stage.link(one, effect);
  stage.link(two, effect);
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(8).left.back(), 2.0F);
  EXPECT_EQ(one->log()->blocks.load(), 0U);
}

TEST(RenderEngine, AnOutputLeadsToOnePlaceOnly) {
  OfflineStage stage;
  const auto source = makeSource(1, constant(1));
  const auto mixer = std::make_shared<MixerNode>();
  stage.engine->attach(source);
  stage.engine->attach(mixer);
  stage.link(mixer, stage.engine->mainMixerNode());
  stage.link(source, stage.engine->mainMixerNode());
  stage.link(source, mixer);
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(8).left.back(), 1.0F);
}

TEST(RenderEngine, FormatsGoDownTheChain) {
  OfflineStage stage(44100);
  const AVAudioFormat mono{.sampleRate = 44100, .channelCount = 1};
  const AVAudioFormat stereo{.sampleRate = 44100, .channelCount = 2};
  EXPECT_EQ(stage.engine->mainMixerNode()->outputFormat(0), stereo);
  EXPECT_EQ(stage.engine->outputNode()->inputFormat(0), stereo);
  const Strip strip = stage.addStrip(1, constant(1));
  EXPECT_EQ(strip.source->outputFormat(0), mono);
  EXPECT_EQ(strip.source->inputFormat(0).channelCount, 0U);
  EXPECT_EQ(strip.reverb->inputFormat(0), mono);
  EXPECT_EQ(strip.reverb->outputFormat(0), mono);
  EXPECT_EQ(strip.meter->outputFormat(0), stereo);
  const auto wide = makeSource(2, constant(1));
  stage.engine->attach(wide);
  stage.link(wide, strip.reverb);
  EXPECT_EQ(strip.reverb->outputFormat(0), stereo);
  stage.engine->disconnectNodeInput(strip.reverb);
  EXPECT_EQ(strip.reverb->inputFormat(0).channelCount, 0U);
}

TEST(RenderEngine, AGivenFormatChangesNothingOfWhatFlows) {
  OfflineStage stage;
  const auto source = makeSource(1, constant(1));
  stage.engine->attach(source);
  stage.engine->connect(source, stage.engine->mainMixerNode(), AVAudioFormat{.sampleRate = 96000, .channelCount = 6});
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(stage.record(8).right.back(), 1.0F);
}

TEST(RenderEngine, NodesArePreparedBeforeTheyAreRendered) {
  OfflineStage stage;
  const Strip strip = stage.addStrip(1, constant(1));
  EXPECT_EQ(strip.source->log()->prepared.load(), 0);
  ASSERT_FALSE(stage.engine->start());
  EXPECT_EQ(strip.source->log()->prepared.load(), 1);
}

TEST(RenderEngine, WhatIsGivenUpDiesOnTheMainThreadAndAtOnce) {
  StageOn<HammeringDevice> stage(std::make_shared<HammeringDevice>());
  ASSERT_FALSE(stage.engine->start());
  for (int turn = 0; turn < 50; ++turn) {
    std::shared_ptr<ProcessorLog> log;
    {
      Strip strip = stage.addStrip(2, noise(1));
      log = strip.source->log();
      stage.device->awaitBlocks(2);
      stage.engine->disconnectNodeOutput(strip.source);
      stage.engine->detach(strip.source);
      const std::uint64_t blocks = log->blocks.load();
      stage.device->awaitBlocks(2);
      EXPECT_EQ(log->blocks.load(), blocks);
      stage.engine->detach(strip.reverb);
      stage.engine->detach(strip.meter);
    }
    EXPECT_TRUE(log->destroyed.load());
    EXPECT_EQ(log->destroyedOn, std::this_thread::get_id());
    EXPECT_EQ(stage.engine->retiredPlans(), 0U);
  }
}

TEST(RenderEngine, TheFactoryMakesWhatThePlatformAsksFor) {
  auto device = std::make_shared<OfflineDevice>(48000, 64);
  RenderNodeFactory factory(device, std::make_shared<RenderCounters>());
  const std::unique_ptr<AVAudioEngine> engine = factory.makeEngine();
  const std::shared_ptr<AVAudioMixerNode> mixer = factory.makeMixerNode();
  const std::shared_ptr<AVAudioUnitReverb> reverb = factory.makeReverbNode();
  const auto source = makeSource(2, constant(0.5F));
  for (const AVAudioEngine::Node& node :
       {AVAudioEngine::Node(source), AVAudioEngine::Node(mixer), AVAudioEngine::Node(reverb)}) {
    engine->attach(node);
  }
  reverb->loadFactoryPreset(12);
  engine->connect(source, reverb, std::nullopt);
  engine->connect(reverb, mixer, std::nullopt);
  engine->connect(mixer, engine->mainMixerNode(), std::nullopt);
  engine->connect(engine->mainMixerNode(), engine->outputNode(), engine->outputNode()->inputFormat(0));
  ASSERT_FALSE(engine->start());
  EXPECT_EQ(device->renderBlock().left.front(), 0.5F);
}

}  // namespace
}  // namespace vrel::audio::test
