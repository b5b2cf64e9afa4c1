// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document/plugin_path.h"
#include "engine/effect_racks.h"
#include "support/every_order.h"
#include "support/orders.h"
#include "support/simulated_stage.h"

// Racks that are restored while the user goes on, in every order in which it can come about.

namespace vrel {
namespace {

/// A machine whose effects answer when the order says so.
struct RackMachine : SimulatedMachine {
  RackMachine() : strip(addStrip("Piano")) {}

  /// `count` slots for the same plug-in, each with an id of its own.
  static std::vector<AudioPluginSlot> makeSlots(std::size_t count) {
    std::vector<AudioPluginSlot> slots(count);
    for (auto& slot : slots) {
      slot.pluginPath = chorusKey;
    }
    return slots;
  }

  void restore(const std::vector<AudioPluginSlot>& slots, const std::shared_ptr<AudioChannel>& channel) {
    engine->effects().restoreEffectSlots(
        slots, channel, [](const std::string& key) { return resolvePluginPath(key, {chorus}); },
        [this] { ++completions; });
  }

  void answer(std::size_t index, Ending ending) {
    if (ending == Ending::node) {
      made.emplace_back(units.answerWithUnit(index));
    } else {
      units.answer(index, nullptr, ending == Ending::error ? std::optional(Error{"broken"}) : std::nullopt);
    }
  }

  void playOut(EveryOrder& order, Happenings happenings, const std::vector<Ending>& endings) {
    answerInOrder(*this, order, std::move(happenings), endings,
                  [this](std::size_t index, Ending ending) { answer(index, ending); });
  }

  static std::string nameOf(const AVAudioUnit& node) {
    return dynamic_cast<const simulation::ScriptedUnit&>(node).name;
  }

  /// The names of the nodes of the channel's rack in slot order, each followed by " > ".
  static std::string rackOf(const AudioChannel& channel) {
    std::string rack;
    const auto& nodes = channel.effectNodes.get();
    for (const auto& slot : channel.effectSlots.get()) {
      if (const auto entry = nodes.find(slot.id); entry != nodes.end()) {
        rack += nameOf(*entry->second) + " > ";
      }
    }
    return rack;
  }

  /// The chain is that of the slots with a node, in slot order; every node made is in it or no more.
  void expectSoundRack(const AudioChannel& channel, const std::shared_ptr<AVAudioNode>& source,
                       const std::string& sourceName, const std::string& rest) {
    EXPECT_EQ(graph().chainFrom(source), sourceName + " > " + rackOf(channel) + rest);
    const auto& rackNodes = channel.effectNodes.get();
    const auto& slots = channel.effectSlots.get();
    for (const auto& entry : rackNodes) {
      EXPECT_TRUE(std::any_of(slots.begin(), slots.end(), [&](const auto& slot) { return slot.id == entry.first; }))
          << "a node without a slot";
    }
    for (const auto& weakNode : made) {
      const auto node = weakNode.lock();
      EXPECT_TRUE(node == nullptr || std::any_of(rackNodes.begin(), rackNodes.end(),
                                                 [&](const auto& entry) { return entry.second == node; }))
          << "a node that nobody has lives on";
    }
    EXPECT_TRUE(graph().isRunning());
    EXPECT_EQ(graph().connectsWhileRunning, 0);
  }

  void expectSoundStrip() {
    expectSoundRack(*strip.channel, strip.instrument, "Piano", "reverb 1 > meter 1 > main mixer > output");
  }

  Strip strip;
  int completions = 0;
  std::vector<std::weak_ptr<simulation::ScriptedUnit>> made;
};

TEST(RackOrders, WhateverAnswersFirstTheChainIsInSlotOrder) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    const auto slots = RackMachine::makeSlots(4);
    machine.restore(slots, machine.strip.channel);
    ASSERT_EQ(machine.units.requests.size(), 4U);
    machine.playOut(order, {}, {Ending::node});
    EXPECT_EQ(machine.completions, 1);
    EXPECT_EQ(machine.strip.channel->effectNodes.get().size(), 4U);
    machine.expectSoundStrip();
  });
  EXPECT_EQ(runs, 24U);
}

TEST(RackOrders, FailuresOfEitherWayLeaveHolesAndTheRackIsStillCompleted) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    const auto slots = RackMachine::makeSlots(3);
    machine.restore(slots, machine.strip.channel);
    machine.playOut(order, {}, {Ending::node, Ending::error});
    EXPECT_EQ(machine.completions, 1);
    EXPECT_EQ(machine.strip.channel->effectNodes.get().size(), machine.made.size());
    EXPECT_EQ(machine.strip.channel->effectSlots.get(), slots) << "a slot outlives its failure";
    machine.expectSoundStrip();
  });
}

TEST(RackOrders, SlotsMayBeRemovedFilledAndMovedBetweenAnyTwoAnswers) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    auto& effects = machine.engine->effects();
    auto& channel = *machine.strip.channel;
    const auto slots = RackMachine::makeSlots(3);
    machine.restore(slots, machine.strip.channel);
    const auto chosen = std::make_shared<simulation::ScriptedUnit>("chosen");
    machine.playOut(order,
                    {[&] { effects.removeEffectSlot(channel, slots[0].id); },
                     [&] { effects.replaceEffectSlot(channel, slots[1].id, RackMachine::chorus, chosen, nullptr); },
                     [&] { effects.moveEffectSlot(channel, {0}, channel.effectSlots.get().size()); }},
                    {Ending::node});
    EXPECT_EQ(machine.completions, 1);
    EXPECT_EQ(channel.effectNodes.get().size(), 2U);
    EXPECT_FALSE(channel.effectNodes.get().contains(slots[0].id));
    EXPECT_EQ(channel.effectNodes.get().at(slots[1].id), chosen);
    machine.expectSoundStrip();
  });
}

TEST(RackOrders, LoadsByHandEndInAnyOrderAndTheLastAnswerStays) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    auto& effects = machine.engine->effects();
    auto& channel = *machine.strip.channel;
    const auto taken = Uuid::fresh();
    std::vector<bool> results;
    const auto load = [&](const Uuid& slotId) {
      effects.loadEffect(machine.strip.channel, slotId, RackMachine::chorus, [&](bool ok) { results.push_back(ok); });
    };
    load(taken);
    load(taken);
    load(Uuid::fresh());
    machine.playOut(order, {[&] { effects.removeEffectSlot(channel, taken); }}, {Ending::node, Ending::error});
    EXPECT_EQ(results.size(), 3U);
    EXPECT_EQ(static_cast<std::size_t>(std::count(results.begin(), results.end(), true)), machine.made.size());
    EXPECT_EQ(channel.effectSlots.get().size(), channel.effectNodes.get().size());
    machine.expectSoundStrip();
  });
}

TEST(RackOrders, ASecondRestoreMayBeginBetweenAnyTwoAnswersOfTheFirst) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    const auto first = RackMachine::makeSlots(2);
    auto second = RackMachine::makeSlots(1);
    second.push_back(first[0]);
    machine.restore(first, machine.strip.channel);
    machine.playOut(order, {[&] { machine.restore(second, machine.strip.channel); }}, {Ending::node});
    EXPECT_EQ(machine.completions, 2);
    EXPECT_EQ(machine.strip.channel->effectSlots.get(), second);
    EXPECT_EQ(machine.strip.channel->effectNodes.get().size(), 2U);
    machine.expectSoundStrip();
  });
}

TEST(RackOrders, TheStripMayGoBetweenAnyTwoAnswers) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    const auto other = machine.addStrip("Organ", RackMachine::organKey);
    machine.restore(RackMachine::makeSlots(3), machine.strip.channel);
    bool isGone = false;
    machine.playOut(order, {[&] {
                      machine.engine->removeChannel(*machine.strip.channel);
                      machine.strip.channel.reset();
                      isGone = true;
                    }},
                    {Ending::node, Ending::error});
    EXPECT_TRUE(isGone);
    EXPECT_LE(machine.completions, 1);
    EXPECT_TRUE(std::all_of(machine.made.begin(), machine.made.end(), [](const auto& node) { return node.expired(); }));
    EXPECT_EQ(machine.graph().chainFrom(other.instrument), "Organ > reverb 2 > meter 2 > main mixer > output");
    EXPECT_TRUE(machine.graph().isRunning());
  });
}

TEST(RackOrders, TheMastersRackMayBeClearedAndRestoredBetweenAnyTwoAnswers) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    const auto master = machine.engine->masterChannel();
    const auto first = RackMachine::makeSlots(2);
    const auto second = RackMachine::makeSlots(1);
    machine.restore(first, master);
    machine.playOut(order, {[&] {
                      machine.engine->removeAllChannels();
                      machine.restore(second, master);
                    }},
                    {Ending::node});
    EXPECT_EQ(master->effectSlots.get(), second);
    EXPECT_EQ(master->effectNodes.get().size(), 1U);
    machine.expectSoundRack(*master, machine.graph().mainMixerNode(), "main mixer", "output");
  });
}

TEST(RackOrders, TheEngineMayGoBetweenAnyTwoAnswers) {
  EveryOrder::walk([](EveryOrder& order) {
    RackMachine machine;
    machine.restore(RackMachine::makeSlots(2), machine.strip.channel);
    bool hasEnded = false;
    while (!machine.units.requests.empty() || !hasEnded) {
      const auto requests = machine.units.requests.size();
      const auto way = order.choose(requests + (hasEnded ? 0 : 1));
      if (way < requests) {
        machine.answer(way, Ending::node);
      } else {
        machine.engine.reset();
        hasEnded = true;
      }
      machine.mainQueue.runAll();
    }
    EXPECT_LE(machine.completions, 1);
  });
}

}  // namespace
}  // namespace vrel
