// SPDX-License-Identifier: GPL-3.0-or-later

// What is played is routed on the audio thread, or on the main thread where no device brings it. Both give every
// instrument the same.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "foundation/thread_roles.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"
#include "support/audio/graph_stage.h"
#include "support/audio/live_device.h"
#include "support/audio/recording_instrument.h"
#include "system/audio/packet_lane.h"
#include "system/audio/render_core.h"
#include "system/audio/render_node_factory.h"

namespace vrel {
namespace {

using audio::DeviceEvent;
using audio::test::LiveDevice;
using audio::test::RecordingInstrument;
using Messages = std::vector<MidiMessage>;
using Channel = std::shared_ptr<AudioChannel>;

/// An engine with the real graph on a device whose blocks the test takes.
struct Machine {
  Machine() { mainQueue.runAll(); }

  std::shared_ptr<RecordingInstrument> install(AudioChannel& channel, const std::string& name) {
    auto node = std::make_shared<RecordingInstrument>();
    engine->instruments().installInstrumentNode(channel, node, "aucd:1635085685:10:20", name, std::nullopt);
    instruments[name] = node;
    return node;
  }

  /// A strip with an instrument of this name.
  Channel addStrip(const std::string& name) {
    auto channel = engine->addChannel(name);
    install(*channel, name);
    return channel;
  }

  /// One block with these messages, and then what the main thread does with each.
  void play(const std::vector<DeviceEvent>& events) {
    playBlock(events);
    routeOnMain();
  }

  /// One block with these messages; the main thread is busy.
  void playBlock(const std::vector<DeviceEvent>& events) {
    const auto bytesOf = [](MidiMessage message) {
      return std::array<std::uint8_t, 3>{message.status, message.data1, message.data2};
    };
    std::span<DeviceEvent> taken;
    {
      const AudioThreadScope block;
      lane.beginBlock();
      for (const DeviceEvent& event : events) {
        lane.add(event.frame, bytesOf(event.message));
      }
      taken = lane.events();
    }
    device->playWith(taken);
    const AudioThreadScope block;
    for (const DeviceEvent& event : events) {
      dropped += lane.handOn(bytesOf(event.message)) ? 0 : 1;
    }
  }

  /// What the main thread does with all that was played so far.
  void routeOnMain() {
    audio::PlayedPacket packet;
    while (lane.pop(packet)) {
      engine->midiRouter().routeMIDI(
          packet.bytes[0], packet.bytes[1], packet.bytes[2],
          packet.areInstrumentsServed ? MidiRouter::Instruments::served : MidiRouter::Instruments::waiting);
    }
  }

  /// Until the device plays silence.
  void stop() {
    engine->engine().stop();
    device->play(audio::RenderCore::longestEnding / LiveDevice::frames + 1);
  }

  [[nodiscard]] Messages taken(const std::string& name) {
    Messages messages;
    for (const auto& event : instruments.at(name)->taken()) {
      messages.push_back(event.message);
    }
    return messages;
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  std::shared_ptr<LiveDevice> device = std::make_shared<LiveDevice>();
  audio::RenderNodeFactory nodes{device, std::make_shared<audio::RenderCounters>()};
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  std::map<std::string, std::shared_ptr<RecordingInstrument>> instruments;
  std::shared_ptr<audio::OwedMessages> owed = std::make_shared<audio::OwedMessages>();
  audio::PacketLane lane{std::size_t{1} << 14U, owed};
  int dropped = 0;  // since nobody took them
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console});
};

class RoutingLanes : public testing::Test {
 protected:
  Machine machine;
};

TEST_F(RoutingLanes, ANoteReachesItsInstrumentsAtItsFrameSplitAndTransposed) {
  const auto low = machine.addStrip("low");
  const auto high = machine.addStrip("high");
  low->maxNote.set(59);
  high->minNote.set(60);
  high->transpose.set(12);
  machine.play({{5, {0x90, 59, 100}}, {77, {0x90, 60, 100}}, {127, {0xE0, 0, 64}}});
  using Taken = std::vector<audio::test::TakenEvent>;
  EXPECT_EQ(machine.instruments["low"]->taken(), (Taken{{5, {0x90, 59, 100}}, {127, {0xE0, 0, 64}}}));
  EXPECT_EQ(machine.instruments["high"]->taken(), (Taken{{77, {0x90, 72, 100}}, {127, {0xE0, 0, 64}}}));
}

TEST_F(RoutingLanes, ABlockLargerThanThoseOfTheGraphKeepsTheFrames) {
  machine.addStrip("piano");
  std::vector<DeviceEvent> events{
      {10, {0x90, 60, 1}}, {1024, {0x90, 61, 1}}, {2047, {0x90, 62, 1}}, {9999, {0x90, 63, 1}}};
  machine.device->playWith(events, 2048);
  using Taken = std::vector<audio::test::TakenEvent>;
  EXPECT_EQ(machine.instruments["piano"]->taken(),
            (Taken{{10, {0x90, 60, 1}}, {1024, {0x90, 61, 1}}, {2047, {0x90, 62, 1}}, {2047, {0x90, 63, 1}}}));
}

TEST_F(RoutingLanes, TheMainThreadStillSeesEachMessageButSendsNoneTwice) {
  machine.addStrip("piano");
  std::vector<int> keys;
  Messages controls;
  machine.engine->midiCallbacks.onMidiNoteActivity = [&](std::uint8_t note, bool isOn) {
    keys.push_back(isOn ? note : -note);
  };
  machine.engine->midiCallbacks.onMidiControlMessage = [&](std::uint8_t status, std::uint8_t data1,
                                                           std::uint8_t data2) {
    controls.push_back({status, data1, data2});
  };
  machine.play({{0, {0x90, 60, 100}}, {9, {0xB0, 7, 3}}, {20, {0x80, 60, 0}}});
  machine.play({});
  EXPECT_EQ(keys, (std::vector<int>{60, -60}));
  EXPECT_EQ(controls, (Messages{{0x90, 60, 100}, {0xB0, 7, 3}, {0x80, 60, 0}}));
  EXPECT_EQ(machine.taken("piano"), (Messages{{0x90, 60, 100}, {0xB0, 7, 3}, {0x80, 60, 0}}));
}

TEST_F(RoutingLanes, AStoppedEngineRoutesNothing) {
  machine.addStrip("piano");
  machine.stop();
  machine.play({{0, {0x90, 60, 100}}});
  ASSERT_FALSE(machine.engine->engine().start());
  machine.play({{0, {0x90, 61, 100}}});
  EXPECT_EQ(machine.taken("piano"), (Messages{{0x90, 61, 100}}));
}

TEST_F(RoutingLanes, AfterAFailedRestartNoInstrumentGetsANote) {
  machine.addStrip("piano");
  machine.device->failure = Error{"the sound card is gone"};
  machine.engine->engine().stop();
  ASSERT_TRUE(machine.engine->engine().start());
  std::vector<DeviceEvent> events{{0, {0x90, 60, 100}}};
  machine.device->playWith(events);
  EXPECT_FALSE(events.front().isRouted);
  EXPECT_TRUE(machine.taken("piano").empty());
}

TEST_F(RoutingLanes, ANoteDuringAGraphChangeKeepsItsFrame) {
  const auto piano = machine.addStrip("piano");
  std::vector<DeviceEvent> events{{33, {0x90, 60, 100}}};
  machine.engine->performGraphMutation("test", [&] { machine.device->playWith(events); });
  EXPECT_TRUE(events.front().isRouted);
  using Taken = std::vector<audio::test::TakenEvent>;
  EXPECT_EQ(machine.instruments["piano"]->taken(), (Taken{{33, {0x90, 60, 100}}}));
}

TEST_F(RoutingLanes, ANoteThatTheMainThreadStillOwesIsNotOvertakenByItsEnd) {
  machine.addStrip("piano");
  machine.stop();
  machine.playBlock({{0, {0x90, 60, 100}}});
  ASSERT_FALSE(machine.engine->engine().start());
  machine.playBlock({{5, {0x80, 60, 0}}});
  EXPECT_TRUE(machine.taken("piano").empty());
  machine.routeOnMain();
  machine.playBlock({{7, {0x90, 62, 100}}});
  EXPECT_EQ(machine.taken("piano"), (Messages{{0x90, 60, 100}, {0x80, 60, 0}, {0x90, 62, 100}}));
  EXPECT_EQ(machine.instruments["piano"]->taken().back().frame % LiveDevice::frames, 7U) << "at its frame again";
}

TEST_F(RoutingLanes, AFloodThatFindsNoRoomDoesNotKeepNotesFromTheirFrameForLong) {
  machine.addStrip("piano");
  machine.stop();
  const std::vector<DeviceEvent> flood(100, {0, {0x90, 60, 100}});
  while (machine.dropped == 0) {
    machine.playBlock(flood);
  }
  ASSERT_TRUE(machine.owed->any());
  machine.routeOnMain();
  EXPECT_FALSE(machine.owed->any()) << "what was dropped is owed by nobody";
  ASSERT_FALSE(machine.engine->engine().start());
  machine.playBlock({{7, {0x90, 62, 100}}});
  EXPECT_EQ(machine.taken("piano"), (Messages{{0x90, 62, 100}}));
}

TEST_F(RoutingLanes, APortThatEndsOwesNothing) {
  {
    audio::PacketLane ending(1024, machine.owed);
    const AudioThreadScope block;
    const std::array<std::uint8_t, 3> note{0x90, 60, 100};
    const std::array<std::uint8_t, 1> clock{0xF8};
    ASSERT_TRUE(ending.handOn(clock));
    EXPECT_FALSE(machine.owed->any()) << "a clock is routed to nobody";
    ASSERT_TRUE(ending.handOn(note));
    EXPECT_TRUE(machine.owed->any());
  }
  EXPECT_FALSE(machine.owed->any());
}

TEST_F(RoutingLanes, AnInstrumentThatHasLeftItsStripGetsNothing) {
  const auto strip = machine.addStrip("old");
  const auto removed = machine.addStrip("removed");
  machine.install(*strip, "next");
  machine.engine->removeChannel(*removed);
  machine.play({{1, {0x90, 60, 100}}});
  EXPECT_TRUE(machine.taken("old").empty());
  EXPECT_TRUE(machine.taken("removed").empty());
  EXPECT_EQ(machine.taken("next"), (Messages{{0x90, 60, 100}}));
}

TEST_F(RoutingLanes, ANoteWhileAllStripsLeaveIsNotHeardFromThePool) {
  const auto first = machine.addStrip("first");
  machine.addStrip("second");
  int notes = 0;
  const auto connection = first->instrumentNode.changed.connect([&](const auto&) {
    machine.play({{1, {0x90, 60, 100}}});
    ++notes;
  });
  machine.engine->removeAllChannels();
  EXPECT_EQ(notes, 1);
  EXPECT_TRUE(machine.taken("first").empty());
  EXPECT_TRUE(machine.taken("second").empty());
}

TEST_F(RoutingLanes, PanicKeysOfTheScreenAndLearnedControlsComeBehindWhatWasRoutedBefore) {
  machine.addStrip("piano");
  machine.play({{100, {0x90, 60, 100}}});
  machine.engine->routeMIDI(0x90, 61, 100);
  machine.engine->sendPerformanceMIDI(0xB0, 1, 5);
  machine.engine->panic();
  machine.play({{0, {0x90, 62, 100}}});
  const auto taken = machine.taken("piano");
  ASSERT_EQ(taken.size(), 3 + 192 + 1);
  EXPECT_EQ(Messages(taken.begin(), taken.begin() + 3), (Messages{{0x90, 60, 100}, {0x90, 61, 100}, {0xB0, 1, 5}}));
  EXPECT_EQ(taken[194], (MidiMessage{0x80, 127, 0}));
  EXPECT_EQ(taken.back(), (MidiMessage{0x90, 62, 100}));
  EXPECT_EQ(machine.instruments["piano"]->taken()[1].frame, 128U) << "at the beginning of the next block";
}

TEST_F(RoutingLanes, APanicEndsTheNotesThatWaitForTheirBlock) {
  machine.addStrip("piano");
  machine.device->play(1);
  const auto play = [&](MidiMessage message) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return machine.device->timed->push(std::chrono::nanoseconds(now).count(), message);
  };
  ASSERT_TRUE(play({0x90, 60, 100}));
  ASSERT_TRUE(play({0xB0, 64, 127}));
  ASSERT_TRUE(play({0xB0, 7, 90}));
  machine.engine->panic();
  ASSERT_TRUE(play({0x90, 62, 100}));
  machine.device->play(100);
  const auto taken = machine.taken("piano");
  ASSERT_EQ(taken.size(), 192 + 2);
  EXPECT_EQ(taken[191], (MidiMessage{0x80, 127, 0}));
  EXPECT_EQ(Messages(taken.end() - 2, taken.end()), (Messages{{0xB0, 7, 90}, {0x90, 62, 100}}));
}

TEST_F(RoutingLanes, SixteenSourcesWithFiftyThousandMessagesASecondLoseNothing) {
  machine.addStrip("piano");
  constexpr std::uint32_t perBlock = 134;  // of 128 frames at 48000
  constexpr int blocks = 375;
  std::map<std::pair<int, int>, int> held;
  std::uint32_t count = 0;
  for (int block = 0; block < blocks; ++block) {
    std::vector<DeviceEvent> events;
    for (std::uint32_t index = 0; index < perBlock; ++index, ++count) {
      const auto source = static_cast<std::uint8_t>(count % 16);
      const auto key = static_cast<std::uint8_t>(count / 32 % 128);
      const bool isPress = count / 16 % 2 == 0;
      events.push_back(
          {index * 128 / perBlock, {static_cast<std::uint8_t>((isPress ? 0x90 : 0x80) + source), key, 100}});
    }
    machine.play(events);
  }
  EXPECT_EQ(machine.instruments["piano"]->taken().size(), count);
  machine.engine->panic();
  machine.play({});
  EXPECT_EQ(machine.instruments["piano"]->taken().size(), count + 192);
  EXPECT_EQ(machine.engine->channels().front()->midiInstrument()->droppedEvents(), 0U);
}

TEST(RoutingOfABlock, WhatItsFirstFramesLeaveToTheMainThreadIsNotOvertakenByItsLaterOnes) {
  audio::test::StageOn<LiveDevice> stage(std::make_shared<LiveDevice>());
  const auto instrument = std::make_shared<RecordingInstrument>();
  stage.engine->attach(instrument);
  bool hasRoutes = false;
  const auto source = audio::test::makeSource(1, [&](std::uint64_t, std::uint32_t) {
    if (!std::exchange(hasRoutes, true)) {
      const ForeignCodeScope mainThreadMeanwhile;
      stage.engine->setInstrumentRoutes({{.instrument = instrument, .rules = {}}});
    }
    return 0.0F;
  });
  stage.engine->attach(source);
  stage.link(source, stage.engine->mainMixerNode());
  ASSERT_FALSE(stage.engine->start());
  std::vector<DeviceEvent> events{{0, {0x90, 60, 100}}, {2000, {0x80, 60, 0}}};
  stage.device->playWith(events, 2048);
  ASSERT_TRUE(hasRoutes);
  EXPECT_FALSE(events.front().isRouted);
  EXPECT_FALSE(events.back().isRouted);
}

/// The same performance and the same edits on two machines: what is played goes through the main thread of one and
/// through the blocks of the other.
class BothLanes : public testing::TestWithParam<unsigned> {
 protected:
  std::uint8_t byte(int most = 127) {
    return static_cast<std::uint8_t>(std::uniform_int_distribution<int>(0, most)(random));
  }
  bool oneIn(int count) { return std::uniform_int_distribution<int>(1, count)(random) == 1; }

  MidiMessage anyMessage() {
    static constexpr std::array<std::uint8_t, 12> statuses{0x80, 0x90, 0x90, 0x90, 0xA0, 0xB0,
                                                           0xB0, 0xC0, 0xD0, 0xE0, 0xF0, 0x30};
    static constexpr std::array<std::uint8_t, 6> controllers{0, 1, 11, 32, 64, 123};
    const auto status = static_cast<std::uint8_t>(statuses[byte(statuses.size() - 1)] + byte(15));
    const bool isController = (status & 0xF0) == 0xB0 && oneIn(2);
    return {status, isController ? controllers[byte(5)] : byte(oneIn(20) ? 255 : 127), byte(oneIn(20) ? 255 : 127)};
  }

  void playOne() {
    const MidiMessage message = anyMessage();
    mainLane.engine->routeMIDI(message.status, message.data1, message.data2);
    lastFrame = std::min<std::uint32_t>(127, lastFrame + byte(9));
    batch.push_back({lastFrame, message});
    if (batch.size() > 200) {
      flush();
    }
  }

  /// The blocks have taken all that was played so far.
  void flush() {
    mainLane.device->play(1);
    audioLane.play(std::exchange(batch, {}));
    lastFrame = 0;
  }

  template <typename Work>
  void onBoth(Work work) {
    flush();
    work(mainLane);
    work(audioLane);
    flush();
  }

  void edit() {
    const std::size_t count = mainLane.engine->channels().size();
    const std::size_t index = count == 0 ? 0 : byte(static_cast<int>(count) - 1);
    const auto low = byte();
    const auto high = byte();
    const int kind = count == 0 ? 0 : byte(15);
    const std::string name = "instrument " + std::to_string(++instrumentCount);
    onBoth([&](Machine& machine) {
      const Channel channel = count == 0 ? nullptr : machine.engine->channels()[index];
      switch (kind) {
        case 0:
          if (count < 8) {
            machine.addStrip(name);
          }
          break;
        case 1:
          machine.engine->removeChannel(*channel);
          break;
        case 2:
          machine.engine->moveChannel(index, high % (count + 1));
          break;
        case 3:
          machine.install(*channel, name);
          break;
        case 4:
          machine.engine->instruments().unloadInstrument(*channel);
          break;
        case 5:
          machine.engine->instruments().loadVisualInstrument(*channel, {}, nullptr);
          break;
        case 6:
          channel->transpose.set(static_cast<std::int8_t>(high - 64));
          break;
        case 7:
          channel->sendSustain.set(high % 2 == 0);
          break;
        case 8:
          channel->sendExpression.set(high % 2 == 0);
          break;
        case 9:
          channel->sustainControlsRotor.set(high % 2 == 0);
          break;
        case 10:
          machine.engine->panic();
          break;
        case 11:
          machine.engine->sendPerformanceMIDI(low < 64 ? 0xB0 : 0xE0, low < 32 ? 64 : 11, high);
          break;
        case 12:
          machine.engine->routeMIDI(high % 2 == 0 ? 0x90 : 0x80, low, 100);
          break;
        case 13:
          machine.engine->performGraphMutation("test", [] {});
          break;
        default:
          channel->minNote.set(std::min(low, high));
          channel->maxNote.set(high % 8 == 0 ? low : std::max(low, high));
      }
    });
  }

  std::mt19937 random{GetParam()};
  Machine mainLane;
  Machine audioLane;
  std::vector<DeviceEvent> batch;
  std::uint32_t lastFrame = 0;
  int instrumentCount = 0;
};

TEST_P(BothLanes, GiveEveryInstrumentTheSame) {
  for (int step = 0; step < 4000; ++step) {
    if (oneIn(12)) {
      edit();
    } else {
      playOne();
    }
  }
  flush();
  ASSERT_EQ(mainLane.instruments.size(), audioLane.instruments.size());
  std::size_t compared = 0;
  for (const auto& [name, instrument] : mainLane.instruments) {
    ASSERT_EQ(mainLane.taken(name), audioLane.taken(name)) << name;
    compared += instrument->taken().size();
  }
  EXPECT_GT(compared, 1000U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, BothLanes, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace vrel
