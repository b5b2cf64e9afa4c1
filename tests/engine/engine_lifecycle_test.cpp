// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulated_midi_service.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class EngineLifecycle : public SimulatedStage {};

/// Records whether the graph was still running when the input disposed of its port.
class WatchingMIDIService : public simulation::SimulatedMIDIService {
 public:
  explicit WatchingMIDIService(const simulation::SimulatedNodeFactory& nodes) : nodes_(nodes) {}
  void MIDIPortDispose(MIDIPortRef port) override {
    ranAtDisposal = nodes_.engine->isRunning();
    SimulatedMIDIService::MIDIPortDispose(port);
  }

  bool ranAtDisposal = true;

 private:
  const simulation::SimulatedNodeFactory& nodes_;
};

TEST_F(EngineLifecycle, StartsOnTheFirstTurnOfTheMainQueueNotInTheInitialiser) {
  simulation::SimulatedNodeFactory otherNodes;
  const auto other = AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console});
  EXPECT_FALSE(otherNodes.engine->isRunning());
  mainQueue.runOne();
  EXPECT_TRUE(otherNodes.engine->isRunning());
  EXPECT_EQ(otherNodes.engine->record, (Lines{"connect main mixer -> output", "start"}));
}

TEST_F(EngineLifecycle, TheMixerMeetsTheOutputInTheOutputsFormatAndChainsNegotiate) {
  graph().stop();
  dynamic_cast<simulation::SimulatedNode&>(*graph().outputNode()).format = {96000.0, 2};
  graph().connectFormats.clear();
  engine->ensureEngineRunning("initialization");
  EXPECT_EQ(graph().connectFormats, (std::vector{std::optional(AVAudioFormat{96000.0, 2})}));
  graph().connectFormats.clear();
  addStrip("Piano");
  engine->chains().rebuildMasterEffectChain(true);
  EXPECT_EQ(graph().connectFormats, std::vector<std::optional<AVAudioFormat>>(4));
}

TEST_F(EngineLifecycle, AMutationThatComesBackAtAnotherRateSetsTheBeatAndRemakesThePool) {
  engine->pluginPool().returnNodeToPool(std::make_shared<simulation::ScriptedInstrument>("old"), pianoKey);
  engine->pluginPool().setResolver([](const std::string&) { return std::optional(piano); });
  settle();
  ASSERT_EQ(engine->musicalContext().currentMoment().framesPerSecond, 48000.0);
  engine->performGraphMutation("a change at the same rate", [] {});
  settle();
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 1U);
  engine->performGraphMutation("a change", [this] {
    dynamic_cast<simulation::SimulatedNode&>(*graph().outputNode()).format = {96000.0, 2};
  });
  settle();
  EXPECT_EQ(engine->musicalContext().currentMoment().framesPerSecond, 96000.0);
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U) << "it was made at the old rate";
  EXPECT_EQ(units.requests.size(), 1U) << "and is made again";
}

TEST_F(EngineLifecycle, AStartAtAnotherRateSetsTheBeatAndRemakesThePool) {
  engine->pluginPool().returnNodeToPool(std::make_shared<simulation::ScriptedInstrument>("old"), pianoKey);
  settle();
  graph().stop();
  dynamic_cast<simulation::SimulatedNode&>(*graph().outputNode()).format = {96000.0, 2};
  EXPECT_TRUE(engine->ensureEngineRunning("initialization"));
  settle();
  EXPECT_EQ(engine->musicalContext().currentMoment().framesPerSecond, 96000.0);
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 0U);
}

TEST_F(EngineLifecycle, PacketsOfTheMidiServiceReachTheInstruments) {
  simulation::SimulatedNodeFactory otherNodes;
  simulation::SimulatedMIDIService service;
  service.sources = {"Keys"};
  const auto other =
      AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, &service});
  mainQueue.runAll();
  ASSERT_NE(other->midiInput(), nullptr);
  EXPECT_EQ(other->midiInput()->currentMidiPortName(), "Keys");
  const auto instrument = std::make_shared<simulation::ScriptedInstrument>("Piano");
  other->instruments().installInstrumentNode(*other->addChannel("A"), instrument, pianoKey, "Piano", std::nullopt);
  service.send({{0x90, 60, 100}});
  EXPECT_TRUE(instrument->events.empty());
  mainQueue.runAll();
  EXPECT_EQ(instrument->events, (Events{{0x90, 60, 100}}));
}

TEST_F(EngineLifecycle, EndOfLifeStopsThePlatformEngineThenDisposesOfPortAndClientAndDropsWhatIsQueued) {
  simulation::SimulatedNodeFactory otherNodes;
  WatchingMIDIService service(otherNodes);
  auto other =
      AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, &service});
  mainQueue.runAll();
  ASSERT_TRUE(otherNodes.engine->isRunning());
  service.record.clear();
  service.send({{0x90, 60, 100}});
  other.reset();
  EXPECT_FALSE(service.ranAtDisposal);
  EXPECT_EQ(service.record, (Lines{"dispose port 2", "dispose client 1"}));
  mainQueue.runAll();
}

TEST_F(EngineLifecycle, AnEngineThatHasGoneBeforeItsFirstTurnIsNotStarted) {
  simulation::SimulatedNodeFactory otherNodes;
  AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console}).reset();
  EXPECT_TRUE(mainQueue.runOne());
}

TEST_F(EngineLifecycle, FailedStartIsLoggedWithItsReason) {
  graph().stop();
  graph().startFailure = Error{"no device"};
  EXPECT_FALSE(engine->ensureEngineRunning("initialization"));
  EXPECT_EQ(console.lines.back(), "AVAudioEngine start failed (initialization): no device");
  EXPECT_EQ(engine->lastEngineStartError(), Error{"no device"});
}

TEST_F(EngineLifecycle, NeitherPanicNorRoutingStartsAStoppedEngineOrTouchesTheError) {
  graph().startFailure = Error{"no device"};
  engine->performGraphMutation("test", [] {});
  graph().startFailure = std::nullopt;
  graph().record.clear();
  EXPECT_FALSE(engine->ensureEngineRunning("panic"));
  EXPECT_FALSE(engine->ensureEngineRunning("routeMIDI"));
  EXPECT_TRUE(graph().record.empty());
  EXPECT_EQ(engine->lastEngineStartError(), Error{"no device"});
}

TEST_F(EngineLifecycle, TheMasterIsNamedAndInNoStripList) {
  EXPECT_EQ(engine->masterChannel()->name.get(), "MASTER");
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_EQ(engine->masterChannel()->meterNode.get(), nullptr);
  EXPECT_EQ(engine->masterChannel()->reverbNode.get(), nullptr);
}

TEST_F(EngineLifecycle, ANewStripHasMeterAndReverbAttachedAndUnconnectedWithoutARestart) {
  graph().record.clear();
  const auto channel = engine->addChannel("Lead");
  EXPECT_EQ(graph().record, (Lines{"attach meter 1", "attach reverb 1"}));
  EXPECT_EQ(graph().chainFrom(channel->meterNode.get()), "meter 1");
  EXPECT_EQ(dynamic_cast<simulation::SimulatedReverb&>(*channel->reverbNode.get()).preset, 12);
}

TEST_F(EngineLifecycle, ANewStripIsLevelledAtOnce) {
  const auto channel = engine->addChannel("Lead");
  EXPECT_EQ(meterOf(*channel).outputVolume(), engine->levels().channelOutputLevel(*channel));
  EXPECT_NE(meterOf(*channel).outputVolume(), 1.0F) << "the default fader is not at unity";
}

TEST_F(EngineLifecycle, TheEighthStripHasTheColourOfTheFirst) {
  std::vector<std::vector<float>> colors;
  for (int strip = 0; strip < 8; ++strip) {
    colors.push_back(engine->addChannel("S")->color.get());
  }
  EXPECT_EQ(colors, (std::vector<std::vector<float>>{{1.0F, 0.33F, 0.0F},
                                                     {1.0F, 0.82F, 0.0F},
                                                     {0.0F, 0.76F, 0.76F},
                                                     {0.7F, 0.2F, 0.8F},
                                                     {0.2F, 0.8F, 0.2F},
                                                     {0.85F, 0.2F, 0.2F},
                                                     {0.2F, 0.4F, 0.9F},
                                                     {1.0F, 0.33F, 0.0F}}));
}

TEST_F(EngineLifecycle, RemovingAllOfNothingOnARunningEngineDoesNotStopIt) {
  graph().record.clear();
  engine->removeAllChannels();
  EXPECT_TRUE(graph().record.empty());
}

TEST_F(EngineLifecycle, RemovingAllOfNothingOnAStoppedEngineWiresTheMasterPlainly) {
  graph().stop();
  graph().record.clear();
  engine->removeAllChannels();
  EXPECT_EQ(graph().record, (Lines{"disconnect output main mixer", "connect main mixer -> output"}));
}

TEST_F(EngineLifecycle, RemovingAllTakesTheMastersEffectsToo) {
  addStrip("Piano");
  auto& master = *engine->masterChannel();
  const auto effect = addEffect(master, "limiter");
  engine->chains().rebuildMasterEffectChain(true);
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > limiter > output");
  engine->removeAllChannels();
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_TRUE(master.effectSlots.get().empty());
  EXPECT_TRUE(master.effectNodes.get().empty());
  EXPECT_FALSE(graph().isAttached(effect));
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > output");
  EXPECT_TRUE(graph().isRunning());
}

TEST_F(EngineLifecycle, RemovingAStripDetachesAllItsNodesAndGivesTheInstrumentBack) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  const auto meter = strip.channel->meterNode.get();
  const auto reverb = strip.channel->reverbNode.get();
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->removeChannel(*strip.channel);
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_FALSE(graph().isAttached(strip.instrument));
  EXPECT_EQ(strip.channel->instrumentNode.get(), nullptr) << "its next owner comes from the pool";
  EXPECT_FALSE(graph().isAttached(effect));
  EXPECT_FALSE(graph().isAttached(meter));
  EXPECT_FALSE(graph().isAttached(reverb));
  EXPECT_FALSE(dynamic_cast<simulation::SimulatedMixer&>(*meter).tap) << "no tap may keep running";
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 1U);
  EXPECT_EQ(strip.channel->effectSlots.get().size(), 1U) << "the slots are data and stay";
}

TEST_F(EngineLifecycle, AStripInVisualModeCanBeRemoved) {
  const auto channel = engine->addChannel("Clips");
  engine->instruments().loadVisualInstrument(*channel, {}, nullptr);
  const auto meter = channel->meterNode.get();
  engine->removeChannel(*channel);
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_FALSE(graph().isAttached(meter));
}

TEST_F(EngineLifecycle, RemovingAStripThatIsNotThereChangesNothing) {
  const auto strip = addStrip("Piano");
  graph().record.clear();
  const AudioChannel stranger("Piano", engine);
  engine->removeChannel(stranger);
  EXPECT_EQ(engine->channels().size(), 1U);
  EXPECT_TRUE(graph().record.empty());
}

TEST_F(EngineLifecycle, RemovingASoloedStripMakesTheOthersHeardAgain) {
  const auto soloed = engine->addChannel("A");
  const auto other = engine->addChannel("B");
  soloed->solo.set(true);
  EXPECT_EQ(meterOf(*other).outputVolume(), 0.0F);
  engine->removeChannel(*soloed);
  EXPECT_GT(meterOf(*other).outputVolume(), 0.0F);
}

TEST_F(EngineLifecycle, EndOfLifeStopsThePlatformEngineAndTakesEveryTapOff) {
  const auto strip = addStrip("Piano");
  const auto meter = strip.channel->meterNode.get();
  const auto mixer = graph().mainMixerNode();
  engine.reset();
  EXPECT_EQ(dynamic_cast<simulation::SimulatedMixer&>(*meter).tap, nullptr);
  EXPECT_EQ(dynamic_cast<simulation::SimulatedMixer&>(*mixer).tap, nullptr);
  mainQueue.advance(1.0);
}

TEST_F(EngineLifecycle, EndOfLifeWhileStripsRingTakesTheirTapsOffToo) {
  const auto strip = addStrip("Piano");
  const auto meter = strip.channel->meterNode.get();
  engine->removeAllChannels(5);
  ASSERT_EQ(engine->ringingChannels().size(), 1U);
  engine.reset();
  EXPECT_EQ(dynamic_cast<simulation::SimulatedMixer&>(*meter).tap, nullptr);
  mainQueue.advance(10.0);
}

}  // namespace
}  // namespace vrel
