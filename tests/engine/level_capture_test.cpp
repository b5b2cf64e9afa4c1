// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/level_capture.h"

#include <limits>

#include "support/raw_peaks.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Capture : public SimulatedStage {
 protected:
  // One frame with these samples, one per channel.
  static std::unique_ptr<AVAudioPCMBuffer> frame(const std::vector<float>& samples) {
    auto buffer = std::make_unique<AVAudioPCMBuffer>(AVAudioFormat{48000.0, static_cast<std::uint32_t>(samples.size())},
                                                     std::uint32_t{1});
    for (std::size_t channel = 0; channel < samples.size(); ++channel) {
      buffer->floatChannelData()[channel][0] = samples[channel];
    }
    buffer->frameLength = 1;
    return buffer;
  }

  static void setUnity(AudioChannel& channel) { channel.volume.set(0.75F); }

  std::shared_ptr<AudioChannel> playingFile(std::vector<std::pair<float, float>> peaks) {
    auto channel = engine->addChannel("File");
    setUnity(*channel);
    channel->pluginPath.set("internal:playback");
    channel->playbackIsPlaying.set(true);
    channel->playbackStartTime.set(1.0);
    channel->playbackEndTime.set(3.0);
    channel->playbackMeterPeaks.set(std::move(peaks));
    channel->playbackMeterStartedAt.set(clock.CACurrentMediaTime());
    return channel;
  }
};

TEST_F(Capture, KeepsTheLargestMagnitudeOfEachSideScaledByTheLevel) {
  const auto strip = addStrip("Piano");
  setUnity(*strip.channel);
  auto& meter = meterOf(*strip.channel);
  EXPECT_EQ(meter.tapBufferSize, 128U);
  EXPECT_FALSE(meter.tapFormat.has_value());
  ASSERT_TRUE(meter.feedTap(*frame({-0.5F, 0.25F})));
  meter.feedTap(*frame({0.125F, -0.75F}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.5F);
  EXPECT_EQ(test::rawPeaks(*strip.channel).right, 0.75F);
  test::setRawPeaks(*strip.channel, {});
  strip.channel->mute.set(true);
  meter.feedTap(*frame({1.0F, 1.0F}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.0F) << "a meter shows what is heard";
}

TEST_F(Capture, AMonoSourceShowsOnTheLeftAlone) {
  const auto strip = addStrip("Mono");
  setUnity(*strip.channel);
  meterOf(*strip.channel).feedTap(*frame({0.5F}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.5F);
  EXPECT_EQ(test::rawPeaks(*strip.channel).right, 0.0F);
}

TEST_F(Capture, FurtherChannelsAndEmptyBuffersAreIgnored) {
  const auto strip = addStrip("Wide");
  setUnity(*strip.channel);
  meterOf(*strip.channel).feedTap(*frame({0.1F, 0.2F, 0.9F}));
  meterOf(*strip.channel).feedTap(*frame({}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.1F);
  EXPECT_EQ(test::rawPeaks(*strip.channel).right, 0.2F);
}

TEST_F(Capture, SamplesThatAreNoNumbersLeaveThePeaksAlone) {
  const auto strip = addStrip("Broken");
  setUnity(*strip.channel);
  auto& meter = meterOf(*strip.channel);
  meter.feedTap(*frame({0.5F, 0.25F}));
  meter.feedTap(*frame({std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.5F);
  EXPECT_EQ(test::rawPeaks(*strip.channel).right, 0.25F);
}

TEST_F(Capture, TheMainMixersTapFeedsTheMasterAtTheMastersLevel) {
  auto& master = *engine->masterChannel();
  setUnity(master);
  auto& mixer = graph().mainMixer();
  EXPECT_EQ(mixer.tapBufferSize, 256U);
  EXPECT_EQ(mixer.tapFormat, mixer.outputFormat(0));
  mixer.feedTap(*frame({0.5F, 0.25F}));
  EXPECT_EQ(test::rawPeaks(master).left, 0.5F);
  EXPECT_EQ(test::rawPeaks(master).right, 0.25F);
}

TEST_F(Capture, ATapThatOutlivesItsChannelOrEngineDoesNothing) {
  auto strip = addStrip("Piano");
  const auto tap = meterOf(*strip.channel).tap;
  engine->removeChannel(*strip.channel);
  strip.channel.reset();
  tap(*frame({1.0F}));

  const auto other = addStrip("Organ");
  const auto otherTap = meterOf(*other.channel).tap;
  engine.reset();
  otherTap(*frame({1.0F}));
  EXPECT_EQ(test::rawPeaks(*other.channel).left, 0.0F);
}

TEST_F(Capture, APeakOfOneIsGoneAfter23Ticks) {
  const auto channel = engine->addChannel("A");
  channel->peakL.set(1.0F);
  engine->masterChannel()->peakR.set(1.0F);
  mainQueue.advance(22.5 / 60.0);
  EXPECT_GT(channel->peakL.get(), 0.0F);
  EXPECT_GT(engine->masterChannel()->peakR.get(), 0.0F);
  mainQueue.advance(1.0 / 60.0);
  EXPECT_EQ(channel->peakL.get(), 0.0F);
  EXPECT_EQ(engine->masterChannel()->peakR.get(), 0.0F);
}

TEST_F(Capture, ATickTakesATenthAndAHundredth) {
  const auto channel = engine->addChannel("A");
  channel->peakL.set(1.0F);
  channel->peakR.set(0.5F);
  mainQueue.advance(1.5 / 60.0);
  EXPECT_FLOAT_EQ(channel->peakL.get(), 0.89F);
  EXPECT_FLOAT_EQ(channel->peakR.get(), 0.44F);
}

TEST_F(Capture, EachTickFeedsThePlaybackMeters) {
  const auto channel = playingFile({{0.1F, 0.2F}});
  mainQueue.advance(1.5 / 60.0);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).left, 0.1F);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).right, 0.2F);
}

TEST_F(Capture, OnlyAPlaybackThatRunsIsFed) {
  const auto expectNothing = [this](auto&& change) {
    const auto channel = playingFile({{0.5F, 0.5F}});
    change(*channel);
    engine->levelCapture().feedPlaybackMeter(*channel);
    EXPECT_EQ(test::rawPeaks(*channel).left, 0.0F);
  };
  expectNothing([](AudioChannel& channel) { channel.pluginPath.set(pianoKey); });
  expectNothing([](AudioChannel& channel) { channel.playbackIsPlaying.set(false); });
  expectNothing([](AudioChannel& channel) { channel.playbackMeterStartedAt.set(std::nullopt); });
  expectNothing([](AudioChannel& channel) { channel.mute.set(true); });
}

TEST_F(Capture, APlaybackWithoutALengthCountsAsAMillisecondLong) {
  for (const double end :
       {1.0, -5.0, -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    const auto channel = playingFile({{0.25F, 0.25F}, {0.5F, 0.5F}});
    channel->playbackEndTime.set(end);
    channel->playbackLoop.set(true);
    clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 700'300'000);
    engine->levelCapture().feedPlaybackMeter(*channel);
    EXPECT_EQ(test::rawPeaks(*channel).left, 0.25F) << end;
  }
}

TEST_F(Capture, TheShortestPlaybackSpreadsItsPeaksOverOneMillisecond) {
  const auto channel = playingFile({{0.1F, 0.1F}, {0.2F, 0.2F}, {0.3F, 0.3F}, {0.4F, 0.4F}});
  channel->playbackEndTime.set(channel->playbackStartTime.get());
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 600'000);
  engine->levelCapture().feedPlaybackMeter(*channel);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).left, 0.3F);
}

TEST_F(Capture, DetachingAMeterNodeSetsThePeaksToZero) {
  const auto strip = addStrip("Piano");
  strip.channel->peakL.set(0.5F);
  strip.channel->peakR.set(0.4F);
  engine->performGraphMutation("test", [&] { engine->chains().detachMeterNode(*strip.channel); });
  EXPECT_EQ(strip.channel->meterNode.get(), nullptr);
  EXPECT_EQ(strip.channel->peakL.get(), 0.0F);
  EXPECT_EQ(strip.channel->peakR.get(), 0.0F);
}

TEST_F(Capture, SilentChannelsCauseNoNotifications) {
  const auto channel = engine->addChannel("A");
  int notifications = 0;
  const auto connection = channel->peakL.changed.connect([&](float) { ++notifications; });
  mainQueue.advance(1.0);
  EXPECT_EQ(notifications, 0);
}

TEST_F(Capture, ALoopingPlaybacksMeterRestartsAtTheFirstPeakAfterOneDuration) {
  const auto channel = playingFile({{0.1F, 0.1F}, {0.2F, 0.2F}, {0.3F, 0.3F}, {0.4F, 0.4F}});
  channel->playbackLoop.set(true);
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 2'100'000'000);
  engine->levelCapture().feedPlaybackMeter(*channel);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).left, 0.1F);
}

TEST_F(Capture, ASinglePassStaysAtItsLastPeak) {
  const auto channel = playingFile({{0.1F, 0.1F}, {0.4F, 0.3F}});
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 9'000'000'000);
  engine->levelCapture().feedPlaybackMeter(*channel);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).left, 0.4F);
  EXPECT_FLOAT_EQ(test::rawPeaks(*channel).right, 0.3F);
}

TEST_F(Capture, AStreamedPlaybackHasATapAndNoPeaksToFollow) {
  const auto channel = playingFile({});
  const auto player = std::make_shared<simulation::SimulatedPlayer>("player");
  graph().attach(player);
  channel->instrumentNode.set(player);
  engine->chains().rebuildChannelEffectChain(*channel);
  engine->levelCapture().feedPlaybackMeter(*channel);
  EXPECT_EQ(test::rawPeaks(*channel).left, 0.0F);
  meterOf(*channel).feedTap(*frame({0.5F, 0.5F}));
  EXPECT_EQ(test::rawPeaks(*channel).left, 0.5F);
}

TEST_F(Capture, APreloadedPlaybackHasNoTap) {
  const auto channel = playingFile({{0.1F, 0.1F}});
  const auto player = std::make_shared<simulation::SimulatedPlayer>("player");
  graph().attach(player);
  channel->instrumentNode.set(player);
  engine->chains().rebuildChannelEffectChain(*channel);
  ASSERT_TRUE(channel->meterTapInstalled.get());
  channel->playbackBuffer.set(std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{48000.0, 2}, std::uint32_t{4}));
  engine->chains().rebuildChannelEffectChain(*channel);
  EXPECT_FALSE(channel->meterTapInstalled.get());
  EXPECT_EQ(meterOf(*channel).tap, nullptr);
}

TEST_F(Capture, InstallingAndRemovingATapMayBeRepeated) {
  const auto strip = addStrip("Piano");
  auto& capture = engine->levelCapture();
  capture.installMeterTap(*strip.channel);
  capture.removeMeterTap(*strip.channel);
  capture.removeMeterTap(*strip.channel);
  EXPECT_FALSE(strip.channel->meterTapInstalled.get());
  EXPECT_EQ(meterOf(*strip.channel).tap, nullptr);
  capture.installMeterTap(*strip.channel);
  EXPECT_NE(meterOf(*strip.channel).tap, nullptr);
}

TEST_F(Capture, ATapWhoseMeterNodeIsGoneCountsAsInstalled) {
  const auto strip = addStrip("Piano");
  auto& capture = engine->levelCapture();
  strip.channel->meterNode.set(nullptr);
  capture.removeMeterTap(*strip.channel);
  EXPECT_TRUE(strip.channel->meterTapInstalled.get());
  capture.installMeterTap(*strip.channel);
  ASSERT_NE(strip.channel->meterNode.get(), nullptr) << "a meter node is made all the same";
  EXPECT_EQ(meterOf(*strip.channel).tap, nullptr);
}

TEST_F(Capture, TheLevelFollowsTheSolosOfOthersWithoutAnyoneAsking) {
  const auto strip = addStrip("Piano");
  const auto other = addStrip("Organ", organKey);
  setUnity(*strip.channel);
  other.channel->solo.set(true);
  meterOf(*strip.channel).feedTap(*frame({0.5F, 0.5F}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.0F);
  engine->removeChannel(*other.channel);
  meterOf(*strip.channel).feedTap(*frame({0.5F, 0.5F}));
  EXPECT_EQ(test::rawPeaks(*strip.channel).left, 0.5F);
}

}  // namespace
}  // namespace vrel
