// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document/plugin_path.h"
#include "engine/instrument_loader.h"
#include "engine/plugin_pool.h"
#include "support/every_order.h"
#include "support/orders.h"
#include "support/simulated_stage.h"

// Loads, prewarming, and what the user does meanwhile, in every order in which they can come about.

namespace vrel {
namespace {

/// A machine whose plug-ins answer when the order says so, with the record of who got what.
struct LoadingMachine : SimulatedMachine {
  LoadingMachine() {
    engine->pluginPool().setResolver([](const std::string& key) { return resolvePluginPath(key, {piano, organ}); });
  }

  [[nodiscard]] PluginPool& pool() { return engine->pluginPool(); }

  void load(const std::string& strip) {
    const auto channel = channels[strip].lock();
    engine->instruments().loadInstrument(channel, piano, std::nullopt,
                                         [this, strip](bool succeeded) { results[strip].push_back(succeeded); });
  }

  void addLoadingStrip(const std::string& strip) {
    channels[strip] = engine->addChannel(strip);
    load(strip);
  }

  void remove(const std::string& strip) { engine->removeChannel(*channels[strip].lock()); }

  void answer(std::size_t index, Ending ending) {
    const bool isPiano = units.requests[index].description == piano.audioComponentDescription;
    if (ending == Ending::node) {
      made.emplace_back(isPiano ? pianoKey : organKey, units.answerWithInstrument(index));
    } else {
      units.answer(index, nullptr, ending == Ending::error ? std::optional(Error{"broken"}) : std::nullopt);
    }
  }

  /// None for a strip that was removed.
  [[nodiscard]] std::optional<ChannelStatus> statusOf(const std::string& strip) {
    const auto channel = channels[strip].lock();
    return channel != nullptr ? std::optional(channel->status.get()) : std::nullopt;
  }

  [[nodiscard]] std::string instrumentOf(const std::string& strip) {
    const auto channel = channels[strip].lock();
    const auto* instrument = channel != nullptr
                                 ? dynamic_cast<simulation::ScriptedInstrument*>(channel->instrumentNode.get().get())
                                 : nullptr;
    return instrument != nullptr ? instrument->name : "";
  }

  /// What must hold once everything has been answered and has been attended to.
  void expectEverythingInItsPlace() {
    EXPECT_TRUE(units.requests.empty());
    EXPECT_TRUE(graph().isRunning());
    EXPECT_EQ(graph().connectsWhileRunning, 0);
    for (const auto& key : {pianoKey, organKey}) {
      EXPECT_FALSE(pool().isPrewarming(key));
    }
    for (const auto& channel : engine->channels()) {
      expectSoundStrip(*channel);
    }
    expectEachNodeInOnePlace();
  }

  void expectSoundStrip(const AudioChannel& channel) {
    const auto node = channel.instrumentNode.get();
    if (node == nullptr) {
      EXPECT_NE(channel.status.get(), ChannelStatus::running) << channel.name.get();
      EXPECT_EQ(channel.pluginPath.get(), "") << channel.name.get();
      return;
    }
    EXPECT_EQ(channel.status.get(), ChannelStatus::running) << channel.name.get();
    EXPECT_EQ(channel.pluginPath.get(), pianoKey);
    EXPECT_TRUE(graph().isAttached(node));
    EXPECT_TRUE(graph().chainFrom(node).ends_with(" > main mixer > output")) << graph().chainFrom(node);
    EXPECT_TRUE(channel.meterTapInstalled.get());
  }

  /// A node is in a strip, or parked under its own key and unknown to the graph, or no more.
  void expectEachNodeInOnePlace() {
    std::map<std::shared_ptr<AVAudioNode>, int> holders;
    for (const auto& channel : engine->channels()) {
      ++holders[channel->instrumentNode.get()];
    }
    std::map<std::string, std::size_t> parked;
    for (const auto& key : {pianoKey, organKey}) {
      while (const auto node = pool().take(key)) {
        ++holders[node];
        ++parked[key];
        EXPECT_FALSE(graph().isAttached(node));
        EXPECT_TRUE(std::any_of(made.begin(), made.end(), [&](const auto& each) {
          return each.first == key && each.second.lock() == node;
        })) << "parked under the key of another plug-in";
      }
      EXPECT_LE(parked[key], PluginPool::largestCountPerKey + 1) << "two that were given back, and one warm";
    }
    for (const auto& [key, weakNode] : made) {
      const auto node = weakNode.lock();
      EXPECT_EQ(node != nullptr ? holders[node] : 1, 1) << "held twice, or by nobody and yet alive";
    }
  }

  std::map<std::string, std::weak_ptr<AudioChannel>> channels;
  std::map<std::string, std::vector<bool>> results;
  std::vector<std::pair<std::string, std::weak_ptr<simulation::ScriptedInstrument>>> made;
};

SongConfig songOf(const std::vector<std::string>& paths) {
  SongConfig song;
  for (const auto& path : paths) {
    song.channels.emplace_back().pluginPath = path;
  }
  return song;
}

/// Answers all requests and triggers all happenings, in the given order.
void playOut(LoadingMachine& machine, EveryOrder& order, Happenings happenings, const std::vector<Ending>& endings) {
  answerInOrder(machine, order, std::move(happenings), endings,
                [&machine](std::size_t index, Ending ending) { machine.answer(index, ending); });
}

TEST(LoadOrders, WhateverAnswersFirstAndHoweverEachStripGetsItsOwn) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.pool().prewarmPlugin(LoadingMachine::pianoKey, nullptr);
    machine.addLoadingStrip("A");
    machine.addLoadingStrip("B");
    ASSERT_EQ(machine.units.requests.size(), 3U);
    playOut(machine, order, {}, {Ending::node, Ending::error, Ending::neither});
    for (const auto* strip : {"A", "B"}) {
      const auto& results = machine.results[strip];
      ASSERT_EQ(results.size(), 1U);
      EXPECT_EQ(machine.statusOf(strip), results[0] ? ChannelStatus::running : ChannelStatus::loadFailed);
      EXPECT_EQ(machine.instrumentOf(strip).empty(), !results[0]);
    }
    machine.expectEverythingInItsPlace();
  });
  EXPECT_EQ(runs, 6U * 27U);
}

TEST(LoadOrders, AStripThatIsRemovedMeanwhileTakesNothingFromTheOthers) {
  EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.pool().prewarmPlugin(LoadingMachine::pianoKey, nullptr);
    machine.addLoadingStrip("A");
    machine.addLoadingStrip("B");
    playOut(machine, order, {[&] { machine.remove("A"); }, [&] { machine.addLoadingStrip("C"); }},
            {Ending::node, Ending::error});
    EXPECT_EQ(machine.statusOf("A"), std::nullopt);
    for (const auto* strip : {"A", "B", "C"}) {
      EXPECT_EQ(machine.results[strip].size(), 1U) << strip;
    }
    EXPECT_EQ(machine.statusOf("B"), machine.results["B"][0] ? ChannelStatus::running : ChannelStatus::loadFailed);
    EXPECT_EQ(machine.statusOf("C"), machine.results["C"][0] ? ChannelStatus::running : ChannelStatus::loadFailed);
    machine.expectEverythingInItsPlace();
  });
}

TEST(LoadOrders, OfTwoLoadsIntoOneStripTheLastThatWasAskedForStaysAndTheOtherIsParked) {
  EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.addLoadingStrip("A");
    machine.load("A");
    machine.addLoadingStrip("B");
    playOut(machine, order, {[&] { machine.remove("B"); }}, {Ending::node});
    const auto& results = machine.results["A"];
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NE(results[0], results[1]) << "the first reports false, whether it answers first or last";
    EXPECT_EQ(machine.pool().idleCount(LoadingMachine::pianoKey), machine.results["B"][0] ? 2U : 1U);
    machine.expectEverythingInItsPlace();
  });
}

TEST(LoadOrders, AFailedReloadLeavesWhatPlays) {
  EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.addLoadingStrip("A");
    machine.answer(0, Ending::node);
    machine.settle();
    const auto playing = machine.instrumentOf("A");
    machine.load("A");
    machine.addLoadingStrip("B");
    playOut(machine, order, {}, {Ending::error, Ending::neither});
    EXPECT_EQ(machine.instrumentOf("A"), playing);
    EXPECT_EQ(machine.statusOf("A"), ChannelStatus::loadFailed);
    EXPECT_EQ(machine.channels["A"].lock()->pluginPath.get(), LoadingMachine::pianoKey);
    const auto node = machine.channels["A"].lock()->instrumentNode.get();
    EXPECT_EQ(machine.graph().chainFrom(node), playing + " > reverb 1 > meter 1 > main mixer > output");
  });
}

TEST(LoadOrders, UnloadRehearsedCrashAndRevivalMayComeBetweenAnyTwoAnswers) {
  EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.addLoadingStrip("A");
    machine.answer(0, Ending::node);
    machine.settle();
    machine.load("A");
    machine.pool().prewarmPlugin(LoadingMachine::pianoKey, nullptr);
    machine.settle();
    const auto strip = machine.channels["A"].lock();
    playOut(machine, order,
            {[&] { machine.engine->instruments().unloadInstrument(*strip); },
             [&] { machine.engine->instruments().simulatePluginCrash(*strip); },
             [&] { machine.engine->instruments().reviveChannel(strip); }},
            {Ending::node});
    const bool sounds = strip->status.get() == ChannelStatus::running;
    EXPECT_EQ(strip->instrumentNode.get() != nullptr, sounds) << statusText(strip->status.get());
    if (sounds) {
      machine.expectSoundStrip(*strip);
    }
    machine.expectEachNodeInOnePlace();
  });
}

/// The queues take their turns in every order, too: an answer may wait for long in either.
TEST(LoadOrders, TheTurnsOfTheTwoQueuesDoNotMatter) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    LoadingMachine machine;
    machine.addLoadingStrip("A");
    machine.pool().prewarmPlugins({songOf({LoadingMachine::pianoKey, LoadingMachine::organKey})});
    bool isSecondLoaded = false;
    while (true) {
      std::vector<std::function<void()>> ways;
      for (std::size_t index = 0; index < machine.units.requests.size(); ++index) {
        ways.emplace_back([&machine, index] { machine.answer(index, Ending::node); });
      }
      if (machine.mainQueue.pendingCount() > 0) {
        ways.emplace_back([&machine] { machine.mainQueue.runOne(); });
      }
      if (machine.poolQueue().pendingCount() > 0) {
        ways.emplace_back([&machine] { machine.poolQueue().runOne(); });
      }
      if (!isSecondLoaded) {
        ways.emplace_back([&machine, &isSecondLoaded] {
          machine.addLoadingStrip("B");
          isSecondLoaded = true;
        });
      }
      if (ways.empty()) {
        break;
      }
      ways[order.choose(ways.size())]();
    }
    EXPECT_EQ(machine.statusOf("A"), ChannelStatus::running);
    EXPECT_EQ(machine.statusOf("B"), ChannelStatus::running);
    EXPECT_EQ(machine.pool().idleCount(LoadingMachine::pianoKey), 1U);
    machine.expectEverythingInItsPlace();
  });
  EXPECT_GT(runs, 100U);
}

}  // namespace
}  // namespace vrel
