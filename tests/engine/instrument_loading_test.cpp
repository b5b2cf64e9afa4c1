// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/instrument_loader.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/base64.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Loading : public SimulatedStage {
 protected:
  /// Gives every field that belongs to a playback or to its run a value of its own.
  static void fillPlayback(AudioChannel& channel) {
    channel.playbackBuffer.set(std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{48000.0, 2}, std::uint32_t{1}));
    channel.playbackFileDuration.set(9.0);
    channel.playbackStartFrame.set(3);
    channel.playbackFrameCount.set(7);
    channel.playbackFilePath.set("/music/click.wav");
    channel.playbackLoop.set(true);
    channel.playbackStartTime.set(1.0);
    channel.playbackEndTime.set(4.0);
    channel.playbackStopMode.set(PlaybackStopMode::fromText("other"));
    channel.playbackIsPlaying.set(true);
    channel.playbackStopRequested.set(true);
    channel.playbackRunToken.set(Uuid::fresh());
    channel.playbackMeterStartedAt.set(1.0);
    channel.playbackMeterPeaks.set({{0.5F, 0.5F}});
    channel.peakL.set(0.5F);
    channel.peakR.set(0.5F);
  }

  static void expectNoPlaybackFile(const AudioChannel& channel) {
    EXPECT_EQ(channel.playbackBuffer.get(), nullptr);
    EXPECT_EQ(channel.playbackFile.get(), nullptr);
    EXPECT_EQ(channel.playbackFileDuration.get(), 0.0);
    EXPECT_EQ(channel.playbackStartFrame.get(), 0);
    EXPECT_EQ(channel.playbackFrameCount.get(), 0U);
    EXPECT_EQ(channel.playbackFilePath.get(), "");
    EXPECT_FALSE(channel.playbackLoop.get());
    EXPECT_EQ(channel.playbackStartTime.get(), 0.0);
    EXPECT_EQ(channel.playbackEndTime.get(), 0.0);
    EXPECT_EQ(channel.playbackStopMode.get(), StopMode::toggle);
  }

  static void expectNoPlaybackRun(const AudioChannel& channel) {
    EXPECT_FALSE(channel.playbackIsPlaying.get());
    EXPECT_FALSE(channel.playbackStopRequested.get());
    EXPECT_FALSE(channel.playbackRunToken.get().has_value());
    EXPECT_FALSE(channel.playbackMeterStartedAt.get().has_value());
    EXPECT_TRUE(channel.playbackMeterPeaks.get().empty());
    EXPECT_EQ(channel.peakL.get(), 0.0F);
    EXPECT_EQ(channel.peakR.get(), 0.0F);
  }

  std::string stateText(const PropertyListDictionary& state) { return base64Encode(propertyLists.ticketFor({state})); }

  const PropertyListDictionary saved{{"cutoff", {0.25}}};
};

TEST_F(Loading, AnInstrumentIsMadeInstalledAndWired) {
  const auto channel = engine->addChannel("Lead");
  int successes = 0;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool ok) { successes += ok ? 1 : 0; });
  EXPECT_EQ(channel->status.get(), ChannelStatus::loading);
  EXPECT_EQ(channel->pluginPath.get(), "");
  const auto node = units.answerWithInstrument();
  EXPECT_EQ(channel->status.get(), ChannelStatus::loading)
      << "the answer may come on any thread, so it waits for the main queue";
  mainQueue.runAll();
  EXPECT_EQ(successes, 1);
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
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
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
}

TEST_F(Loading, NeitherNodeNorErrorFailsWithoutALine) {
  const auto channel = engine->addChannel("A");
  bool ok = true;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool result) { ok = result; });
  units.answer(0, nullptr, std::nullopt);
  mainQueue.runAll();
  EXPECT_FALSE(ok);
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(Loading, ASavedStateGoesInBeforeTheNodeIsAttachedAndIsFollowedByAReset) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  node->core.graphRecord = &graph().record;
  graph().record.clear();
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", stateText(saved));
  graph().record.resize(5);
  EXPECT_EQ(graph().record, (Lines{"host callbacks", "state", "host callbacks", "reset", "attach Piano"}));
  EXPECT_EQ(node->core.documentState, saved);
}

TEST_F(Loading, WhoeverHearsOfANewInstrumentFindsItInTheGraph) {
  const auto channel = engine->addChannel("A");
  bool wasAttached = false;
  const auto connection =
      channel->instrumentNode.changed.connect([&](const auto& node) { wasAttached = graph().isAttached(node); });
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", std::nullopt);
  EXPECT_TRUE(wasAttached);
}

TEST_F(Loading, AnAnswerWithANodeAndAnErrorCountsAsFailed) {
  const auto channel = engine->addChannel("A");
  engine->instruments().loadInstrument(channel, piano, std::nullopt, nullptr);
  units.answer(0, std::make_shared<simulation::ScriptedInstrument>("broken"), Error{"half made"});
  mainQueue.runAll();
  EXPECT_EQ(console.lines, Lines{"Failed to load plugin: half made"});
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::instrument}));
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(channel->instrumentNode.get(), nullptr);
}

TEST_F(Loading, OnlyAnInstrumentUnderAPluginsKeyIsParked) {
  for (const std::string path : {"", "internal:playback", "internal:visual"}) {
    auto strip = addStrip("Piano");
    strip.channel->pluginPath.set(path);
    const std::weak_ptr<simulation::ScriptedInstrument> node = std::exchange(strip.instrument, nullptr);
    engine->instruments().unloadInstrument(*strip.channel);
    settle();
    EXPECT_EQ(engine->pluginPool().idleCount(path), 0U) << path;
    EXPECT_TRUE(node.expired()) << path;
  }
}

TEST_F(Loading, AnInstrumentThatDoesNotRespondIsNeverParkedAndThatIsLogged) {
  const auto strip = addStrip("Piano");
  strip.instrument->responds = false;
  engine->instruments().unloadInstrument(*strip.channel);
  settle();
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U);
  EXPECT_EQ(console.lines, Lines{"The plug-in of strip Piano does not respond and is not used again"});
}

TEST_F(Loading, AMixIsAppliedToWhatWasInstalled) {
  const auto strip = addStrip("Piano");
  meterOf(*strip.channel).setOutputVolume(-1.0F);
  const auto next = std::make_shared<simulation::ScriptedInstrument>("Organ");
  engine->instruments().installInstrumentNode(*strip.channel, next, organKey, "Organ", std::nullopt);
  EXPECT_EQ(meterOf(*strip.channel).outputVolume(), engine->levels().channelOutputLevel(*strip.channel));
  meterOf(*strip.channel).setOutputVolume(-1.0F);
  strip.channel->pluginPath.set("");
  engine->instruments().reviveChannel(strip.channel);
  EXPECT_EQ(meterOf(*strip.channel).outputVolume(), engine->levels().channelOutputLevel(*strip.channel));
  meterOf(*strip.channel).setOutputVolume(-1.0F);
  engine->instruments().loadVisualInstrument(*strip.channel, {}, nullptr);
  EXPECT_EQ(meterOf(*strip.channel).outputVolume(), engine->levels().channelOutputLevel(*strip.channel));
}

TEST_F(Loading, VisualModeLeavesTheRackAttachedAndUnlinked) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->instruments().loadVisualInstrument(*strip.channel, {}, nullptr);
  EXPECT_TRUE(graph().isAttached(effect));
  EXPECT_EQ(graph().chainFrom(effect), "chorus");
  EXPECT_EQ(graph().chainFrom(strip.channel->reverbNode.get()), "reverb 1");
  EXPECT_EQ(graph().chainFrom(strip.channel->meterNode.get()), "meter 1");
}

TEST_F(Loading, AStateThatCannotBeDecodedIsLoggedAndTheInstrumentLoadsWithItsOwn) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", "bm9uc2Vuc2U=");
  EXPECT_EQ(node->core.calls, Lines{"host callbacks"});
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
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
  fillPlayback(*channel);
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", std::nullopt);
  expectNoPlaybackFile(*channel);
}

TEST_F(Loading, UnloadClearsWhatBelongsToPlaybackAndClips) {
  const auto strip = addStrip("Piano");
  fillPlayback(*strip.channel);
  strip.channel->visualClipMappings.set({VisualClipMapping{}});
  engine->instruments().unloadInstrument(*strip.channel);
  expectNoPlaybackFile(*strip.channel);
  expectNoPlaybackRun(*strip.channel);
  EXPECT_TRUE(strip.channel->visualClipMappings.get().empty());
}

TEST_F(Loading, VisualModeTakesTheInstrumentAndClearsWhatBelongsToPlayback) {
  const auto strip = addStrip("Piano");
  fillPlayback(*strip.channel);
  const std::vector mappings{VisualClipMapping{}};
  bool completed = false;
  engine->instruments().loadVisualInstrument(*strip.channel, mappings, [&](bool ok) { completed = ok; });
  EXPECT_TRUE(completed);
  expectNoPlaybackFile(*strip.channel);
  expectNoPlaybackRun(*strip.channel);
  EXPECT_EQ(strip.channel->pluginPath.get(), "internal:visual");
  EXPECT_EQ(strip.channel->visualClipMappings.get(), mappings);
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_FALSE(graph().isAttached(strip.instrument));
  EXPECT_FALSE(strip.channel->meterTapInstalled.get());
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 1U);
}

TEST_F(Loading, AParkedNodeIsInstalledByTheMainQueuesNextWorkNotByTheCall) {
  engine->removeChannel(*addStrip("Piano").channel);
  const auto channel = engine->addChannel("A");
  bool completed = false;
  engine->instruments().loadInstrument(channel, piano, std::nullopt, [&](bool ok) { completed = ok; });
  EXPECT_EQ(channel->status.get(), ChannelStatus::loading);
  EXPECT_FALSE(completed);
  mainQueue.runAll();
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_TRUE(completed);
}

TEST_F(Loading, UnloadEmptiesTheStripAndKeepsItsRack) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->instruments().unloadInstrument(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::noPlugin);
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

TEST_F(Loading, ARehearsedCrashKeepsPathAndEffectsAndLosesTheNode) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::crashed);
  EXPECT_EQ(strip.channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr);
  EXPECT_TRUE(graph().isAttached(effect));
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U) << "a dead node is not parked";
  engine->instruments().simulatePluginCrash(*strip.channel);
  EXPECT_EQ(strip.channel->status.get(), ChannelStatus::crashed);
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

TEST_F(Loading, AnAnswerForAStripThatWasTakenOutWiresNothingThoughSomebodyHoldsTheStrip) {
  const auto made = engine->addChannel("A");
  const auto parked = engine->addChannel("B");
  std::vector<bool> ended;
  const auto note = [&](bool ok) { ended.push_back(ok); };
  engine->instruments().loadInstrument(made, piano, std::nullopt, note);
  const auto spare = std::make_shared<simulation::ScriptedInstrument>("spare");
  engine->pluginPool().returnNodeToPool(spare, pianoKey);
  engine->instruments().loadInstrument(parked, piano, std::nullopt, note);
  engine->removeAllChannels();
  const auto late = units.answerWithInstrument();
  settle();
  EXPECT_FALSE(graph().isAttached(late));
  EXPECT_FALSE(graph().isAttached(spare));
  EXPECT_EQ(made->instrumentNode.get(), nullptr);
  EXPECT_EQ(parked->instrumentNode.get(), nullptr);
  EXPECT_EQ(ended, (std::vector<bool>{false, false}));
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
