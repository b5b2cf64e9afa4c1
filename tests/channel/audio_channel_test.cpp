// SPDX-License-Identifier: GPL-3.0-or-later
#include "channel/audio_channel.h"

#include "channel/channel_values.h"

#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Channel : public SimulatedStage {};

TEST_F(Channel, StartsEmptyWithTheDefaults) {
  AudioChannel channel("Lead", {});
  EXPECT_EQ(channel.name.get(), "Lead");
  EXPECT_EQ(channel.volume.get(), 0.8F);
  EXPECT_EQ(channel.gain.get(), 0.5F);
  EXPECT_EQ(channel.reverb.get(), 0.0F);
  EXPECT_FALSE(channel.mute.get());
  EXPECT_FALSE(channel.solo.get());
  EXPECT_EQ(channel.pluginPath.get(), "");
  EXPECT_EQ(channel.pluginName.get(), "");
  EXPECT_EQ(channel.status.get(), ChannelStatus::noPlugin);
  EXPECT_EQ(channel.color.get(), (std::vector{1.0F, 0.33F, 0.0F}));
  EXPECT_EQ(channel.minNote.get(), 0);
  EXPECT_EQ(channel.maxNote.get(), 127);
  EXPECT_EQ(channel.transpose.get(), 0);
  EXPECT_TRUE(channel.sendSustain.get());
  EXPECT_TRUE(channel.sendExpression.get());
  EXPECT_FALSE(channel.sustainControlsRotor.get());
  EXPECT_TRUE(channel.effectSlots.get().empty());
  EXPECT_EQ(channel.playbackFilePath.get(), "");
  EXPECT_FALSE(channel.playbackLoop.get());
  EXPECT_EQ(channel.playbackStartTime.get(), 0.0);
  EXPECT_EQ(channel.playbackEndTime.get(), 0.0);
  EXPECT_EQ(channel.playbackStopMode.get(), StopMode::toggle);
  EXPECT_TRUE(channel.visualClipMappings.get().empty());
  EXPECT_FALSE(channel.playbackIsPlaying.get());
  EXPECT_FALSE(channel.playbackRunToken.get().has_value());
  EXPECT_EQ(channel.peakL.get(), 0.0F);
  EXPECT_EQ(channel.instrumentNode.get(), nullptr);
  EXPECT_EQ(channel.reverbNode.get(), nullptr);
  EXPECT_EQ(channel.meterNode.get(), nullptr);
  EXPECT_FALSE(channel.meterTapInstalled.get());
}

TEST_F(Channel, SettingSoloToItsPresentValueReappliesTheLevelsOfAllChannels) {
  const auto first = engine->addChannel("A");
  const auto second = engine->addChannel("B");
  meterOf(*first).setOutputVolume(0.123F);
  meterOf(*second).setOutputVolume(0.123F);
  first->solo.set(first->solo.get());
  EXPECT_EQ(meterOf(*first).outputVolume(), engine->levels().channelOutputLevel(*first));
  EXPECT_EQ(meterOf(*second).outputVolume(), engine->levels().channelOutputLevel(*second));
}

TEST_F(Channel, EachOfTheFourMixValuesReappliesTheLevels) {
  const auto channel = engine->addChannel("A");
  const auto expectReapplied = [&](auto&& assign) {
    meterOf(*channel).setOutputVolume(-1.0F);
    assign();
    EXPECT_GE(meterOf(*channel).outputVolume(), 0.0F);
  };
  expectReapplied([&] { channel->volume.set(channel->volume.get()); });
  expectReapplied([&] { channel->gain.set(channel->gain.get()); });
  expectReapplied([&] { channel->mute.set(channel->mute.get()); });
  expectReapplied([&] { channel->solo.set(channel->solo.get()); });
}

TEST_F(Channel, SettingTheReverbToItsPresentValueReappliesItsMix) {
  const auto channel = engine->addChannel("A");
  auto& reverb = dynamic_cast<simulation::SimulatedReverb&>(*channel->reverbNode.get());
  channel->reverb.set(0.5F);
  reverb.setWetDryMix(1.0F);
  channel->reverb.set(0.5F);
  EXPECT_EQ(reverb.wetDryMix(), 37.5F);
}

TEST_F(Channel, WhoseEngineHasGoneTakesAllAssignmentsAndDoesNothingMore) {
  const auto channel = engine->addChannel("A");
  const auto meter = channel->meterNode.get();
  meter->setOutputVolume(0.123F);
  engine.reset();
  channel->volume.set(0.2F);
  channel->gain.set(0.2F);
  channel->mute.set(true);
  channel->solo.set(true);
  channel->reverb.set(1.0F);
  EXPECT_EQ(channel->volume.get(), 0.2F);
  EXPECT_TRUE(channel->solo.get());
  EXPECT_EQ(meter->outputVolume(), 0.123F);
}

TEST_F(Channel, FailedLoadLeavesThePreviousInstrumentSounding) {
  const auto strip = addStrip("Piano");
  bool succeeded = true;
  engine->instruments().loadInstrument(strip.channel, organ, std::nullopt, [&](bool ok) { succeeded = ok; });
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::loading);
  units.answer(0, nullptr, Error{"no such organ"});
  mainQueue.runAll();
  EXPECT_FALSE(succeeded);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(strip.channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(strip.channel->instrumentNode.get(), strip.instrument);
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(console.lines.back(), "Failed to load plugin: no such organ");
}

TEST_F(Channel, CapturedTwiceGivesEqualValuesUnderDifferentIds) {
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = PropertyListDictionary{{"level", {std::int64_t{7}}}};
  strip.channel->transpose.set(-12);
  strip.channel->volume.set(0.3F);
  auto first = makeChannelConfig(*strip.channel, engine->pluginState());
  const auto second = makeChannelConfig(*strip.channel, engine->pluginState());
  EXPECT_NE(first.id, second.id);
  EXPECT_TRUE(first.pluginStateBase64.has_value());
  EXPECT_EQ(first.transpose, -12);
  EXPECT_EQ(first.volume, 0.3F);
  first.id = second.id;
  EXPECT_EQ(first, second);
}

TEST_F(Channel, EveryStoredValueIsCaptured) {
  ChannelConfig wanted;
  wanted.name = "Track";
  wanted.volume = 0.1F;
  wanted.gain = 0.2F;
  wanted.reverb = 0.3F;
  wanted.mute = true;
  wanted.solo = true;
  wanted.pluginPath = "internal:playback";
  wanted.color = {0.4F, 0.5F, 0.6F};
  wanted.minNote = 7;
  wanted.maxNote = 8;
  wanted.transpose = -9;
  wanted.sendSustain = false;
  wanted.sendExpression = false;
  wanted.sustainControlsRotor = true;
  wanted.playbackFilePath = "/music/track.wav";
  wanted.playbackLoop = true;
  wanted.playbackStartTime = 1.5;
  wanted.playbackEndTime = 2.5;
  wanted.playbackStopMode = PlaybackStopMode::fromText("other");
  wanted.visualClipMappings = {VisualClipMapping{}};
  const auto channel = engine->addChannel(wanted.name);
  applyStripValues(*channel, wanted);
  applyPlaybackValues(*channel, wanted);
  channel->pluginPath.set(wanted.pluginPath);
  channel->visualClipMappings.set(wanted.visualClipMappings);
  wanted.effectSlots = {addEmptySlot(*channel, chorusKey)};
  const auto captured = makeChannelConfig(*channel, engine->pluginState());
  EXPECT_NE(captured.id, channel->id);
  wanted.id = captured.id;
  EXPECT_EQ(captured, wanted);
}

TEST_F(Channel, VolumeBeyondTheTopIsKeptAndOnlyItsLevelIsLimited) {
  const auto channel = engine->addChannel("A");
  channel->volume.set(1.0F);
  const float top = engine->levels().channelOutputLevel(*channel);
  channel->volume.set(1.5F);
  EXPECT_EQ(channel->volume.get(), 1.5F);
  EXPECT_EQ(engine->levels().channelOutputLevel(*channel), top);
}

TEST_F(Channel, InVisualModeHasNoSourceYetKeepsMeterAndReverb) {
  const auto channel = engine->addChannel("Clips");
  EXPECT_NE(channel->meterNode.get(), nullptr);
  EXPECT_NE(channel->reverbNode.get(), nullptr);
  engine->instruments().loadVisualInstrument(*channel, {VisualClipMapping{}}, nullptr);
  EXPECT_EQ(channel->instrumentNode.get(), nullptr);
  EXPECT_NE(channel->meterNode.get(), nullptr);
  EXPECT_NE(channel->reverbNode.get(), nullptr);
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(channel->pluginName.get(), "Vrel Visual");
  EXPECT_EQ(channel->visualClipMappings.get().size(), 1U);
}

TEST_F(Channel, AssigningThePathAloneDrivesNothing) {
  const auto strip = addStrip("Piano");
  const auto before = graph().record.size();
  strip.channel->pluginPath.set(organKey);
  EXPECT_EQ(graph().record.size(), before);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
}

}  // namespace
}  // namespace vrel
