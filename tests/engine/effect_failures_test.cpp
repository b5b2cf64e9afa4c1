// SPDX-License-Identifier: GPL-3.0-or-later
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine/rack_stage.h"
#include "foundation/base64.h"

namespace vrel {
namespace {

/// Racks with effects that have died, do not load or are not installed.
class EffectFailure : public RackStage {};

TEST_F(EffectFailure, WhatIsNotInstalledOrDoesNotLoadIsMarkedAsFailedUntilTheNextRestore) {
  const auto strip = addStrip("Piano");
  const std::vector slots{slotFor("aucd:1:2:3"), slotFor(chorusKey), slotFor(chorusKey), slotFor("")};
  engine->effects().restoreEffectSlots(slots, strip.channel, resolver(), nullptr);
  units.answer(0, nullptr, Error{"a"});
  units.answer(0, std::make_shared<simulation::ScriptedUnit>("chorus"), std::nullopt);
  units.answer(0, nullptr, Error{"b"});
  settle();
  EXPECT_EQ(strip.channel->failedEffects.get(), (std::set<Uuid>{slots[0].id, slots[1].id}));
  engine->effects().restoreEffectSlots({}, strip.channel, resolver(), nullptr);
  EXPECT_TRUE(strip.channel->failedEffects.get().empty());
}

TEST_F(EffectFailure, TheMastersMarksGoWithItsEffectsWhenTheStageIsCleared) {
  const auto& master = engine->masterChannel();
  engine->effects().restoreEffectSlots({slotFor("aucd:1:2:3")}, master, resolver(), nullptr);
  ASSERT_FALSE(master->failedEffects.get().empty());
  engine->removeAllChannels();
  EXPECT_TRUE(master->failedEffects.get().empty());
}

/// A strip whose one effect has died with the state {depth: 0.25} and the slot that it leaves.
class EffectCrash : public EffectFailure {
 protected:
  EffectCrash() {
    engine->effects().restoreEffectSlots({slotFor(chorusKey)}, strip.channel, resolver(), nullptr);
    const auto node = std::make_shared<simulation::ScriptedUnit>("chorus");
    units.answer(0, node, std::nullopt);
    settle();
    node->core.documentState = state;
    EXPECT_TRUE(engine->effects().loseEffectNode(*strip.channel, node));
  }

  [[nodiscard]] AudioPluginSlot slot() const { return strip.channel->effectSlots.get().front(); }
  [[nodiscard]] std::set<Uuid> crashed() const { return strip.channel->failedEffects.get(); }

  const PropertyListDictionary state{{"depth", {0.25}}};
  const Strip strip = addStrip("Piano");
};

TEST_F(EffectCrash, TheSlotIsMarkedAndKeepsTheLastState) {
  EXPECT_EQ(crashed(), std::set<Uuid>{slot().id});
  EXPECT_EQ(slot().stateBase64, base64Encode(propertyLists.ticketFor({state})));
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > reverb 1 > meter 1 > main mixer > output");
}

TEST_F(EffectCrash, LoadedAgainItHasItsStateAndItsPlace) {
  engine->effects().reviveEffect(strip.channel, slot().id, resolver());
  const auto node = std::make_shared<simulation::ScriptedUnit>("again");
  units.answer(0, node, std::nullopt);
  settle();
  EXPECT_TRUE(crashed().empty());
  EXPECT_EQ(node->core.documentState, state);
  EXPECT_EQ(graph().chainFrom(strip.instrument), "Piano > again > reverb 1 > meter 1 > main mixer > output");
  engine->effects().reviveEffect(strip.channel, slot().id, resolver());
  EXPECT_TRUE(units.requests.empty()) << "nothing is loaded into a slot that has its node";
}

TEST_F(EffectCrash, TheMarkGoesWithWhatTakesTheSlotsPlace) {
  const auto id = slot().id;
  engine->effects().replaceEffectSlot(*strip.channel, id, chorus, std::make_shared<simulation::ScriptedUnit>("new"),
                                      nullptr);
  EXPECT_TRUE(crashed().empty());
  EXPECT_TRUE(engine->effects().loseEffectNode(*strip.channel, strip.channel->effectNodes.get().at(id)));
  EXPECT_FALSE(crashed().empty());
  engine->effects().removeEffectSlot(*strip.channel, id);
  EXPECT_TRUE(crashed().empty());
}

TEST_F(EffectCrash, WhatIsNotThereOrNotInstalledIsNotLoadedAgain) {
  engine->effects().reviveEffect(strip.channel, Uuid::fresh(), resolver());
  engine->effects().reviveEffect(strip.channel, slot().id, nullptr);
  engine->effects().reviveEffect(strip.channel, slot().id, [](const std::string&) { return std::nullopt; });
  EXPECT_TRUE(units.requests.empty());
  EXPECT_FALSE(crashed().empty());
}

TEST_F(EffectCrash, ALoadThatIsAskedForSaysWhenItHasEnded) {
  int ended = 0;
  const auto revive = [&] {
    return engine->effects().reviveEffect(strip.channel, slot().id, resolver(), [&ended] { ++ended; });
  };
  ASSERT_TRUE(revive());
  units.answer(0, nullptr, Error{"a"});
  units.answer(0, nullptr, Error{"b"});
  settle();
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(crashed(), std::set<Uuid>{slot().id}) << "it stays marked";
  ASSERT_TRUE(revive());
  units.answerWithUnit();
  settle();
  EXPECT_EQ(ended, 2);
  EXPECT_FALSE(revive());
  settle();
  EXPECT_EQ(ended, 2);
}

}  // namespace
}  // namespace vrel
