// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/instrument_loader.h"

#include "foundation/base64.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Loading : public SimulatedStage {
 protected:
  std::string stateText(const PropertyListDictionary& state) { return base64Encode(propertyLists.ticketFor({state})); }

  const PropertyListDictionary saved{{"cutoff", {0.25}}};
};

TEST_F(Loading, AnInstrumentIsMadeInstalledAndWired) {
  const auto channel = engine->addChannel("Lead");
  int successes = 0;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool ok) { successes += ok ? 1 : 0; });
  EXPECT_EQ(channel->status.get(), "Loading...");
  EXPECT_EQ(channel->pluginPath.get(), "");
  const auto node = units.answerWithInstrument();
  EXPECT_EQ(channel->status.get(), "Loading...") << "the answer may come on any thread, so it waits for the main queue";
  mainQueue.runAll();
  EXPECT_EQ(successes, 1);
  EXPECT_EQ(channel->status.get(), "RUNNING");
  EXPECT_EQ(channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(channel->pluginName.get(), "Piano");
  EXPECT_EQ(graph().chainFrom(node), "instrument 1 > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(node->core.calls, Lines{"host callbacks"});
}

TEST_F(Loading, AMissDoesNotPrewarm) {
  engine->pluginPool().setResolver([](const std::string&) { return std::optional(piano); });
  engine->instruments().loadInstrument(engine->addChannel("A"), piano, std::nullopt, nullptr);
  poolQueue().runAll();
  EXPECT_EQ(units.requests.size(), 1U);
}

TEST_F(Loading, AGeneratorIsMadeAsAPlainUnit) {
  const AVAudioUnitComponent noise{"Noise", "Maker", {componentTypeGenerator, 5, 6}};
  const auto channel = engine->addChannel("Noise");
  engine->instruments().loadInstrument(channel, noise, std::nullopt, nullptr);
  EXPECT_FALSE(units.requests.at(0).isForMIDIInstrument);
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(channel->status.get(), "RUNNING");
}

TEST_F(Loading, NeitherNodeNorErrorFailsWithoutALine) {
  const auto channel = engine->addChannel("A");
  bool ok = true;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool result) { ok = result; });
  units.answer(0, nullptr, std::nullopt);
  mainQueue.runAll();
  EXPECT_FALSE(ok);
  EXPECT_EQ(channel->status.get(), "Load failed");
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(Loading, ASavedStateGoesInBeforeTheNodeIsAttachedAndIsFollowedByAReset) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", stateText(saved));
  EXPECT_EQ(node->core.calls, (Lines{"host callbacks", "state", "host callbacks", "reset"}));
  EXPECT_EQ(node->core.documentState, saved);
}

TEST_F(Loading, AStateThatCannotBeDecodedIsToldAndTheInstrumentLoadsWithItsOwn) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", "bm9uc2Vuc2U=");
  EXPECT_EQ(node->core.calls, Lines{"host callbacks"});
  EXPECT_EQ(channel->status.get(), "RUNNING");
  EXPECT_EQ(console.lines, Lines{"Failed to decode audio unit state: not a property list"});
}

TEST_F(Loading, ANewInstrumentSendsTheOldOneToThePoolUnderItsOwnKey) {
  const auto strip = addStrip("Piano");
  const auto next = std::make_shared<simulation::ScriptedInstrument>("Organ");
  engine->instruments().installInstrumentNode(*strip.channel, next, organKey, "Organ", std::nullopt);
  EXPECT_FALSE(graph().isAttached(strip.instrument));
  EXPECT_EQ(engine->pluginPool().take(pianoKey), strip.instrument);
  EXPECT_EQ(graph().chainFrom(next), "Organ > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Loading, AnInstrumentClearsThePlaybackFields) {
  const auto channel = engine->addChannel("A");
  channel->playbackFilePath.set("/music/click.wav");
  channel->playbackLoop.set(true);
  channel->playbackEndTime.set(4.0);
  channel->playbackStopMode.set("other");
  channel->playbackFrameCount.set(7);
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", std::nullopt);
  EXPECT_EQ(channel->playbackFilePath.get(), "");
  EXPECT_FALSE(channel->playbackLoop.get());
  EXPECT_EQ(channel->playbackEndTime.get(), 0.0);
  EXPECT_EQ(channel->playbackStopMode.get(), "toggle");
  EXPECT_EQ(channel->playbackFrameCount.get(), 0U);
}

TEST_F(Loading, UnloadEmptiesTheStripAndKeepsItsRack) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->instruments().unloadInstrument(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), "No plugin");
  EXPECT_EQ(strip.channel->pluginPath.get(), "");
  EXPECT_EQ(strip.channel->pluginName.get(), "");
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_FALSE(strip.channel->meterTapInstalled.get());
  EXPECT_TRUE(graph().isAttached(effect));
  EXPECT_EQ(graph().chainFrom(effect), "chorus");
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 1U);
}

TEST_F(Loading, UnloadThenLoadWiresTheRackBehindTheNewInstrument) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "chorus");
  engine->instruments().unloadInstrument(*strip.channel);
  const auto next = std::make_shared<simulation::ScriptedInstrument>("Organ");
  engine->instruments().installInstrumentNode(*strip.channel, next, organKey, "Organ", std::nullopt);
  EXPECT_EQ(graph().chainFrom(next), "Organ > chorus > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Loading, UnloadStopsAPlayerAndDoesNotPoolIt) {
  const auto channel = engine->addChannel("File");
  const auto player = std::make_shared<simulation::SimulatedPlayer>("player");
  channel->instrumentNode.set(player);
  channel->pluginPath.set("internal:playback");
  engine->instruments().unloadInstrument(*channel);
  EXPECT_EQ(player->stopCount, 1);
  EXPECT_EQ(engine->pluginPool().idleCount("internal:playback"), 0U);
}

TEST_F(Loading, VisualModeTakesTheInstrumentAway) {
  const auto strip = addStrip("Piano");
  bool completed = false;
  engine->instruments().loadVisualInstrument(*strip.channel, {VisualClipMapping{}}, [&](bool ok) { completed = ok; });
  EXPECT_TRUE(completed);
  EXPECT_EQ(strip.channel->pluginPath.get(), "internal:visual");
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_FALSE(graph().isAttached(strip.instrument));
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 1U);
}

TEST_F(Loading, ARehearsedCrashKeepsPathAndEffectsAndLosesTheNode) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), "CRASHED");
  EXPECT_EQ(strip.channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_TRUE(graph().isAttached(effect));
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U) << "a dead node is not parked";
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), "CRASHED");
}

TEST_F(Loading, AnAnswerForAChannelThatHasGoneWiresNothingAndEndsTheLoad) {
  auto channel = engine->addChannel("A");
  std::optional<bool> ended;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool ok) { ended = ok; });
  engine->removeChannel(*channel);
  channel.reset();
  const auto late = units.answerWithInstrument();
  mainQueue.runAll();
  EXPECT_FALSE(graph().isAttached(late));
  EXPECT_EQ(ended, false);
}

TEST_F(Loading, AnAnswerAfterTheEngineHasGoneDoesNothing) {
  const auto channel = engine->addChannel("A");
  bool ended = false;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool) { ended = true; });
  engine.reset();
  units.answerWithInstrument();
  mainQueue.runAll();
  EXPECT_FALSE(ended);
  EXPECT_EQ(channel->instrumentNode.get(), nullptr);
}

}  // namespace
}  // namespace vrel
