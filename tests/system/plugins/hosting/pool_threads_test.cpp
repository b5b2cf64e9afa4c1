// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "document/plugin_path.h"
#include "engine/plugin_pool.h"
#include "simulation/simulated_units.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/standard_output.h"

// The pool on real threads: its own queue, and plug-ins that answer on threads of theirs.

namespace vrel {
namespace {

const AVAudioUnitComponent piano{"Piano", "Maker", {componentTypeMusicDevice, 10, 20}};
const AVAudioUnitComponent organ{"Organ", "Maker", {componentTypeMusicDevice, 11, 20}};

/// Answers each request on a thread of its own.
class ThreadedUnits : public AudioUnitFactory {
 public:
  ~ThreadedUnits() override {
    for (auto& thread : threads_) {
      thread.join();
    }
  }
  void instantiate(const AudioComponentDescription& /*description*/, AudioComponentInstantiationOptions /*options*/,
                   UnitHandler completionHandler) override {
    const std::lock_guard lock(mutex_);
    ++requestCount;
    threads_.emplace_back([handler = std::move(completionHandler)] {
      std::this_thread::yield();
      handler(std::make_shared<simulation::ScriptedInstrument>("made"), std::nullopt);
    });
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override {
    instantiate(description, options, std::move(completionHandler));
  }

  std::atomic<int> requestCount{0};

 private:
  std::mutex mutex_;
  std::vector<std::thread> threads_;  // guarded by mutex_
};

TEST(PoolThreads, TakesReturnsAndPrewarmsFromAllSidesLoseNothingAndEndInTheMidst) {
  for (int round = 0; round < 20; ++round) {
    ThreadedUnits units;
    system::StandardOutput console;
    std::vector<std::weak_ptr<AVAudioUnit>> seen;
    {
      system::SerialQueueFactory queues;
      PluginPool pool(units, queues, console);
      pool.setResolver([](const std::string& key) { return resolvePluginPath(key, {piano, organ}); });
      for (int turn = 0; turn < 50; ++turn) {
        const auto key = pluginKey(turn % 2 == 0 ? piano : organ);
        pool.prewarmPlugin(key, nullptr);
        auto node = pool.take(key);
        if (node == nullptr) {
          continue;
        }
        seen.emplace_back(node);
        if (turn % 3 == 0) {
          pool.forgetNode(node, [](bool) {});
        }
        pool.returnNodeToPool(std::move(node), key);
        EXPECT_LE(pool.idleCount(key), PluginPool::largestCountPerKey + 1);
      }
      EXPECT_GT(units.requestCount, 0);
      EXPECT_LE(units.requestCount, 50);
    }
    for (const auto& node : seen) {
      EXPECT_TRUE(node.expired()) << "the pool's nodes go with it";
    }
  }
}

}  // namespace
}  // namespace vrel
