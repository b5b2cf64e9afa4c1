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
#include "support/every_order.h"
#include "support/session_on.h"
#include "system/plugins/hosting/real_machine.h"
#include "system/plugins/hosting/real_plugins.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/property_list/libplist_serialization.h"

// Real plug-ins in the real graph, on virtual time: whatever comes first, the sound is the same.

namespace vrel {
namespace {

float loudest(const std::vector<float>& sound) {
  return lv2::peak(sound);
}

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
    ASSERT_EQ(staying->status.get(), ChannelStatus::running);
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
  const auto saved = keptState(70, 120);
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
    ASSERT_EQ(strip->status.get(), ChannelStatus::running);
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
