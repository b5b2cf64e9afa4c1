// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/mix_levels.h"

#include <cmath>

#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Levels : public SimulatedStage {
 protected:
  [[nodiscard]] float level(const AudioChannel& channel) { return engine->levels().channelOutputLevel(channel); }
};

TEST_F(Levels, TheLowestPositionsAreSilentAndThreeQuartersIsUnity) {
  const auto channel = engine->addChannel("A");
  channel->volume.set(0.0001F);
  EXPECT_EQ(level(*channel), 0.0F);
  channel->volume.set(0.75F);
  channel->gain.set(0.5F);
  EXPECT_EQ(level(*channel), 1.0F);
}

TEST_F(Levels, FaderAndGainAddUpUnlimited) {
  const auto channel = engine->addChannel("A");
  channel->volume.set(1.0F);
  channel->gain.set(1.0F);
  EXPECT_NEAR(level(*channel), std::pow(10.0, 30.0 / 20.0), 1e-4);
  EXPECT_EQ(meterOf(*channel).outputVolume(), level(*channel));
}

TEST_F(Levels, GainIsLimitedToItsTravel) {
  const auto channel = engine->addChannel("A");
  channel->gain.set(1.0F);
  const float top = level(*channel);
  channel->gain.set(3.0F);
  EXPECT_EQ(level(*channel), top);
}

TEST_F(Levels, SoloingOneStripSilencesTheOthersAndMuteBeatsSolo) {
  const auto a = engine->addChannel("A");
  const auto b = engine->addChannel("B");
  a->solo.set(true);
  EXPECT_GT(meterOf(*a).outputVolume(), 0.0F);
  EXPECT_EQ(meterOf(*b).outputVolume(), 0.0F);
  a->mute.set(true);
  EXPECT_EQ(meterOf(*a).outputVolume(), 0.0F);
  EXPECT_EQ(meterOf(*b).outputVolume(), 0.0F);
  EXPECT_FALSE(b->mute.get());
}

TEST_F(Levels, TheMastersSoloAndGainHaveNoEffect) {
  const auto a = engine->addChannel("A");
  auto& master = *engine->masterChannel();
  master.volume.set(0.75F);
  const float before = meterOf(*a).outputVolume();
  master.solo.set(true);
  master.gain.set(0.0F);
  EXPECT_EQ(meterOf(*a).outputVolume(), before);
  EXPECT_EQ(graph().mainMixer().outputVolume(), 1.0F);
}

TEST_F(Levels, TheMastersVolumeAndMuteActOnTheMainMixer) {
  auto& master = *engine->masterChannel();
  master.volume.set(0.5F);
  EXPECT_NEAR(graph().mainMixer().outputVolume(), std::pow(10.0, -6.0 / 20.0), 1e-6);
  master.mute.set(true);
  EXPECT_EQ(graph().mainMixer().outputVolume(), 0.0F);
  EXPECT_EQ(engine->levels().masterOutputLevel(), 0.0F);
}

TEST_F(Levels, AStripWithoutMeterNodeIsLevelledAtItsSource) {
  const auto strip = addStrip("Piano");
  strip.channel->meterNode.set(nullptr);
  strip.channel->volume.set(0.75F);
  EXPECT_EQ(strip.instrument->volume(), 1.0F);
  strip.channel->mute.set(true);
  EXPECT_EQ(strip.instrument->volume(), 0.0F);
}

TEST_F(Levels, AStripWithNoNodesAtAllIsPassedOver) {
  const auto bare = engine->addChannel("Bare");
  const auto other = engine->addChannel("Other");
  bare->meterNode.set(nullptr);
  meterOf(*other).setOutputVolume(-1.0F);
  engine->applyMixerLevels();
  EXPECT_GT(meterOf(*other).outputVolume(), 0.0F);
}

TEST_F(Levels, ChangesNeedNoRestart) {
  const auto strip = addStrip("Piano");
  graph().record.clear();
  strip.channel->volume.set(0.1F);
  strip.channel->mute.set(true);
  strip.channel->reverb.set(0.9F);
  EXPECT_TRUE(graph().record.empty());
}

}  // namespace
}  // namespace vrel
