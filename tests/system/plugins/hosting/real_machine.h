// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "simulation/virtual_time.h"
#include "support/every_order.h"
#include "support/orders.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_node_factory.h"
#include "system/plugins/hosting/held_units.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel {

/// An engine that renders real plug-ins, made by `factory`, into memory.
struct RealMachine {
  explicit RealMachine(AudioUnitFactory& factory) : units(factory) { mainQueue.runAll(); }

  void settle() {
    auto& poolQueue = queues.queue("vrel.plugin.pool");
    while (mainQueue.runOne() || poolQueue.runOne()) {
    }
  }

  void playOut(EveryOrder& order, Happenings happenings) {
    answerInOrder(*this, order, std::move(happenings), {Ending::node},
                  [this](std::size_t index, Ending /*ending*/) { units.answer(index); });
  }

  std::shared_ptr<AudioChannel> addLoadingStrip(const AVAudioUnitComponent& component,
                                                const std::optional<std::string>& state = std::nullopt) {
    const auto channel = engine->addChannel("strip");
    engine->instruments().loadInstrument(channel, component, state, nullptr);
    return channel;
  }

  /// What comes out when this strip alone is heard and a key is struck: left and right in turn.
  std::vector<float> soundOf(const std::shared_ptr<AudioChannel>& heard) {
    for (const auto& channel : engine->channels()) {
      channel->solo.set(channel == heard);
    }
    render(30);  // the levels are there
    if (auto* instrument = heard->midiInstrument()) {
      instrument->sendMIDIEvent(0x90, 69, 100);
    }
    return render(6);
  }

  std::vector<float> render(int blocks) {
    std::vector<float> sound;
    for (int block = 0; block < blocks; ++block) {
      const auto samples = device->renderBlock();
      for (std::size_t frame = 0; frame < samples.left.size(); ++frame) {
        sound.push_back(samples.left[frame]);
        sound.push_back(samples.right[frame]);
      }
    }
    return sound;
  }

  /// Every plug-in that lives is in a strip or parked; whatever is parked is released.
  void expectNothingLost(const std::vector<std::string>& keys) {
    std::vector<std::shared_ptr<AVAudioNode>> held;
    for (const auto& channel : engine->channels()) {
      held.push_back(channel->instrumentNode.get());
      for (const auto& [id, node] : channel->effectNodes.get()) {
        held.push_back(node);
      }
    }
    for (const auto& key : keys) {
      EXPECT_FALSE(engine->pluginPool().isPrewarming(key));
      while (const auto node = engine->pluginPool().take(key)) {
        held.push_back(node);
      }
    }
    for (const auto& weakNode : units.made) {
      const auto node = weakNode.lock();
      EXPECT_EQ(node != nullptr ? std::count(held.begin(), held.end(), node) : 1, 1);
    }
    EXPECT_TRUE(engine->engine().isRunning());
    EXPECT_TRUE(console.lines.empty()) << console.lines.front();
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  std::shared_ptr<audio::OfflineDevice> device = std::make_shared<audio::OfflineDevice>(48000.0, 128U);
  audio::RenderNodeFactory nodes{device, std::make_shared<audio::RenderCounters>()};
  HeldUnits units;
  system::LibplistSerialization propertyLists;
  simulation::RecordingConsole console;
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console});
};

}  // namespace vrel
