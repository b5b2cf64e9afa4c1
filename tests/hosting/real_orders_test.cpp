// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "foundation/base64.h"
#include "hosting/held_units.h"
#include "sandbox/sandbox_stage.h"
#include "simulation/recording_console.h"
#include "simulation/virtual_time.h"
#include "support/every_order.h"
#include "support/orders.h"
#include "support/session_on.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_node_factory.h"
#include "system/property_list/libplist_serialization.h"

// Real plug-ins in the real graph, on virtual time: whatever comes first, the sound is the same.

namespace vrel {
namespace {

constexpr const char* sineUri = "urn:vrel:zoo:sine";
constexpr const char* stateUri = "urn:vrel:zoo:state";
constexpr const char* gainUri = "urn:vrel:zoo:gain";

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

  /// Every plug-in that lives is in a strip or parked; whatever is parked is let go of.
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

float loudest(const std::vector<float>& sound) {
  return lv2::peak(sound);
}

/// A state as a setlist holds it.
std::string textOf(const PropertyListDictionary& state) {
  const auto bytes = system::LibplistSerialization().dataFromPropertyList(state);
  EXPECT_TRUE(bytes.ok());
  return bytes.ok() ? base64Encode(bytes.value()) : "";
}

enum class Place { inProcess, sandboxed };

class RealPlugins : public sandbox::SandboxStage {
 protected:
  [[nodiscard]] AudioUnitFactory& factoryIn(Place place) {
    return place == Place::inProcess ? static_cast<AudioUnitFactory&>(*inProcess_.factory) : *factory_;
  }
  [[nodiscard]] AVAudioUnitComponent component(const char* uri) const { return inProcess_.component(uri); }

  [[nodiscard]] PluginComponentResolver resolver() const {
    return [components = all()](const std::string& key) { return resolvePluginPath(key, components); };
  }
  [[nodiscard]] std::vector<AVAudioUnitComponent> all() const {
    return {component(sineUri), component(stateUri), component(gainUri)};
  }

  /// The state plug-in's state with 70 in it, and a file that says 120.
  [[nodiscard]] std::string keptState() const {
    lv2::Player player(inProcess_.make(stateUri).unit);
    player.send(0x90, 70, 1);
    player.send(0x90, 120, 1);
    player.block(1);
    return textOf(player.unit().auAudioUnit().fullStateForDocument().value_or(PropertyListDictionary{}));
  }

  [[nodiscard]] AudioPluginSlot gainSlot(double gain) const {
    auto state = inProcess_.make(gainUri).unit->auAudioUnit().fullStateForDocument().value_or(PropertyListDictionary{});
    std::get<PropertyListDictionary>(state["ports"].content)["gain"] = {gain};
    AudioPluginSlot slot;
    slot.pluginPath = pluginKey(component(gainUri));
    slot.stateBase64 = textOf(state);
    return slot;
  }
};

class RealOrders : public RealPlugins, public testing::WithParamInterface<Place> {};

TEST_P(RealOrders, AStripSoundsTheSameWhateverAnsweredFirstAndWhoeverLeft) {
  const auto sine = component(sineUri);
  std::vector<float> expected;
  const auto runs = EveryOrder::walk([&](EveryOrder& order) {
    RealMachine machine(factoryIn(GetParam()));
    machine.engine->pluginPool().setResolver(resolver());
    machine.engine->pluginPool().prewarmPlugin(pluginKey(sine), nullptr);
    const std::weak_ptr leaving = machine.addLoadingStrip(sine);
    const auto staying = machine.addLoadingStrip(sine);
    ASSERT_EQ(machine.units.requests.size(), 3U);
    machine.playOut(order, {[&] { machine.engine->removeChannel(*leaving.lock()); }});
    ASSERT_EQ(staying->status.get(), "RUNNING");
    const auto sound = machine.soundOf(staying);
    expected = expected.empty() ? sound : expected;
    EXPECT_GT(loudest(sound), 0.1F);
    EXPECT_EQ(sound, expected);
    machine.expectNothingLost({pluginKey(sine)});
  });
  EXPECT_EQ(runs, 24U);
}

TEST_P(RealOrders, ASavedSoundComesBackInTheStripItBelongsTo) {
  const auto state = component(stateUri);
  const auto saved = keptState();
  std::vector<float> expected;
  EveryOrder::walk([&](EveryOrder& order) {
    RealMachine machine(factoryIn(GetParam()));
    machine.engine->pluginPool().setResolver(resolver());
    machine.engine->pluginPool().prewarmPlugin(pluginKey(state), nullptr);
    const auto restored = machine.addLoadingStrip(state, saved);
    const auto plain = machine.addLoadingStrip(state);
    std::shared_ptr<AudioChannel> late;
    machine.playOut(order, {[&] { late = machine.addLoadingStrip(state, saved); }});
    const auto again = machine.engine->pluginState().capturePluginState(*restored);
    EXPECT_EQ(again, saved) << "and it is saved as it came";
    EXPECT_EQ(machine.engine->pluginState().capturePluginState(*late), saved);
    machine.render(1);
    EXPECT_NE(machine.engine->pluginState().capturePluginState(*plain), saved);
    const auto sound = machine.soundOf(restored);
    expected = expected.empty() ? sound : expected;
    EXPECT_EQ(sound, expected);
    EXPECT_GT(sound.back(), 0.5F) << "the file was read before the first block";
    machine.expectNothingLost({pluginKey(state)});
  });
}

INSTANTIATE_TEST_SUITE_P(Hosting, RealOrders, testing::Values(Place::inProcess, Place::sandboxed),
                         [](const auto& tested) {
                           return tested.param == Place::inProcess ? "InProcess" : "Sandboxed";
                         });

class RealRacks : public RealPlugins {};

TEST_F(RealRacks, ARackSoundsTheSameWhateverAnsweredFirstAndWhateverWasRemoved) {
  const auto half = gainSlot(0.5);
  const auto quarter = gainSlot(0.25);
  const auto mute = gainSlot(0.0);
  const auto render = [&](const std::vector<AudioPluginSlot>& slots, EveryOrder& order, const Uuid& removed) {
    RealMachine machine(factoryIn(Place::inProcess));
    const auto strip = machine.addLoadingStrip(component(sineUri));
    machine.units.answer(0);
    machine.settle();
    machine.engine->effects().restoreEffectSlots(slots, strip, resolver(), nullptr);
    machine.playOut(order, {[&] { machine.engine->effects().removeEffectSlot(*strip, removed); }});
    auto sound = machine.soundOf(strip);
    machine.expectNothingLost({});
    return sound;
  };
  EveryOrder once;
  auto expected = render({}, once, Uuid::fresh());
  EXPECT_GT(loudest(expected), 0.1F);
  for (float& sample : expected) {
    sample *= 0.125F;
  }
  const auto runs = EveryOrder::walk([&](EveryOrder& order) {
    EXPECT_EQ(render({half, mute, quarter}, order, mute.id), expected);
  });
  EXPECT_EQ(runs, 24U);
}

TEST_F(RealRacks, TheSongMayChangeBetweenAnyTwoAnswersAndSoundsTheSame) {
  const auto record = [&](const char* uri, std::vector<AudioPluginSlot> slots) {
    SongConfig song;
    auto& channel = song.channels.emplace_back();
    channel.pluginPath = pluginKey(component(uri));
    channel.effectSlots = std::move(slots);
    return song;
  };
  const std::vector songs{record(stateUri, {}), record(sineUri, {gainSlot(0.5)})};
  std::vector<float> expected;
  const auto runs = EveryOrder::walk([&](EveryOrder& order) {
    RealMachine machine(factoryIn(Place::inProcess));
    SessionOn session(*machine.engine, machine.mainQueue, machine.clock, machine.console);
    session.state.scannedPlugins.set(scanInstrumentComponents(*inProcess_.world));
    session.state.scannedAudioEffectPlugins.set(scanAudioEffectComponents(*inProcess_.world));
    session.setSongs(songs);
    session.songSwitch.applySong(0);
    machine.settle();
    machine.playOut(order, {[&] { session.songSwitch.applySong(1); }});
    EXPECT_FALSE(session.state.songSwitchInProgress.get());
    const auto strip = machine.engine->channels().at(0);
    ASSERT_EQ(strip->status.get(), "RUNNING");
    const auto sound = machine.soundOf(strip);
    expected = expected.empty() ? sound : expected;
    EXPECT_GT(loudest(sound), 0.1F);
    EXPECT_EQ(sound, expected);
    machine.expectNothingLost({pluginKey(component(sineUri)), pluginKey(component(stateUri))});
  });
  EXPECT_GT(runs, 20U);
}

}  // namespace
}  // namespace vrel
