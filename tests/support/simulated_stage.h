// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_audio_engine.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"

namespace vrel {

using Lines = std::vector<std::string>;
using Events = std::vector<simulation::RecordedEvent>;

/// A started engine on the simulated platform, on virtual time.
struct SimulatedMachine {
  SimulatedMachine() { mainQueue.runAll(); }

  [[nodiscard]] simulation::SimulatedAudioEngine& graph() { return *nodes.engine; }
  [[nodiscard]] simulation::CrankedQueue& poolQueue() { return queues.queue("vrel.plugin.pool"); }

  /// Runs both queues until neither has work.
  void settle() {
    while (mainQueue.runOne() || poolQueue().runOne()) {
    }
  }

  struct Strip {
    std::shared_ptr<AudioChannel> channel;
    std::shared_ptr<simulation::ScriptedInstrument> instrument;
  };

  /// A strip that plays a scripted instrument under the key `key`.
  Strip addStrip(const std::string& name, const std::string& key = pianoKey) {
    Strip strip{engine->addChannel(name), std::make_shared<simulation::ScriptedInstrument>(name)};
    engine->instruments().installInstrumentNode(*strip.channel, strip.instrument, key, name, std::nullopt);
    return strip;
  }

  /// A slot whose node is a scripted effect in the channel's rack. Not connected yet.
  std::shared_ptr<simulation::ScriptedUnit> addEffect(AudioChannel& channel, const std::string& name) {
    auto node = std::make_shared<simulation::ScriptedUnit>(name);
    auto slot = addEmptySlot(channel, "aucd:1635083896:1:2");
    graph().attach(node);
    auto effectNodes = channel.effectNodes.get();
    effectNodes[slot.id] = node;
    channel.effectNodes.set(std::move(effectNodes));
    return node;
  }

  /// A slot with a plug-in path and no node.
  AudioPluginSlot addEmptySlot(AudioChannel& channel, const std::string& path) {
    AudioPluginSlot slot;
    slot.pluginPath = path;
    auto slots = channel.effectSlots.get();
    slots.push_back(slot);
    channel.effectSlots.set(std::move(slots));
    return slot;
  }

  [[nodiscard]] simulation::SimulatedMixer& meterOf(const AudioChannel& channel) {
    return dynamic_cast<simulation::SimulatedMixer&>(*channel.meterNode.get());
  }

  inline static const std::string pianoKey = "aucd:1635085685:10:20";
  inline static const AVAudioUnitComponent piano{"Piano", "Maker", {componentTypeMusicDevice, 10, 20}};
  inline static const std::string organKey = "aucd:1635085685:11:20";
  inline static const AVAudioUnitComponent organ{"Organ", "Maker", {componentTypeMusicDevice, 11, 20}};
  inline static const std::string chorusKey = "aucd:1635083896:30:20";
  inline static const AVAudioUnitComponent chorus{"Chorus", "Maker", {componentTypeEffect, 30, 20}};

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedNodeFactory nodes;
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console});
};

/// A test with such a stage.
class SimulatedStage : public testing::Test, protected SimulatedMachine {};

}  // namespace vrel
