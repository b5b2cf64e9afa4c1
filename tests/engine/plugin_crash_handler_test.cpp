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
  engine->pluginDied(strip.instrument, "It was killed by signal 9");
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
  engine->pluginDied(first, "It was killed by signal 9");
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
  mainQueue.async([&] { engine->pluginDied(parked, "It was killed by signal 9"); });
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
  engine->pluginDied(dead, "It was killed by signal 9");
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(strip.channel->effectNodes.get().size(), 1U);
  EXPECT_EQ(strip.channel->effectSlots.get(), slots) << "the slot stays, with its saved state";
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > Delay > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Deaths, ADeadEffectOfTheMasterLeavesTheMasterChain) {
  const auto dead = addEffect(*engine->masterChannel(), "Limiter");
  engine->chains().rebuildMasterEffectChain(true);
  engine->pluginDied(dead, "It was killed by signal 9");
  settle();
  EXPECT_TRUE(engine->masterChannel()->effectNodes.get().empty());
  EXPECT_EQ(graph().chainFrom(engine->engine().mainMixerNode()), "main mixer > output");
}

TEST_F(Deaths, AnUnusedNodeChangesNothing) {
  const auto strip = addStrip("Piano");
  engine->pluginDied(std::make_shared<simulation::ScriptedInstrument>("stray"), "It was killed by signal 9");
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::running);
}

TEST_F(Deaths, TheLastStateOfADeadInstrumentIsSavedAndComesBackWithItsRevival) {
  setResolver();
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = PropertyListDictionary{{"tone", {std::int64_t{7}}}};
  engine->pluginDied(strip.instrument, "Piano was killed by signal 9");
  settle();
  const auto saved = engine->pluginState().capturePluginState(*strip.channel);
  EXPECT_EQ(engine->pluginState().decodePluginState(saved), strip.instrument->core.documentState);
  engine->instruments().reviveChannel(strip.channel);
  units.answer(0, nullptr, Error{"not today"});
  settle();
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), saved) << "a revival that fails loses nothing";
  engine->instruments().reviveChannel(strip.channel);
  const auto node = units.answerWithInstrument();
  settle();
  EXPECT_EQ(node->core.documentState, strip.instrument->core.documentState);
}

TEST_F(Deaths, TheStateOfADeadInstrumentIsNotSavedWithAnotherPlugin) {
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = PropertyListDictionary{{"tone", {std::int64_t{7}}}};
  engine->pluginDied(strip.instrument, "Piano was killed by signal 9");
  engine->instruments().loadVisualInstrument(*strip.channel, {}, nullptr);
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), std::nullopt);
  engine->instruments().unloadInstrument(*strip.channel);
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), std::nullopt);
}

TEST_F(Deaths, ASimulatedCrashKeepsNoState) {
  setResolver();
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = PropertyListDictionary{{"tone", {std::int64_t{7}}}};
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), std::nullopt);
  engine->instruments().reviveChannel(strip.channel);
  const auto node = units.answerWithInstrument();
  settle();
  EXPECT_EQ(node->core.calls, Lines{"host callbacks"});
}

TEST_F(Deaths, EachIsLoggedWithItsStripAndAParkedOneInWordsOfItsOwn) {
  const auto strip = addStrip("Upper");
  const auto effect = addEffect(*strip.channel, "Chorus");
  const auto limiter = addEffect(*engine->masterChannel(), "Limiter");
  const auto parked = std::make_shared<simulation::ScriptedInstrument>("parked");
  engine->pluginPool().returnNodeToPool(parked, pianoKey);
  const auto stray = std::make_shared<simulation::ScriptedInstrument>("stray");
  const std::vector<std::shared_ptr<AVAudioNode>> dying = {strip.instrument, effect, limiter, parked, stray};
  for (const auto& node : dying) {
    engine->pluginDied(node, "Piano was killed by signal 9");
    settle();
  }
  EXPECT_EQ(
      console.lines,
      (Lines{"Plug-in crashed on strip Upper: Piano was killed by signal 9",
             "Effect crashed on strip Upper: Piano was killed by signal 9",
             "Effect crashed on the master: Piano was killed by signal 9",
             "Plug-in crashed outside of all strips: Piano was killed by signal 9; it was parked for a later song, "
             "which loads it again",
             "Plug-in crashed outside of all strips: Piano was killed by signal 9"}));
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::instrument, FailureKind::effect, FailureKind::effect}));
}

TEST_F(Deaths, ARevivedStripLoadsItsInstrumentAgainWithoutStateWhenNoneIsKnown) {
  setResolver();
  const auto strip = addStrip("Piano");
  engine->pluginDied(strip.instrument, "It was killed by signal 9");
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
  engine->pluginDied(strip.instrument, "It was killed by signal 9");
  settle();
  engine->instruments().reviveChannel(strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::crashed);
  EXPECT_TRUE(units.requests.empty());
}

}  // namespace
}  // namespace vrel
