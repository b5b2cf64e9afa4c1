// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/gate.h"
#include "platform/audio_component.h"
#include "platform/audio_unit.h"
#include "platform/dispatch.h"

namespace vrel {

class ConsoleOutput;

/// From a plug-in key to the component it names, if it is installed. Must be safe on the pool queue.
using PluginComponentResolver = std::function<std::optional<AVAudioUnitComponent>(const std::string& key)>;

/// Instruments made ahead of time and parked, unconnected, by plug-in key, so that a song change need
/// not wait for a plug-in. Nodes that a channel gives up come back here as they are: not reset, with
/// the sound they were left with.
///
/// Threads: the pool and the set of keys being prewarmed are touched on the queue "vrel.plugin.pool"
/// only; hence no lock. Only `take` makes the main thread wait for that queue, behind bookkeeping and
/// resolver calls; instantiation runs elsewhere.
/// Ownership: one owner, on whose thread the pool ends, whatever is in flight: a handler that answers
/// late, on any thread, finds the pool through a gate that its end has closed.
class PluginPool {
 public:
  using Node = std::shared_ptr<AVAudioUnit>;
  using UnitHandler = AudioUnitFactory::UnitHandler;

  /// A key parks at most this many nodes that were given back.
  static constexpr std::size_t largestCountPerKey = 2;

  PluginPool(AudioUnitFactory& units, DispatchQueueFactory& queues, ConsoleOutput& console);
  ~PluginPool();
  PluginPool(const PluginPool&) = delete;
  PluginPool& operator=(const PluginPool&) = delete;

  void setResolver(PluginComponentResolver resolver) { resolver_ = std::move(resolver); }
  [[nodiscard]] const PluginComponentResolver& resolver() const { return resolver_; }

  /// The oldest idle node of this key, or none. Runs `takePooledNode` on the queue and waits.
  [[nodiscard]] Node take(const std::string& key);

  /// On the pool queue only.
  [[nodiscard]] Node takePooledNode(const std::string& key);

  /// Parks a node that a channel gave up; beyond the limit it goes out of existence. Any thread.
  void returnNodeToPool(Node node, const std::string& key);

  /// Releases a node that has crashed; `forgotten` learns on the pool queue whether it was parked. Any thread.
  void forgetNode(const std::shared_ptr<AVAudioNode>& node, std::function<void(bool wasParked)> forgotten);

  /// Sees to a warm node for every instrument of these songs. Nothing without a resolver.
  void prewarmPlugins(const std::vector<SongConfig>& songs);

  /// The same for these keys.
  void prewarmPlugins(const std::vector<std::string>& keys);

  /// The same for one key; with no `resolver` the stored one is used.
  void prewarmPlugin(const std::string& key, PluginComponentResolver resolver);

  /// Replaces what is parked by nodes that are made now, and so is what is being made: the output has another sample
  /// rate. Any thread; nothing waits.
  void remake();

  /// The single place where an instrument is made: out of process, with no second try. Any thread.
  void instantiateInstrumentNode(const AudioComponentDescription& description, UnitHandler completion);

  /// How many nodes wait under `key`, and whether one is being made. For tests and the console; waits for the queue.
  [[nodiscard]] std::size_t idleCount(const std::string& key);
  [[nodiscard]] bool isPrewarming(const std::string& key);

 private:
  /// What is being made ahead.
  struct Warmed {
    std::string key;
    PluginComponentResolver resolver;
    std::uint64_t generation;
  };

  void prewarmStep(const std::string& key, const PluginComponentResolver& resolver);
  void endPrewarm(const Warmed& warmed, Node node, const std::optional<Error>& error);

  AudioUnitFactory& units_;
  ConsoleOutput& console_;
  PluginComponentResolver resolver_;
  std::map<std::string, std::vector<Node>> pluginNodePool_;
  std::set<std::string> prewarmingPaths_;
  std::uint64_t generation_ = 0;  // of the nodes that are parked; touched on the queue
  // Instead of a shared_ptr to the pool: its last holder might be a handler on the pool's own queue, which cannot wait
  // for its own end.
  const std::shared_ptr<Gate<PluginPool>> gate_ = std::make_shared<Gate<PluginPool>>();
  // Last: destroying the queue waits for the running work, which may use all of the above.
  std::unique_ptr<DispatchQueue> pluginPoolQueue_;
};

}  // namespace vrel
