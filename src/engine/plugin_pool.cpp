// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_pool.h"

#include <utility>

#include "platform/console_output.h"

namespace vrel {

PluginPool::PluginPool(AudioUnitFactory& units, DispatchQueueFactory& queues, ConsoleOutput& console)
    : units_(units), console_(console), pluginPoolQueue_(queues.makeSerialQueue("vrel.plugin.pool")) {
  gate_->open(*this);
}

PluginPool::~PluginPool() {
  gate_->close();
}

PluginPool::Node PluginPool::take(const std::string& key) {
  Node node;
  pluginPoolQueue_->sync([&] { node = takePooledNode(key); });
  return node;
}

PluginPool::Node PluginPool::takePooledNode(const std::string& key) {
  auto& idle = pluginNodePool_[key];
  if (idle.empty()) {
    return nullptr;
  }
  auto node = std::move(idle.front());
  idle.erase(idle.begin());
  return node;
}

void PluginPool::returnNodeToPool(Node node, const std::string& key) {
  pluginPoolQueue_->async([this, node = std::move(node), key]() mutable {
    auto& idle = pluginNodePool_[key];
    if (idle.size() < largestCountPerKey) {
      idle.push_back(std::move(node));
    }
  });
}

void PluginPool::forgetNode(const std::shared_ptr<AVAudioNode>& node, std::function<void(bool)> forgotten) {
  pluginPoolQueue_->async([this, node, forgotten = std::move(forgotten)] {
    std::size_t count = 0;
    for (auto& [key, idle] : pluginNodePool_) {
      count += std::erase(idle, node);
    }
    forgotten(count > 0);
  });
}

void PluginPool::prewarmPlugins(const std::vector<SongConfig>& songs) {
  std::set<std::string> keys;
  for (const auto& song : songs) {
    for (const auto& channel : song.channels) {
      if (!channel.pluginPath.empty()) {
        keys.insert(channel.pluginPath);
      }
    }
  }
  prewarmPlugins(std::vector<std::string>(keys.begin(), keys.end()));
}

void PluginPool::prewarmPlugins(const std::vector<std::string>& keys) {
  if (!resolver_) {
    return;
  }
  for (const auto& key : keys) {
    prewarmPlugin(key, resolver_);
  }
}

void PluginPool::prewarmPlugin(const std::string& key, PluginComponentResolver resolver) {
  if (!resolver) {
    resolver = resolver_;
  }
  if (!resolver) {
    return;
  }
  pluginPoolQueue_->async([this, key, resolver = std::move(resolver)] { prewarmStep(key, resolver); });
}

void PluginPool::prewarmStep(const std::string& key, const PluginComponentResolver& resolver) {
  if (!pluginNodePool_[key].empty() || !prewarmingPaths_.insert(key).second) {
    return;
  }
  const auto component = resolver(key);
  if (!component) {
    prewarmingPaths_.erase(key);
    return;
  }
  instantiateInstrumentNode(
      component->audioComponentDescription,
      [gate = gate_, warmed = Warmed{key, resolver, generation_}](Node node, const std::optional<Error>& error) {
        gate->pass([&](PluginPool& pool) { pool.endPrewarm(warmed, std::move(node), error); });
      });
}

void PluginPool::endPrewarm(const Warmed& warmed, Node node, const std::optional<Error>& error) {
  pluginPoolQueue_->async([this, warmed, node = std::move(node), error]() mutable {
    const auto& key = warmed.key;
    if (warmed.generation != generation_) {
      prewarmingPaths_.erase(key);
      prewarmStep(key, warmed.resolver);
      return;
    }
    if (error) {
      console_.print("Prewarm failed for " + key + ": " + error->description);
    } else if (node != nullptr) {
      pluginNodePool_[key].push_back(std::move(node));
    }
    prewarmingPaths_.erase(key);
  });
}

void PluginPool::remake() {
  pluginPoolQueue_->async([this, resolver = resolver_] {
    ++generation_;
    for (auto& [key, idle] : pluginNodePool_) {
      if (!idle.empty()) {
        idle.clear();
        if (resolver) {
          prewarmStep(key, resolver);
        }
      }
    }
  });
}

void PluginPool::instantiateInstrumentNode(const AudioComponentDescription& description, UnitHandler completion) {
  constexpr auto options = AudioComponentInstantiationOptions::outOfProcess;
  if (description.componentType != componentTypeMusicDevice) {
    units_.instantiate(description, options, std::move(completion));
    return;
  }
  units_.instantiateMIDIInstrument(
      description, options, [completion = std::move(completion)](Node node, std::optional<Error> error) {
        const bool isPlayed = dynamic_cast<AVAudioUnitMIDIInstrument*>(node.get()) != nullptr;
        completion(isPlayed ? std::move(node) : nullptr, std::move(error));
      });
}

std::size_t PluginPool::idleCount(const std::string& key) {
  std::size_t count = 0;
  pluginPoolQueue_->sync([&] { count = pluginNodePool_[key].size(); });
  return count;
}

bool PluginPool::isPrewarming(const std::string& key) {
  bool isWarming = false;
  pluginPoolQueue_->sync([&] { isWarming = prewarmingPaths_.contains(key); });
  return isWarming;
}

}  // namespace vrel
