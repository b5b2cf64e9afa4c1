// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/graph_mutator.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/contract_policy.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class GraphMutation : public SimulatedStage {
 protected:
  /// What is printed when the restart fails that `operation` causes first.
  Lines failureOf(const std::function<void()>& operation) {
    graph().startFailure = std::nullopt;
    engine->ensureEngineRunning("test");
    console.lines.clear();
    graph().startFailure = Error{"gone"};
    operation();
    return console.lines;
  }

  static Lines failureUnder(const std::string& label) {
    return {"AVAudioEngine restart failed after graph mutation (" + label + "): gone"};
  }

  void expectRestarts(int expected) {
    EXPECT_EQ(graph().count("stop"), expected);
    EXPECT_EQ(graph().count("start"), expected);
  }
};

TEST_F(GraphMutation, StopsARunningEngineRunsTheBodyAndStartsIt) {
  graph().record.clear();
  bool ranWhileStopped = false;
  engine->performGraphMutation("test", [&] { ranWhileStopped = !graph().isRunning(); });
  EXPECT_TRUE(ranWhileStopped);
  EXPECT_TRUE(graph().isRunning());
  expectRestarts(1);
}

TEST_F(GraphMutation, NestedMutationDoesNotRestartTheEngine) {
  const auto strip = addStrip("Piano");
  graph().record.clear();
  engine->performGraphMutation("outer", [&] {
    EXPECT_EQ(engine->graph().graphMutationDepth(), 1);
    engine->chains().rebuildChannelEffectChain(*strip.channel);
    engine->performGraphMutation("inner", [&] { EXPECT_EQ(engine->graph().graphMutationDepth(), 1); });
  });
  expectRestarts(1);
  EXPECT_EQ(engine->graph().graphMutationDepth(), 0);
}

TEST_F(GraphMutation, ABodyThatThrowsLeavesTheEngineRunningAndPassesItsExceptionOn) {
  graph().record.clear();
  EXPECT_THROW(engine->performGraphMutation("test", [] { throw std::runtime_error("thrown"); }), std::runtime_error);
  EXPECT_TRUE(graph().isRunning());
  EXPECT_EQ(engine->graph().graphMutationDepth(), 0);
  expectRestarts(1);
  engine->performGraphMutation("next", [] {});
  expectRestarts(2);
}

TEST_F(GraphMutation, AnInnerBodyThatThrowsEndsTheOuterOneToo) {
  graph().record.clear();
  const auto outer = [&] { engine->performGraphMutation("inner", [] { throw std::runtime_error("thrown"); }); };
  EXPECT_THROW(engine->performGraphMutation("outer", outer), std::runtime_error);
  EXPECT_EQ(engine->graph().graphMutationDepth(), 0);
  expectRestarts(1);
}

TEST_F(GraphMutation, ARestartThatFailsAfterABodyThatThrowsIsLogged) {
  graph().startFailure = Error{"gone"};
  EXPECT_THROW(engine->performGraphMutation("test", [] { throw std::runtime_error("thrown"); }), std::runtime_error);
  EXPECT_EQ(console.lines, failureUnder("test"));
  EXPECT_EQ(engine->lastEngineStartError(), Error{"gone"});
}

TEST_F(GraphMutation, IsForTheMainThreadOnly) {
  const test::ContractPolicyScope policy(ContractPolicy::terminate);
  EXPECT_DEATH(std::thread([&] { engine->performGraphMutation("test", [] {}); }).join(), "isMainThread");
}

TEST_F(GraphMutation, OnAnotherThreadChangesNothingOnStage) {
  const test::ContractPolicyScope policy(ContractPolicy::recover);
  const auto strip = addStrip("Piano");
  graph().record.clear();
  bool ran = false;
  std::thread([&] {
    engine->performGraphMutation("test", [&] { ran = true; });
    EXPECT_FALSE(engine->ensureEngineRunning("test"));
    engine->chains().rebuildChannelEffectChain(*strip.channel);
    engine->removeChannel(*strip.channel);
  }).join();
  EXPECT_FALSE(ran);
  EXPECT_TRUE(graph().record.empty());
  EXPECT_EQ(engine->channels().size(), 1U);
}

TEST_F(GraphMutation, OnAStoppedEngineLeavesItStoppedAndSetsNoError) {
  graph().stop();
  graph().record.clear();
  bool ran = false;
  engine->performGraphMutation("test", [&] { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_FALSE(graph().isRunning());
  expectRestarts(0);
  EXPECT_FALSE(engine->lastEngineStartError().has_value());
}

TEST_F(GraphMutation, FailedRestartIsLoggedAndTheNextSuccessfulStartClearsIt) {
  graph().startFailure = Error{"device is gone"};
  engine->performGraphMutation("unloadInstrument", [] {});
  EXPECT_EQ(engine->graph().graphMutationDepth(), 0);
  EXPECT_EQ(engine->lastEngineStartError(), Error{"device is gone"});
  EXPECT_EQ(console.lines,
            Lines{"AVAudioEngine restart failed after graph mutation (unloadInstrument): device is gone"});
  EXPECT_FALSE(graph().isRunning());

  engine->performGraphMutation("later", [] {});
  EXPECT_FALSE(graph().isRunning()) << "a wrapper never starts an engine that it did not stop";
  EXPECT_TRUE(engine->lastEngineStartError().has_value());

  graph().startFailure = std::nullopt;
  EXPECT_TRUE(engine->ensureEngineRunning("initialization"));
  EXPECT_FALSE(engine->lastEngineStartError().has_value());
}

TEST_F(GraphMutation, EachOperationLogsAFailureUnderItsOwnLabel) {
  auto& chains = engine->chains();
  auto& loader = engine->instruments();
  auto& effects = engine->effects();
  const auto strip = addStrip("Piano");
  auto& channel = *strip.channel;
  EXPECT_EQ(failureOf([&] { chains.rebuildChannelEffectChain(channel); }), failureUnder("rebuildChannelEffectChain"));
  EXPECT_EQ(failureOf([&] { chains.rebuildMasterEffectChain(true); }), failureUnder("rebuildMasterEffectChain"));
  const auto effect = std::make_shared<simulation::ScriptedUnit>("effect");
  const auto slotId = Uuid::fresh();
  EXPECT_EQ(failureOf([&] { effects.replaceEffectSlot(channel, slotId, chorus, effect, nullptr); }),
            failureUnder("replaceEffectSlot"));
  EXPECT_EQ(failureOf([&] { effects.removeEffectSlot(channel, slotId); }), failureUnder("removeEffectSlot"));
  addEffect(channel, "second");
  EXPECT_EQ(failureOf([&] { effects.restoreEffectSlots({}, strip.channel, nullptr, nullptr); }),
            failureUnder("detachEffectNodes"));
  auto wanted = AudioPluginSlot{};
  wanted.pluginPath = chorusKey;
  effects.restoreEffectSlots(
      {wanted}, strip.channel, [](const std::string&) { return std::optional(chorus); }, nullptr);
  units.answerWithUnit();
  EXPECT_EQ(failureOf([&] { mainQueue.runOne(); }), failureUnder("restoreEffectSlot"));
  effects.restoreEffectSlots({}, strip.channel, nullptr, nullptr);
  EXPECT_EQ(failureOf([&] { loader.unloadInstrument(channel); }), failureUnder("unloadInstrument"));
  EXPECT_EQ(failureOf([&] { loader.loadVisualInstrument(channel, {}, nullptr); }),
            failureUnder("loadVisualInstrument"));
  EXPECT_EQ(failureOf([&] { loader.simulatePluginCrash(channel); }), failureUnder("detachMeterNode"));
  EXPECT_EQ(failureOf([&] { engine->removeChannel(channel); }), failureUnder("detachReverbNode"));
}

TEST_F(GraphMutation, EveryConnectOfAChainHappensOnAStoppedEngine) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "chorus");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->chains().rebuildMasterEffectChain(true);
  engine->removeChannel(*strip.channel);
  EXPECT_EQ(graph().connectsWhileRunning, 0);
}

}  // namespace
}  // namespace vrel
