// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/effect_racks.h"

#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "engine/rack_stage.h"
#include "foundation/base64.h"

namespace vrel {
namespace {

/// A main queue that runs nothing and shows what it was given.
class KeepingQueue : public MainQueue {
 public:
  void async(Work work) override { kept.push_back(std::move(work)); }
  void sync(const Work& /*work*/) override { FAIL() << "sync is not allowed on the main queue"; }
  void asyncAfter(double /*seconds*/, Work work) override { kept.push_back(std::move(work)); }
  std::unique_ptr<RepeatingTimer> repeatingTimer(double /*intervalSeconds*/, Work /*work*/) override {
    return std::make_unique<RepeatingTimer>();
  }

  std::vector<Work> kept;
};

class Racks : public RackStage {
 protected:
  static std::vector<std::string> names(const AudioChannel& channel) {
    std::vector<std::string> result;
    for (const auto& slot : channel.effectSlots.get()) {
      result.push_back(slot.pluginName);
    }
    return result;
  }
};

TEST_F(Racks, AnEffectIsTriedInProcessFirstAndThenOutOfProcess) {
  std::shared_ptr<AVAudioUnit> made;
  int calls = 0;
  engine->effects().instantiateEffectNode(chorus, [&](auto node) {
    made = node;
    ++calls;
  });
  ASSERT_EQ(units.requests.size(), 1U);
  EXPECT_EQ(units.requests[0].options, AudioComponentInstantiationOptions::inProcess);
  units.answer(0, nullptr, Error{"needs its own process"});
  EXPECT_EQ(console.lines.back(), "Failed to load effect plugin in-process (Maker - Chorus): needs its own process");
  ASSERT_EQ(units.requests.size(), 1U);
  EXPECT_EQ(units.requests[0].options, AudioComponentInstantiationOptions::outOfProcess);
  const auto node = units.answerWithUnit();
  EXPECT_EQ(made, node);
  EXPECT_EQ(calls, 1);
}

TEST_F(Racks, AnEffectThatFailsBothWaysIsLoggedTwiceAndGivesNone) {
  int calls = 0;
  bool gotNode = true;
  engine->effects().instantiateEffectNode(chorus, [&](auto node) {
    gotNode = node != nullptr;
    ++calls;
  });
  units.answer(0, nullptr, Error{"a"});
  units.answer(0, nullptr, Error{"b"});
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(gotNode);
  EXPECT_EQ(console.lines, (Lines{"Failed to load effect plugin in-process (Maker - Chorus): a",
                                  "Failed to load effect plugin out-of-process (Maker - Chorus): b"}));
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::effect, FailureKind::effect}));
}

TEST_F(Racks, MovingASlotRewiresTheChainWithNoNodeMadeOrLost) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "first");
  addEffect(*strip.channel, "second");
  addEffect(*strip.channel, "third");
  const auto nodesBefore = strip.channel->effectNodes.get();
  engine->effects().moveEffectSlot(*strip.channel, {0}, 3);
  EXPECT_EQ(graph().chainFrom(strip.instrument),
            "Piano > second > third > first > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(strip.channel->effectNodes.get(), nodesBefore);
  engine->effects().moveEffectSlot(*strip.channel, {1, 2}, 0);
  EXPECT_EQ(graph().chainFrom(strip.instrument),
            "Piano > third > first > second > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, ReplacingASlotKeepsItsPlaceAndIdAndClearsItsState) {
  const auto strip = addStrip("Piano");
  const auto old = addEffect(*strip.channel, "old");
  addEffect(*strip.channel, "after");
  auto slots = strip.channel->effectSlots.get();
  slots[0].stateBase64 = "c3RhdGU=";
  strip.channel->effectSlots.set(slots);
  const auto fresh = std::make_shared<simulation::ScriptedUnit>("fresh");
  bool completed = false;
  engine->effects().replaceEffectSlot(*strip.channel, slots[0].id, chorus, fresh, [&](bool ok) { completed = ok; });
  EXPECT_TRUE(completed);
  const auto& slot = strip.channel->effectSlots.get()[0];
  EXPECT_EQ(slot.id, slots[0].id);
  EXPECT_EQ(slot.pluginPath, chorusKey);
  EXPECT_EQ(slot.pluginName, "Chorus");
  EXPECT_EQ(slot.manufacturerName, "Maker");
  EXPECT_FALSE(slot.stateBase64.has_value());
  EXPECT_FALSE(graph().isAttached(old));
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > fresh > after > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, ReplacingAnUnknownSlotAddsItAtTheEndInOneRestart) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "first");
  const auto fresh = std::make_shared<simulation::ScriptedUnit>("fresh");
  const auto id = Uuid::fresh();
  graph().record.clear();
  engine->effects().replaceEffectSlot(*strip.channel, id, chorus, fresh, nullptr);
  EXPECT_EQ(strip.channel->effectSlots.get().back().id, id);
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > first > fresh > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(graph().count("stop"), 1);
}

TEST_F(Racks, RemovingASlotKeepsTheOrderOfTheOthers) {
  const auto strip = addStrip("Piano");
  addEffect(*strip.channel, "first");
  const auto second = addEffect(*strip.channel, "second");
  addEffect(*strip.channel, "third");
  const auto slots = strip.channel->effectSlots.get();
  engine->effects().removeEffectSlot(*strip.channel, slots[1].id);
  EXPECT_EQ(strip.channel->effectSlots.get(), (std::vector{slots[0], slots[2]}));
  EXPECT_FALSE(graph().isAttached(second));
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > first > third > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, RemovingASlotOfTheMasterRewiresTheMasterAlsoAfterTheLevels) {
  auto& master = *engine->masterChannel();
  addEffect(master, "first");
  addEffect(master, "second");
  engine->chains().rebuildMasterEffectChain(false);
  graph().record.clear();
  engine->effects().removeEffectSlot(master, master.effectSlots.get()[0].id);
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > second > output");
  EXPECT_EQ(graph().count("stop"), 2);
}

TEST_F(Racks, RemovingTheLastSlotOfTheMasterForcesARebuildAfterTheLevels) {
  auto& master = *engine->masterChannel();
  addEffect(master, "only");
  engine->chains().rebuildMasterEffectChain(false);
  graph().record.clear();
  engine->effects().removeEffectSlot(master, master.effectSlots.get()[0].id);
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > output");
  EXPECT_EQ(graph().count("stop"), 2) << "a plain master is rewired only by force";
}

TEST_F(Racks, AnEffectThatIsLoadedGoesIntoItsSlotOnTheMainQueue) {
  const auto strip = addStrip("Piano");
  std::vector<bool> results;
  engine->effects().loadEffect(strip.channel, Uuid::fresh(), chorus, [&](bool ok) { results.push_back(ok); });
  units.answerWithUnit();
  EXPECT_TRUE(strip.channel->effectSlots.get().empty()) << "the answer comes on any thread";
  mainQueue.runAll();
  EXPECT_EQ(results, std::vector<bool>{true});
  EXPECT_EQ(names(*strip.channel), Lines{"Chorus"});
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > effect 1 > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, AnEffectThatIsLoadedMayStandInTheMaster) {
  engine->effects().loadEffect(engine->masterChannel(), Uuid::fresh(), chorus, nullptr);
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > effect 1 > output");
}

TEST_F(Racks, AnEffectThatDoesNotLoadOrComesTooLateChangesNothingAndSaysSo) {
  auto strip = addStrip("Piano");
  std::vector<bool> results;
  const auto load = [&] {
    engine->effects().loadEffect(strip.channel, Uuid::fresh(), chorus, [&](bool ok) { results.push_back(ok); });
  };
  load();
  units.answer(0, nullptr, std::nullopt);
  units.answer(0, nullptr, std::nullopt);
  mainQueue.runAll();
  EXPECT_EQ(results, std::vector<bool>{false});
  EXPECT_TRUE(strip.channel->effectSlots.get().empty());

  load();
  load();
  engine->removeChannel(*strip.channel);
  strip.channel.reset();
  const std::weak_ptr<simulation::ScriptedUnit> late = units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_TRUE(late.expired());
  engine.reset();
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(results, (std::vector<bool>{false, false, false}));
}

TEST_F(Racks, RestoringOnlyEmptySlotsRebuildsOnceAndCompletes) {
  const auto strip = addStrip("Piano");
  graph().record.clear();
  int completions = 0;
  engine->effects().restoreEffectSlots({slotFor(""), slotFor("")}, strip.channel, resolver(), [&] { ++completions; });
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(graph().count("stop"), 1);
  EXPECT_EQ(graph().count("start"), 1);
  EXPECT_EQ(strip.channel->effectSlots.get().size(), 2U);
}

TEST_F(Racks, RestoringLoadsAllSideBySideAndWiresThemInSlotOrderWhateverAnswersFirst) {
  const auto strip = addStrip("Piano");
  const auto known = propertyLists.ticketFor({PropertyListDictionary{{"depth", {0.5}}}});
  auto second = slotFor(chorusKey);
  second.stateBase64 = "cGwA";  // the ticket "pl" 0
  ASSERT_EQ(known, (PropertyListData{'p', 'l', 0}));
  int completions = 0;
  engine->effects().restoreEffectSlots({slotFor(chorusKey), second, slotFor("aucd:1:2:3")}, strip.channel, resolver(),
                                       [&] { ++completions; });
  ASSERT_EQ(units.requests.size(), 2U) << "a slot whose plug-in is not installed is passed over";
  const auto answeredFirst = units.answerWithUnit(1);
  mainQueue.runAll();
  EXPECT_EQ(completions, 0);
  units.answerWithUnit(0);
  mainQueue.runAll();
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(graph().chainFrom(strip.instrument),
            "Piano > effect 2 > effect 1 > reverb 1 > meter 1 > main mixer > output");
  EXPECT_EQ(answeredFirst->core.calls, (Lines{"host callbacks", "state", "host callbacks", "reset"}));
  EXPECT_EQ(strip.channel->effectSlots.get().size(), 3U);
}

TEST_F(Racks, AnEffectGetsTheTimeBeforeItIsAttachedAndItsStateAfterwards) {
  const auto strip = addStrip("Piano");
  auto slot = slotFor(chorusKey);
  slot.stateBase64 = base64Encode(propertyLists.ticketFor({PropertyListDictionary{{"depth", {0.5}}}}));
  engine->effects().restoreEffectSlots({slot}, strip.channel, resolver(), nullptr);
  const auto node = std::make_shared<simulation::ScriptedUnit>("chorus");
  node->core.graphRecord = &graph().record;
  units.answer(0, node, std::nullopt);
  graph().record.clear();
  mainQueue.runOne();
  EXPECT_EQ(graph().record,
            (Lines{"stop", "host callbacks", "attach chorus", "state", "host callbacks", "reset", "start"}));

  const auto other = std::make_shared<simulation::ScriptedUnit>("other");
  other->core.graphRecord = &graph().record;
  graph().record.clear();
  engine->effects().replaceEffectSlot(*strip.channel, Uuid::fresh(), chorus, other, nullptr);
  graph().record.resize(3);
  EXPECT_EQ(graph().record, (Lines{"stop", "host callbacks", "attach other"}));
}

TEST_F(Racks, AMixIsAppliedToEveryChangeOfARack) {
  const auto strip = addStrip("Piano");
  const auto wanted = meterOf(*strip.channel).outputVolume();
  const auto expectMix = [&](auto&& change) {
    meterOf(*strip.channel).setOutputVolume(-1.0F);
    change();
    EXPECT_EQ(meterOf(*strip.channel).outputVolume(), wanted);
  };
  const auto id = Uuid::fresh();
  const auto node = std::make_shared<simulation::ScriptedUnit>("chorus");
  expectMix([&] { engine->effects().replaceEffectSlot(*strip.channel, id, chorus, node, nullptr); });
  expectMix([&] { EXPECT_TRUE(engine->effects().loseEffectNode(*strip.channel, node)); });
  expectMix([&] { engine->effects().removeEffectSlot(*strip.channel, id); });
  expectMix([&] {
    engine->effects().restoreEffectSlots({slotFor("aucd:1:2:3")}, strip.channel, resolver(), nullptr);
    mainQueue.runAll();
  });
}

TEST_F(Racks, ARestoreRestartsOnceForEachNodeAndOnceForTheChain) {
  const auto strip = addStrip("Piano");
  engine->effects().restoreEffectSlots({slotFor(chorusKey), slotFor(chorusKey)}, strip.channel, resolver(), nullptr);
  graph().record.clear();
  units.answerWithUnit();
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(graph().count("stop"), 3);
  EXPECT_EQ(graph().count("start"), 3);
}

TEST_F(Racks, ARestoreTakesTheFormerNodesOff) {
  const auto strip = addStrip("Piano");
  const auto former = addEffect(*strip.channel, "former");
  engine->chains().rebuildChannelEffectChain(*strip.channel);
  engine->effects().restoreEffectSlots({}, strip.channel, resolver(), nullptr);
  EXPECT_FALSE(graph().isAttached(former));
  EXPECT_TRUE(strip.channel->effectSlots.get().empty());
  EXPECT_TRUE(strip.channel->effectNodes.get().empty());
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, ARestoreOfPluginsThatAreNotInstalledCompletesOnTheMainQueue) {
  const auto strip = addStrip("Piano");
  int completions = 0;
  engine->effects().restoreEffectSlots({slotFor("aucd:1:2:3")}, strip.channel, resolver(), [&] { ++completions; });
  EXPECT_EQ(completions, 0);
  mainQueue.runAll();
  EXPECT_EQ(completions, 1);
}

TEST_F(Racks, APluginWhoseSlotWasRemovedOnItsWayIsDropped) {
  const auto strip = addStrip("Piano");
  const auto slot = slotFor(chorusKey);
  int completions = 0;
  engine->effects().restoreEffectSlots({slot}, strip.channel, resolver(), [&] { ++completions; });
  engine->effects().removeEffectSlot(*strip.channel, slot.id);
  const auto late = units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_FALSE(graph().isAttached(late));
  EXPECT_TRUE(strip.channel->effectNodes.get().empty());
  EXPECT_EQ(completions, 1);
}

TEST_F(Racks, APluginWhoseSlotWasFilledByHandOnItsWayIsDropped) {
  const auto strip = addStrip("Piano");
  const auto slot = slotFor(chorusKey);
  engine->effects().restoreEffectSlots({slot}, strip.channel, resolver(), nullptr);
  const auto chosen = std::make_shared<simulation::ScriptedUnit>("chosen");
  engine->effects().replaceEffectSlot(*strip.channel, slot.id, chorus, chosen, nullptr);
  const auto late = units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_FALSE(graph().isAttached(late));
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > chosen > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(Racks, APluginThatTheMasterNoLongerWantsStopsNoSound) {
  const auto& master = engine->masterChannel();
  engine->effects().restoreEffectSlots({slotFor(chorusKey)}, master, resolver(), nullptr);
  engine->effects().restoreEffectSlots({}, master, resolver(), nullptr);
  const auto record = graph().record;
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(graph().record, record);
}

TEST_F(Racks, ARestoreThatTheMainQueueNeverGetsToPostsNothingAsItGoes) {
  KeepingQueue lastQueue;
  simulation::SimulatedNodeFactory otherNodes;
  auto other = AudioEngine::make({otherNodes, units, lastQueue, queues, clock, propertyLists, console});
  other->effects().restoreEffectSlots({slotFor(chorusKey)}, other->addChannel("A"), resolver(), nullptr);
  units.answerWithUnit();
  other.reset();
  auto left = std::move(lastQueue.kept);
  lastQueue.kept.clear();
  left.clear();
  EXPECT_TRUE(lastQueue.kept.empty()) << "a queue at its end takes no more work";
}

TEST_F(Racks, AFailedRestoreLeavesTheSlotWithItsDataAndStillCompletes) {
  const auto strip = addStrip("Piano");
  auto slot = slotFor(chorusKey);
  slot.stateBase64 = "c3RhdGU=";
  int completions = 0;
  engine->effects().restoreEffectSlots({slot}, strip.channel, resolver(), [&] { ++completions; });
  units.answer(0, nullptr, std::nullopt);
  units.answer(0, nullptr, std::nullopt);
  mainQueue.runAll();
  EXPECT_EQ(completions, 1);
  EXPECT_TRUE(console.lines.empty()) << "without an error nothing is logged";
  EXPECT_TRUE(strip.channel->effectNodes.get().empty());
  EXPECT_EQ(strip.channel->effectSlots.get(), std::vector{slot});
}

TEST_F(Racks, ANodeThatComesAfterItsChannelHasGoneIsDropped) {
  auto strip = addStrip("Piano");
  int completions = 0;
  engine->effects().restoreEffectSlots({slotFor(chorusKey)}, strip.channel, resolver(), [&] { ++completions; });
  engine->removeChannel(*strip.channel);
  strip.channel.reset();
  const auto late = units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_FALSE(graph().isAttached(late));
  EXPECT_EQ(completions, 0);
}

TEST_F(Racks, ANodeThatComesAfterItsStripWasTakenOutIsDroppedThoughSomebodyHoldsTheStrip) {
  const auto strip = addStrip("Piano");
  std::vector<bool> results;
  engine->effects().restoreEffectSlots({slotFor(chorusKey)}, strip.channel, resolver(), nullptr);
  engine->effects().loadEffect(strip.channel, Uuid::fresh(), chorus, [&](bool ok) { results.push_back(ok); });
  engine->removeChannel(*strip.channel);
  const auto restored = units.answerWithUnit();
  const auto loaded = units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_FALSE(graph().isAttached(restored));
  EXPECT_FALSE(graph().isAttached(loaded));
  EXPECT_TRUE(strip.channel->effectNodes.get().empty());
  EXPECT_EQ(results, std::vector<bool>{false});
}

TEST_F(Racks, ANodeThatComesAfterTheEngineHasGoneIsDropped) {
  const auto strip = addStrip("Piano");
  int completions = 0;
  engine->effects().restoreEffectSlots({slotFor(chorusKey)}, strip.channel, resolver(), [&] { ++completions; });
  engine.reset();
  units.answerWithUnit();
  mainQueue.runAll();
  EXPECT_EQ(completions, 0);
  EXPECT_TRUE(strip.channel->effectNodes.get().empty());
}

}  // namespace
}  // namespace vrel
