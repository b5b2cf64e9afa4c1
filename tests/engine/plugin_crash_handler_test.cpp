// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_crash_handler.h"

#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Deaths : public SimulatedStage {
 protected:
  void setResolver() {
    engine->pluginPool().setResolver(
        [](const std::string& key) { return key == pianoKey ? std::optional(piano) : std::nullopt; });
  }
};

TEST_F(Deaths, TheStripOfADeadInstrumentShowsTheCrashAndKeepsWhatItIsMeantToPlay) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "Chorus");
  const auto other = addStrip("Organ", organKey);
  engine->pluginDied(strip.instrument);
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::crashed);
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_EQ(strip.channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(strip.channel->pluginName.get(), "Piano");
  EXPECT_EQ(strip.channel->effectNodes.get().size(), 1U);
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U) << "the dead are not handed out again";
  EXPECT_EQ(other.channel->status.get(), ChannelStatus::running);
  EXPECT_TRUE(graph().isRunning());
}

TEST_F(Deaths, ADeadParkedNodeIsNeverHandedOut) {
  const auto first = std::make_shared<simulation::ScriptedInstrument>("first");
  const auto second = std::make_shared<simulation::ScriptedInstrument>("second");
  engine->pluginPool().returnNodeToPool(first, pianoKey);
  engine->pluginPool().returnNodeToPool(second, pianoKey);
  settle();
  engine->pluginDied(first);
  settle();
  EXPECT_EQ(engine->pluginPool().take(pianoKey), second);
  EXPECT_EQ(engine->pluginPool().take(pianoKey), nullptr);
}

TEST_F(Deaths, ANodeThatDiesOnItsWayIntoAStripCrashesTheStrip) {
  setResolver();
  const auto parked = std::make_shared<simulation::ScriptedInstrument>("parked");
  engine->pluginPool().returnNodeToPool(parked, pianoKey);
  settle();
  const auto channel = engine->addChannel("Lead");
  // The report is in the queue before the installation is.
  mainQueue.async([&] { engine->pluginDied(parked); });
  engine->instruments().loadInstrument(channel, piano, std::nullopt, nullptr);
  settle();
  EXPECT_EQ(channel->status.get(), ChannelStatus::crashed);
  EXPECT_EQ(channel->instrumentNode.get(), nullptr);
}

TEST_F(Deaths, ADeadEffectLosesItsNodeAndTheChainClosesAroundIt) {
  const auto strip = addStrip("Piano");
  const auto dead = addEffect(*strip.channel, "Chorus");
  const auto alive = addEffect(*strip.channel, "Delay");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  auto slots = strip.channel->effectSlots.get();
  slots[0].stateBase64 = "kept";
  strip.channel->effectSlots.set(slots);
  engine->pluginDied(dead);
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(strip.channel->effectNodes.get().size(), 1U);
  EXPECT_EQ(strip.channel->effectSlots.get(), slots) << "the slot stays, with its saved state";
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > Delay > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Deaths, ADeadEffectOfTheMasterLeavesTheMasterChain) {
  const auto dead = addEffect(*engine->masterChannel(), "Limiter");
  engine->chains().rebuildMasterEffectChain(true);
  engine->pluginDied(dead);
  settle();
  EXPECT_TRUE(engine->masterChannel()->effectNodes.get().empty());
  EXPECT_EQ(graph().chainFrom(engine->engine().mainMixerNode()), "main mixer > output");
}

TEST_F(Deaths, AnUnusedNodeChangesNothing) {
  const auto strip = addStrip("Piano");
  engine->pluginDied(std::make_shared<simulation::ScriptedInstrument>("stray"));
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
}

TEST_F(Deaths, ARevivedStripLoadsItsInstrumentAgainWithoutState) {
  setResolver();
  const auto strip = addStrip("Piano");
  engine->pluginDied(strip.instrument);
  settle();
  engine->instruments().reviveChannel(strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::loading);
  const auto node = units.answerWithInstrument();
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(strip.channel->instrumentNode.get(), node);
  EXPECT_EQ(node->core.calls, Lines{"host callbacks"});
}

TEST_F(Deaths, RevivingAnEmptyStripEmptiesItAgain) {
  const auto channel = engine->addChannel("Lead");
  engine->instruments().simulatePluginCrash(*channel);
  engine->instruments().reviveChannel(channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::noPlugin);
}

TEST_F(Deaths, RevivingWhatIsNotInstalledDoesNothing) {
  setResolver();
  const auto strip = addStrip("Organ", organKey);
  engine->pluginDied(strip.instrument);
  settle();
  engine->instruments().reviveChannel(strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::crashed);
  EXPECT_TRUE(units.requests.empty());
}

}  // namespace
}  // namespace vrel
