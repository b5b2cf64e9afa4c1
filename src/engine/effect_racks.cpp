// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/effect_racks.h"

#include <algorithm>
#include <utility>

#include "channel/audio_channel.h"
#include "document/find_slot.h"
#include "document/plugin_path.h"
#include "engine/channel_chains.h"
#include "engine/graph_mutator.h"
#include "engine/host_musical_context.h"
#include "engine/mix_levels.h"
#include "engine/plugin_state.h"
#include "platform/audio_engine.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

std::string failureLine(const char* where, const AVAudioUnitComponent& component, const Error& error) {
  return std::string("Failed to load effect plugin ") + where + " (" + component.manufacturerName + " - " +
         component.name + "): " + error.description;
}

// False when the slot was removed, or filled by hand, while its plug-in was on the way. The sound is not stopped for
// one that nobody wants any more: the master's rack outlives the songs.
bool isStillWanted(const AudioChannel& channel, const AudioPluginSlot& slot) {
  const auto& slots = channel.effectSlots.get();
  return findSlot(slots, slot.id) != slots.end() && !channel.effectNodes.get().contains(slot.id);
}

void noteFailure(AudioChannel& channel, const Uuid& slotId) {
  auto failed = channel.failedEffects.get();
  failed.insert(slotId);
  channel.failedEffects.set(std::move(failed));
}

void forgetFailure(AudioChannel& channel, const Uuid& slotId) {
  auto failed = channel.failedEffects.get();
  if (failed.erase(slotId) > 0) {
    channel.failedEffects.set(std::move(failed));
  }
}

// The order of the slots after the move, as the list controls of the platform define it.
std::vector<AudioPluginSlot> moved(const std::vector<AudioPluginSlot>& slots, const std::set<std::size_t>& fromOffsets,
                                   std::size_t toOffset) {
  std::vector<AudioPluginSlot> before;
  std::vector<AudioPluginSlot> taken;
  std::vector<AudioPluginSlot> after;
  for (std::size_t offset = 0; offset < slots.size(); ++offset) {
    auto& part = fromOffsets.contains(offset) ? taken : (offset < toOffset ? before : after);
    part.push_back(slots[offset]);
  }
  before.insert(before.end(), taken.begin(), taken.end());
  before.insert(before.end(), after.begin(), after.end());
  return before;
}

}  // namespace

void EffectRacks::instantiateEffectNode(const AVAudioUnitComponent& component,
                                        const std::function<void(UnitNode)>& completion) {
  const auto outOfProcess = [component, completion, &console = console_](UnitNode node,
                                                                         const std::optional<Error>& error) {
    if (error) {
      console.printFailure(FailureKind::effect, failureLine("out-of-process", component, *error));
    }
    completion(std::move(node));
  };
  units_.instantiate(component.audioComponentDescription, AudioComponentInstantiationOptions::inProcess,
                     [component, completion, outOfProcess, &console = console_, &units = units_](
                         UnitNode node, const std::optional<Error>& error) {
                       if (node != nullptr) {
                         completion(std::move(node));
                         return;
                       }
                       if (error) {
                         console.printFailure(FailureKind::effect, failureLine("in-process", component, *error));
                       }
                       units.instantiate(component.audioComponentDescription,
                                         AudioComponentInstantiationOptions::outOfProcess, outOfProcess);
                     });
}

void EffectRacks::replaceEffectSlot(AudioChannel& channel, const Uuid& slotId, const AVAudioUnitComponent& component,
                                    const UnitNode& node, const std::function<void(bool)>& completion) {
  mutator_.performGraphMutation("replaceEffectSlot", [&] {
    auto nodes = channel.effectNodes.get();
    if (const auto entry = nodes.find(slotId); entry != nodes.end()) {
      chains_.removeNode(entry->second);
    }
    configureHostCallbacks(*node);
    engine_.attach(node);
    nodes[slotId] = node;
    channel.effectNodes.set(std::move(nodes));

    auto slots = channel.effectSlots.get();
    auto slot = findSlot(slots, slotId);
    if (slot == slots.end()) {
      slot = slots.insert(slots.end(), AudioPluginSlot{});
      slot->id = slotId;
    }
    slot->pluginPath = pluginKey(component);
    slot->pluginName = component.name;
    slot->manufacturerName = component.manufacturerName;
    slot->stateBase64 = std::nullopt;
    channel.effectSlots.set(std::move(slots));
    forgetFailure(channel, slotId);
    chains_.rebuildChannelEffectChain(channel);
  });
  levels_.applyMixerLevels();
  if (completion) {
    completion(true);
  }
}

void EffectRacks::loadEffect(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                             const AVAudioUnitComponent& component, std::function<void(bool)> completion) {
  instantiateEffectNode(component, [this, life = life_.watch(), weakChannel = std::weak_ptr(channel), slotId, component,
                                    completion = std::move(completion), &mainQueue = mainQueue_](UnitNode node) {
    mainQueue.async([this, life, weakChannel, slotId, component, completion, node = std::move(node)] {
      const auto target = weakChannel.lock();
      if (life.isAlive() && target != nullptr && node != nullptr && chains_.isOnStage(*target)) {
        replaceEffectSlot(*target, slotId, component, node, completion);
      } else if (completion) {
        completion(false);
      }
    });
  });
}

void EffectRacks::removeEffectSlot(AudioChannel& channel, const Uuid& slotId) {
  mutator_.performGraphMutation("removeEffectSlot", [&] {
    auto nodes = channel.effectNodes.get();
    if (const auto entry = nodes.find(slotId); entry != nodes.end()) {
      chains_.removeNode(entry->second);
      nodes.erase(entry);
      channel.effectNodes.set(std::move(nodes));
    }
    auto slots = channel.effectSlots.get();
    std::erase_if(slots, [&](const auto& each) { return each.id == slotId; });
    channel.effectSlots.set(std::move(slots));
    forgetFailure(channel, slotId);
    chains_.rebuildChannelEffectChain(channel);
  });
  levels_.applyMixerLevels();
  if (chains_.isMaster(channel)) {
    chains_.rebuildMasterEffectChain(true);
  }
}

bool EffectRacks::loseEffectNode(AudioChannel& channel, const std::shared_ptr<AVAudioNode>& node) {
  auto nodes = channel.effectNodes.get();
  const auto entry = std::find_if(nodes.begin(), nodes.end(), [&](const auto& each) { return each.second == node; });
  if (entry == nodes.end()) {
    return false;
  }
  const Uuid slotId = entry->first;
  const auto state = pluginState_.captureAudioUnitState(entry->second->auAudioUnit());
  mutator_.performGraphMutation("loseEffectNode", [&] {
    chains_.removeNode(entry->second);
    nodes.erase(entry);
    if (state) {
      auto slots = channel.effectSlots.get();
      const auto slot = findSlot(slots, slotId);
      if (slot != slots.end()) {
        slot->stateBase64 = state;
        channel.effectSlots.set(std::move(slots));
      }
    }
    noteFailure(channel, slotId);
    channel.effectNodes.set(std::move(nodes));
    chains_.rebuildChannelEffectChain(channel);
  });
  levels_.applyMixerLevels();
  return true;
}

bool EffectRacks::reviveEffect(const std::shared_ptr<AudioChannel>& channel, const Uuid& slotId,
                               const PluginComponentResolver& resolver, std::function<void()> completion) {
  const auto& slots = channel->effectSlots.get();
  const auto slot = findSlot(slots, slotId);
  if (slot == slots.end() || slot->pluginPath.empty() || !isStillWanted(*channel, *slot)) {
    return false;
  }
  const auto component = resolver ? resolver(slot->pluginPath) : std::nullopt;
  if (component) {
    restoreWhenMade(*slot, *component, std::make_shared<LoadGroup>(LoadGroup{1, channel, std::move(completion)}));
  }
  return component.has_value();
}

void EffectRacks::moveEffectSlot(AudioChannel& channel, const std::set<std::size_t>& fromOffsets,
                                 std::size_t toOffset) {
  channel.effectSlots.set(moved(channel.effectSlots.get(), fromOffsets, toOffset));
  chains_.rebuildChannelEffectChain(channel);
}

void EffectRacks::restoreEffectSlots(const std::vector<AudioPluginSlot>& slots,
                                     const std::shared_ptr<AudioChannel>& channel,
                                     const PluginComponentResolver& resolver, std::function<void()> completion) {
  if (!channel->effectNodes.get().empty()) {
    mutator_.performGraphMutation("detachEffectNodes", [&] { chains_.detachEffectNodes(*channel); });
  }
  channel->effectSlots.set(slots);
  channel->failedEffects.set({});
  const auto isFilled = [](const AudioPluginSlot& slot) { return !slot.pluginPath.empty(); };
  if (std::none_of(slots.begin(), slots.end(), isFilled)) {
    chains_.rebuildChannelEffectChain(*channel);
    if (completion) {
      completion();
    }
    return;
  }
  const auto group = std::make_shared<LoadGroup>(LoadGroup{.pending = 1, .channel = channel, .completion = {}});
  group->completion = std::move(completion);
  for (const auto& slot : slots) {
    const auto component = isFilled(slot) && resolver ? resolver(slot.pluginPath) : std::nullopt;
    if (component) {
      ++group->pending;
      restoreWhenMade(slot, *component, group);
    } else if (isFilled(slot)) {
      noteFailure(*channel, slot.id);
    }
  }
  leave(group);
}

void EffectRacks::restoreWhenMade(const AudioPluginSlot& slot, const AVAudioUnitComponent& component,
                                  const std::shared_ptr<LoadGroup>& group) {
  instantiateEffectNode(component, [this, life = life_.watch(), slot, group, &mainQueue = mainQueue_](UnitNode node) {
    mainQueue.async([this, life, slot, group, node = std::move(node)] {
      if (!life.isAlive()) {
        return;
      }
      const auto channel = group->channel.lock();
      if (channel && chains_.isOnStage(*channel) && isStillWanted(*channel, slot)) {
        if (node != nullptr) {
          mutator_.performGraphMutation("restoreEffectSlot", [&] { restoreSlot(*channel, slot, node); });
        } else {
          noteFailure(*channel, slot.id);
        }
      }
      leave(group);
    });
  });
}

void EffectRacks::leave(const std::shared_ptr<LoadGroup>& group) {
  if (--group->pending > 0) {
    return;
  }
  mainQueue_.async([this, life = life_.watch(), group] {
    const auto channel = group->channel.lock();
    if (life.isAlive() && channel) {
      restoreEnded(*channel, group->completion);
    }
  });
}

void EffectRacks::configureHostCallbacks(AVAudioUnit& unit) {
  musicalContext_.configureHostCallbacks(unit.auAudioUnit(), unit.audioUnit(), console_);
}

void EffectRacks::restoreSlot(AudioChannel& channel, const AudioPluginSlot& slot, const UnitNode& node) {
  configureHostCallbacks(*node);
  engine_.attach(node);
  if (const auto state = pluginState_.decodePluginState(slot.stateBase64)) {
    node->auAudioUnit().setFullStateForDocument(*state);
  }
  configureHostCallbacks(*node);  // a plug-in can lose them in taking a state
  node->reset();
  auto nodes = channel.effectNodes.get();
  nodes[slot.id] = node;
  channel.effectNodes.set(std::move(nodes));
  forgetFailure(channel, slot.id);
}

void EffectRacks::restoreEnded(AudioChannel& channel, const std::function<void()>& completion) {
  chains_.rebuildChannelEffectChain(channel);
  levels_.applyMixerLevels();
  if (completion) {
    completion();
  }
}

}  // namespace vrel
