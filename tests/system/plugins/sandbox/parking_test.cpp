// SPDX-License-Identifier: GPL-3.0-or-later
// Guests that are released serve again, with a plug-in that is as new, but only those in good health.

#include <unistd.h>

#include <csignal>
#include <set>
#include <utility>

#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/serial_queue.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::sandbox {
namespace {

using Unit = std::shared_ptr<AVAudioUnit>;

class Parking : public SandboxStage {
 protected:
  static constexpr std::size_t mostParked = 2;

  explicit Parking(std::size_t most = mostParked)
      : SandboxStage(std::nullopt, VREL_PLUGIN_HOST_PROGRAM, false, lv2::Bundles::zoo, std::chrono::minutes(10), most) {
  }

  Unit plugin(const std::string& name) { return make("urn:vrel:zoo:" + name).unit; }

  /// Releases a unit whose guest is in good health, and returns its process once it is parked.
  int park(Unit unit) {
    const int process = processOf(unit);
    const std::size_t before = parkedCount();
    unit.reset();
    EXPECT_TRUE(happens([&] { return parkedCount() == before + 1; }));
    return process;
  }

  /// Releases a unit whose guest may not be parked, and waits for its end.
  void expectEnd(Unit unit) {
    const std::size_t before = guestCount();
    unit.reset();
    EXPECT_TRUE(happens([&] { return parkedCount() > 0 || guestCount() == before - 1; }));
    EXPECT_EQ(parkedCount(), 0U);
  }

  static void play(const Unit& unit, std::uint8_t level) {
    DeadlinePlayer player(unit);
    player.key(60, level);
    EXPECT_EQ(player.block(std::nullopt), constant(level));
  }
  static GuestLink& linkOf(const Unit& unit) {
    return dynamic_cast<SandboxedInstance&>(unit->auAudioUnit()).processor()->guest().link();
  }
  static auto stateOf(const Unit& unit) { return unit->auAudioUnit().fullStateForDocument(); }
};

TEST_F(Parking, AReleasedGuestServesTheNextRequestForItsPlugin) {
  const int process = park(plugin("effectrebel"));
  const Unit again = plugin("effectrebel");
  EXPECT_EQ(processOf(again), process);
  EXPECT_EQ(guestCount(), 1U);
  EXPECT_NE(processOf(plugin("effectrebel")), process) << "it is in use";
}

TEST_F(Parking, ItsPluginBeginsWithTheDefaultStateAndSound) {
  const Unit unit = rebel();
  const auto fresh = stateOf(unit);
  const lv2::Sound first = DeadlinePlayer(unit).block(std::nullopt);
  Unit used = rebel();
  play(used, 64);
  play(used, 32);
  ASSERT_NE(stateOf(used), fresh);
  const int process = park(std::move(used));
  const Unit again = rebel();
  ASSERT_EQ(processOf(again), process);
  EXPECT_EQ(stateOf(again), fresh);
  EXPECT_EQ(DeadlinePlayer(again).block(std::nullopt), first);
  play(again, 96);
  EXPECT_EQ(counters().lateBlocks, 0U);
}

TEST_F(Parking, AControlThatNoBlockHasTakenGoesWithItsPlugin) {
  constexpr AUParameterAddress gain = 4;
  Unit unit = plugin("gain");
  const float fresh = unit->auAudioUnit().parameterValue(gain);
  unit->auAudioUnit().setParameterValue(gain, fresh / 2);
  ASSERT_EQ(unit->auAudioUnit().parameterValue(gain), fresh / 2);
  const int process = park(std::move(unit));
  const Unit again = plugin("gain");
  ASSERT_EQ(processOf(again), process);
  EXPECT_EQ(again->auAudioUnit().parameterValue(gain), fresh);
}

TEST_F(Parking, ItServesAsOftenAsItIsReleased) {
  const int process = park(rebel());
  for (std::uint8_t level = 40; level < 50; ++level) {
    Unit unit = rebel();
    play(unit, level);
    EXPECT_EQ(park(std::move(unit)), process);
  }
  EXPECT_EQ(guestCount(), 1U);
}

TEST_F(Parking, AnotherPluginGetsAProcessOfItsOwn) {
  const int process = park(plugin("gain"));
  EXPECT_NE(processOf(plugin("monoeffect")), process);
}

TEST_F(Parking, ANewRateEndsWhatIsParkedAndWhatIsReleasedLaterFollowsIt) {
  Unit sounding = plugin("sine");
  const int process = processOf(sounding);
  (void)park(plugin("gain"));
  factory_->setSampleRate(96000);
  const Unit reference = plugin("sine");
  EXPECT_TRUE(happens([this] { return guestCount() == 2; })) << "the parked one is of the old rate";
  EXPECT_EQ(park(std::move(sounding)), process);
  const Unit again = plugin("sine");
  ASSERT_EQ(processOf(again), process);
  const auto sound = [](const Unit& unit) {
    DeadlinePlayer player(unit);
    player.key(69);
    return player.block(std::nullopt);
  };
  const lv2::Sound expected = sound(reference);
  EXPECT_GT(lv2::peak(expected.left), 0.1F);
  EXPECT_EQ(sound(again), expected);
}

TEST_F(Parking, AGuestThatOwesAStateIsEndedInstead) {
  Unit unit = rebel();
  stop(processOf(unit));
  unit->auAudioUnit().requestFullStateForDocument();
  expectEnd(std::move(unit));
}

TEST_F(Parking, AGuestThatIsBehindIsEndedInstead) {
  Unit unit = rebel();
  stop(processOf(unit));
  for (DeadlinePlayer player(unit); !linkOf(unit).isBehind();) {
    (void)player.block(-1ms);
  }
  expectEnd(std::move(unit));
}

TEST_F(Parking, AGuestWhoseBlockDoesNotEndIsEndedInstead) {
  Unit unit = rebel();
  const int process = processOf(unit);
  const long before = ticksOf(process);
  {
    DeadlinePlayer player(unit);
    player.key(fault_key::hangForever);
    (void)player.block(1ms);
  }
  EXPECT_TRUE(happens([&] { return ticksOf(process) > before + 1; })) << "it is in its block";
  expectEnd(std::move(unit));
}

TEST_F(Parking, BeyondTheLimitTheOneThatWasReleasedFirstEnds) {
  std::vector<Unit> units{plugin("gain"), plugin("gain"), plugin("gain")};
  const int first = processOf(units[0]);
  const int last = processOf(units[2]);
  (void)park(std::exchange(units[0], nullptr));
  (void)park(std::exchange(units[1], nullptr));
  units.clear();
  EXPECT_TRUE(happens([&] { return guestCount() == mostParked && parkedCount() == mostParked && !isThere(first); }));
  EXPECT_TRUE(isThere(last));
}

TEST_F(Parking, ADeathWhileParkedIsLoggedAndTheNextRequestGetsAProcessOfItsOwn) {
  const int process = park(plugin("gain"));
  kill(process, SIGKILL);
  EXPECT_TRUE(happens([this] { return guestCount() == 0; }));
  EXPECT_TRUE(hasLogged("urn:vrel:zoo:gain was killed by signal 9 while it was parked"));
  EXPECT_TRUE(deaths().empty());
  EXPECT_NE(plugin("gain"), nullptr);
}

/// An engine whose master has a rack of effects.
class ParkedRacks : public Parking {
 protected:
  ParkedRacks() : Parking(4) {}  // the effects of two songs
  ~ParkedRacks() override { engine_.reset(); }

  void restoreRack(const std::vector<std::string>& names) {
    std::vector<AudioPluginSlot> slots;
    for (const std::string& name : names) {
      slots.emplace_back().pluginPath = pluginKey(inProcess_.component("urn:vrel:zoo:" + name));
    }
    bool isRestored = false;
    engine_->effects().restoreEffectSlots(
        slots, engine_->masterChannel(), [this](const std::string& key) { return resolvePluginPath(key, effects_); },
        [&] { isRestored = true; });
    EXPECT_TRUE(mainLoop_.waitUntil([&] { return isRestored; }, 60s));
    EXPECT_EQ(engine_->masterChannel()->effectNodes.get().size(), names.size());
    device_->renderBlock(128);  // the old plan ends, and its effects are released
    mainLoop_.runPending();
  }
  static std::set<pid_t> guests() {
    const auto all = guestsOf(getpid());
    return {all.begin(), all.end()};
  }

  const std::vector<AVAudioUnitComponent> effects_ = scanAudioEffectComponents(*inProcess_.world);
  std::shared_ptr<audio::OfflineDevice> device_ = std::make_shared<audio::OfflineDevice>(48000, 128);
  audio::RenderNodeFactory nodes_{device_, std::make_shared<audio::RenderCounters>()};
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
  simulation::RecordingConsole console_;
  std::shared_ptr<AudioEngine> engine_ =
      AudioEngine::make({nodes_, *factory_, mainLoop_, queues_, clock_, propertyLists_, console_});
};

TEST_F(ParkedRacks, FromTheSecondTimeOnASongsEffectsNeedNoNewProcess) {
  const std::vector<std::string> first{"gain", "monoeffect"};
  const std::vector<std::string> second{"effectrebel", "effectrebel"};
  restoreRack(first);
  restoreRack(second);
  EXPECT_TRUE(happens([this] { return parkedCount() == 2; }));
  const std::set<pid_t> known = guests();
  EXPECT_EQ(known.size(), first.size() + second.size());
  for (int round = 0; round < 3; ++round) {
    restoreRack(first);
    EXPECT_TRUE(happens([this] { return parkedCount() == 2; }));
    restoreRack(second);
    EXPECT_TRUE(happens([this] { return parkedCount() == 2; }));
    EXPECT_EQ(guests(), known);
  }
}

}  // namespace
}  // namespace vrel::sandbox
