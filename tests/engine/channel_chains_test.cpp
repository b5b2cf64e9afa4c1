// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/channel_chains.h"

#include "support/contract_policy.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Chains : public SimulatedStage {
 protected:
  [[nodiscard]] static simulation::SimulatedReverb& reverbOf(const AudioChannel& channel) {
    return dynamic_cast<simulation::SimulatedReverb&>(*channel.reverbNode.get());
  }
};

TEST_F(Chains, AStripRunsFromInstrumentThroughEffectsReverbAndMeterToTheOutput) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "chorus");
  addEffect(*strip.channel, "delay");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > chorus > delay > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Chains, ASlotWithoutANodeIsPassedOverAndSaved) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "first");
  addEmptySlot(*strip.channel, chorusKey);
  addEffect(*strip.channel, "third");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > first > third > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(engine->pluginState().captureEffectSlots(*strip.channel).size(), 3U);
}

TEST_F(Chains, TakingAChainApartOutsideOfAGraphMutationDoesNothingOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  const auto strip = addStrip("Piano");
  const auto before = contractViolations();
  const auto chain = graph().chainFrom(strip.instrument);
  engine->chains().detachReverbNode(*strip.channel);
  engine->chains().detachMeterNode(*strip.channel);
  engine->chains().disconnectChannelChain(*strip.channel);
  engine->chains().removeNode(strip.instrument);
  EXPECT_EQ(contractViolations(), before + 4);
  EXPECT_EQ(graph().chainFrom(strip.instrument), chain);
  EXPECT_NE(strip.channel->reverbNode.get(), nullptr);
  EXPECT_NE(strip.channel->meterNode.get(), nullptr);
}

TEST_F(Chains, RebuildingAStripWithoutInstrumentDoesNothingNotEvenTheTap) {
  const auto channel = engine->addChannel("Empty");
  addEffect(*channel, "chorus");
  graph().record.clear();
  engine->chains().rebuildChannelEffectChain(*channel);
  EXPECT_TRUE(graph().record.empty());
  EXPECT_FALSE(channel->meterTapInstalled.get());
}

TEST_F(Chains, APlainMasterOnARunningEngineIsRewiredOnlyByForce) {
  graph().record.clear();
  engine->chains().rebuildMasterEffectChain(false);
  EXPECT_TRUE(graph().record.empty());
  engine->chains().rebuildMasterEffectChain(true);
  EXPECT_EQ(graph().count("stop"), 1);
  EXPECT_EQ(graph().count("start"), 1);
}

TEST_F(Chains, RebuildingTheMasterAsAChannelRewiresTheMaster) {
  auto& master = *engine->masterChannel();
  addEffect(master, "limiter");
  engine->chains().rebuildChannelEffectChain(master);
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > limiter > output");
  EXPECT_EQ(master.reverbNode.get(), nullptr);
  EXPECT_EQ(master.meterNode.get(), nullptr);
}

TEST_F(Chains, StartingPutsTheMastersRackBackIntoTheOutput) {
  addEffect(*engine->masterChannel(), "limiter");
  graph().stop();
  EXPECT_TRUE(engine->ensureEngineRunning("initialization"));
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > limiter > output");
}

TEST_F(Chains, TheMasterIsRefusedAReverb) {
  engine->chains().ensureReverbNode(*engine->masterChannel());
  EXPECT_EQ(engine->masterChannel()->reverbNode.get(), nullptr);
}

TEST_F(Chains, AReverbSendOfOneAndAnythingAboveGives75Percent) {
  const auto channel = engine->addChannel("A");
  channel->reverb.set(1.0F);
  EXPECT_EQ(reverbOf(*channel).wetDryMix(), 75.0F);
  channel->reverb.set(2.0F);
  EXPECT_EQ(reverbOf(*channel).wetDryMix(), 75.0F);
  channel->reverb.set(-1.0F);
  EXPECT_EQ(reverbOf(*channel).wetDryMix(), 0.0F);
}

TEST_F(Chains, ANewReverbGetsTheSendAsItIsAndTheNextRebuildLimitsIt) {
  const auto strip = addStrip("Piano");
  strip.channel->reverbNode.set(nullptr);
  strip.channel->reverb.set(2.0F);
  engine->chains().ensureReverbNode(*strip.channel);
  EXPECT_EQ(reverbOf(*strip.channel).wetDryMix(), 150.0F);
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  EXPECT_EQ(reverbOf(*strip.channel).wetDryMix(), 75.0F);
}

TEST_F(Chains, AMeterNodeLostInACrashIsMadeAgainByTheNextRebuild) {
  const auto strip = addStrip("Piano");
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(strip.channel->meterNode.get(), nullptr);
  const auto second = std::make_shared<simulation::ScriptedInstrument>("Second");
  engine->instruments().installInstrumentNode(*strip.channel, second, pianoKey, "Piano", std::nullopt);
  EXPECT_EQ(graph().chainFrom(second), "Second > reverb 1 > meter 2 > main mixer > output");
  EXPECT_EQ(meterOf(*strip.channel).outputVolume(), engine->levels().channelOutputLevel(*strip.channel));
  EXPECT_NE(meterOf(*strip.channel).tap, nullptr);
}

}  // namespace
}  // namespace vrel
