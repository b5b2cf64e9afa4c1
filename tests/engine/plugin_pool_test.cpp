// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_pool.h"

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

#include "document/plugin_path.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Pool : public SimulatedStage {
 protected:
  Pool() {
    engine->pluginPool().setResolver([](const std::string& key) { return resolvePluginPath(key, {piano, organ}); });
  }

  [[nodiscard]] PluginPool& pool() { return engine->pluginPool(); }

  static SongConfig songOf(const std::vector<std::string>& paths) {
    SongConfig song;
    for (const auto& path : paths) {
      song.channels.emplace_back().pluginPath = path;
    }
    return song;
  }

  std::shared_ptr<simulation::ScriptedInstrument> park(const std::string& key) {
    auto node = std::make_shared<simulation::ScriptedInstrument>("parked");
    pool().returnNodeToPool(node, key);
    poolQueue().runAll();
    return node;
  }
};

TEST_F(Pool, PrewarmingMakesOneNodePerKeyWhateverTheOrderOfAnswers) {
  pool().prewarmPlugins({songOf({pianoKey, organKey, pianoKey, ""}), songOf({organKey})});
  poolQueue().runAll();
  ASSERT_EQ(units.requests.size(), 2U);
  EXPECT_TRUE(units.requests[0].isForMIDIInstrument);
  EXPECT_EQ(units.requests[0].options, AudioComponentInstantiationOptions::outOfProcess);
  EXPECT_TRUE(pool().isPrewarming(pianoKey));
  units.answerWithInstrument(1);
  units.answerWithInstrument(0);
  EXPECT_EQ(pool().idleCount(pianoKey), 1U);
  EXPECT_EQ(pool().idleCount(organKey), 1U);
  EXPECT_FALSE(pool().isPrewarming(pianoKey));
  pool().prewarmPlugins({songOf({pianoKey, organKey})});
  poolQueue().runAll();
  EXPECT_TRUE(units.requests.empty()) << "a warm key needs no second node";
}

TEST_F(Pool, AKeyBeingWarmedIsNotWarmedTwice) {
  pool().prewarmPlugin(pianoKey, nullptr);
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  EXPECT_EQ(units.requests.size(), 1U);
}

TEST_F(Pool, AFailedPrewarmIsLoggedAndTheKeyMayBeTriedAgain) {
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  units.answer(0, nullptr, Error{"no licence"});
  poolQueue().runAll();
  EXPECT_EQ(console.lines, Lines{"Prewarm failed for " + pianoKey + ": no licence"});
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  EXPECT_EQ(units.requests.size(), 1U);
}

TEST_F(Pool, ANodeThatIsNotAnInstrumentCountsAsNone) {
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  units.answerWithUnit();
  EXPECT_EQ(pool().idleCount(pianoKey), 0U);
  EXPECT_FALSE(pool().isPrewarming(pianoKey));
}

TEST_F(Pool, AnAnswerWithANodeAndAnErrorCountsAsFailed) {
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  units.answer(0, std::make_shared<simulation::ScriptedInstrument>("broken"), Error{"half made"});
  EXPECT_EQ(pool().idleCount(pianoKey), 0U);
  EXPECT_EQ(console.lines, Lines{"Prewarm failed for " + pianoKey + ": half made"});
}

TEST_F(Pool, TwoLoadsBackToBackTakeTheWarmNodeAndMakeTheOtherAndRefill) {
  const auto warm = park(pianoKey);
  const auto first = engine->addChannel("A");
  const auto second = engine->addChannel("B");
  engine->instruments().loadInstrument(first, piano, std::nullopt, nullptr);
  engine->instruments().loadInstrument(second, piano, std::nullopt, nullptr);
  ASSERT_EQ(units.requests.size(), 2U) << "the refill of the first, found free, and the direct one of the second";
  settle();
  EXPECT_EQ(first->instrumentNode.get(), warm);
  EXPECT_EQ(second->status.get(), ChannelStatus::loading);
  units.answerWithInstrument(1);
  units.answerWithInstrument(0);
  settle();
  EXPECT_EQ(second->status.get(), ChannelStatus::running);
  EXPECT_EQ(pool().idleCount(pianoKey), 1U);
}

TEST_F(Pool, AThirdNodeGivenBackIsDropped) {
  park(pianoKey);
  park(pianoKey);
  const std::weak_ptr<simulation::ScriptedInstrument> third = park(pianoKey);
  EXPECT_EQ(pool().idleCount(pianoKey), 2U);
  EXPECT_TRUE(third.expired());
}

TEST_F(Pool, TheOldestIdleNodeIsTakenFirst) {
  const auto first = park(pianoKey);
  const auto second = park(pianoKey);
  EXPECT_EQ(pool().take(pianoKey), first);
  EXPECT_EQ(pool().take(pianoKey), second);
  EXPECT_EQ(pool().take(pianoKey), nullptr);
}

TEST_F(Pool, SentinelsEnterAndLeaveAndTheResolverFindsNothing) {
  std::vector<std::string> asked;
  bool wasWarming = false;
  pool().setResolver([&](const std::string& key) {
    asked.push_back(key);
    wasWarming = pool().isPrewarming(key);
    return std::optional<AVAudioUnitComponent>{};
  });
  pool().prewarmPlugins({songOf({"internal:playback", "internal:playback"})});
  poolQueue().runAll();
  EXPECT_EQ(asked, Lines{"internal:playback"});
  EXPECT_TRUE(wasWarming);
  EXPECT_FALSE(pool().isPrewarming("internal:playback"));
  EXPECT_EQ(pool().idleCount("internal:playback"), 0U);
  EXPECT_TRUE(units.requests.empty());
}

TEST_F(Pool, PrewarmingWithoutAResolverDoesNothingAtAll) {
  pool().setResolver(nullptr);
  pool().prewarmPlugins({songOf({pianoKey})});
  pool().prewarmPlugin(pianoKey, nullptr);
  EXPECT_EQ(poolQueue().pendingCount(), 0U);
}

TEST_F(Pool, AKeyWithTwoCodesResolvesToNothing) {
  pool().prewarmPlugin("aucd:1635085685:10", nullptr);
  poolQueue().runAll();
  EXPECT_TRUE(units.requests.empty());
}

TEST_F(Pool, AUsedNodeLoadedWithoutStateKeepsTheSoundItWasLeftWith) {
  const auto strip = addStrip("Piano");
  const PropertyListDictionary edited{{"brightness", {0.9}}};
  strip.instrument->core.documentState = edited;
  engine->removeChannel(*strip.channel);
  const auto next = engine->addChannel("Next");
  engine->instruments().loadInstrument(next, piano, std::nullopt, nullptr);
  settle();
  EXPECT_EQ(next->instrumentNode.get(), strip.instrument);
  EXPECT_EQ(strip.instrument->core.calls, (Lines{"host callbacks", "host callbacks"}))
      << "neither reset nor given a state";
  EXPECT_EQ(strip.instrument->core.documentState, edited);
}

/// A queue that records the thread of its end, and that, entered by a handler, gives the pool's owner
/// time to destroy the pool meanwhile.
struct SlowEntry {
  std::atomic<bool> isHolding{false};
  std::atomic<bool> isEntered{false};
  std::atomic<bool> isOwnerDone{false};
  std::thread::id endedOn;
};

class SlowQueue : public DispatchQueue {
 public:
  explicit SlowQueue(SlowEntry& entry) : entry_(entry) {}
  ~SlowQueue() override { entry_.endedOn = std::this_thread::get_id(); }
  void async(Work work) override {
    if (!entry_.isHolding) {
      work();
      return;
    }
    entry_.isEntered = true;
    constexpr int mostTurns = 100'000;
    for (int turn = 0; turn < mostTurns && !entry_.isOwnerDone; ++turn) {
      std::this_thread::yield();
    }
  }
  void sync(const Work& work) override { work(); }

 private:
  SlowEntry& entry_;
};

class SlowQueueFactory : public DispatchQueueFactory {
 public:
  std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& /*label*/) override {
    return std::make_unique<SlowQueue>(entry);
  }
  SlowEntry entry;
};

TEST_F(Pool, EndsOnItsOwnersThreadAlsoWhileAHandlerIsAtTheDoor) {
  SlowQueueFactory slowQueues;
  auto ending = std::make_unique<PluginPool>(units, slowQueues, console);
  ending->prewarmPlugin(pianoKey, [](const std::string&) { return std::optional(piano); });
  ASSERT_EQ(units.requests.size(), 1U);
  slowQueues.entry.isHolding = true;
  std::atomic<bool> isAnswered{false};
  std::thread service([&] {
    units.answer(0, nullptr, Error{"late"});
    isAnswered = true;
  });
  while (!slowQueues.entry.isEntered && !isAnswered) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(slowQueues.entry.isEntered);
  ending.reset();
  slowQueues.entry.isOwnerDone = true;
  service.join();
  EXPECT_EQ(slowQueues.entry.endedOn, std::this_thread::get_id());
}

TEST_F(Pool, AnAnswerAfterTheEngineHasGoneIsDropped) {
  pool().prewarmPlugin(pianoKey, nullptr);
  poolQueue().runAll();
  engine.reset();
  const std::weak_ptr<simulation::ScriptedInstrument> late = units.answerWithInstrument();
  EXPECT_TRUE(late.expired());
}

TEST_F(Pool, AnotherRateReplacesWhatIsParkedAndWhatIsBeingMade) {
  const std::weak_ptr<AVAudioUnit> parked = park(pianoKey);
  pool().prewarmPlugin(organKey, nullptr);
  poolQueue().runAll();
  ASSERT_EQ(units.requests.size(), 1U);
  pool().remake();
  poolQueue().runAll();
  EXPECT_TRUE(parked.expired());
  ASSERT_EQ(units.requests.size(), 2U) << "the piano is made again";
  EXPECT_EQ(pool().take(pianoKey), nullptr);
  units.answerWithInstrument(0);
  poolQueue().runAll();
  EXPECT_EQ(pool().idleCount(organKey), 0U) << "it was made at the old rate";
  ASSERT_EQ(units.requests.size(), 2U);
  units.answerWithInstrument(1);
  units.answerWithInstrument(0);
  poolQueue().runAll();
  EXPECT_EQ(pool().idleCount(pianoKey), 1U);
  EXPECT_EQ(pool().idleCount(organKey), 1U);
}

}  // namespace
}  // namespace vrel
