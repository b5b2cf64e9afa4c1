// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/every_order.h"
#include "support/orders.h"
#include "support/session_on.h"
#include "support/simulated_stage.h"

// Songs that change while the plug-ins of the last one are still on their way, in every order of answers.

namespace vrel {
namespace {

/// Two songs, each with an instrument and an effect behind it.
struct SongMachine : SimulatedMachine, SessionOn {
  SongMachine() : SessionOn(*engine, mainQueue, clock, console) {
    state.scannedPlugins.set({piano, organ});
    state.scannedAudioEffectPlugins.set({chorus});
    setSongs({songOf(pianoKey, {}), songOf(organKey, {chorusKey})});
  }

  static SongConfig songOf(const std::string& instrument, const std::vector<std::string>& effects) {
    SongConfig song;
    auto& record = song.channels.emplace_back();
    record.pluginPath = instrument;
    for (const auto& effect : effects) {
      record.effectSlots.emplace_back().pluginPath = effect;
    }
    return song;
  }

  void answer(std::size_t index, Ending ending) {
    if (ending != Ending::node) {
      units.answer(index, nullptr, Error{"broken"});
    } else if (units.requests[index].isForMIDIInstrument) {
      created.emplace_back(units.answerWithInstrument(index));
    } else {
      created.emplace_back(units.answerWithUnit(index));
    }
  }

  void playOut(EveryOrder& order, Happenings happenings, const std::vector<Ending>& endings) {
    answerInOrder(*this, order, std::move(happenings), endings,
                  [this](std::size_t index, Ending ending) { answer(index, ending); });
  }

  /// Every node that lives is in a strip of this song or parked.
  void expectNothingLost() {
    std::map<std::shared_ptr<AVAudioNode>, int> holders;
    for (const auto& channel : engine->channels()) {
      ++holders[channel->instrumentNode.get()];
      for (const auto& [id, node] : channel->effectNodes.get()) {
        ++holders[node];
      }
    }
    for (const auto& key : {pianoKey, organKey}) {
      EXPECT_FALSE(engine->pluginPool().isPrewarming(key));
      while (const auto node = engine->pluginPool().take(key)) {
        ++holders[node];
        EXPECT_FALSE(graph().isAttached(node));
      }
    }
    for (const auto& weakNode : created) {
      const auto node = weakNode.lock();
      EXPECT_EQ(node != nullptr ? holders[node] : 1, 1);
    }
  }

  std::vector<std::weak_ptr<AVAudioNode>> created;
};

void expectTheSecondSong(SongMachine& machine) {
  EXPECT_EQ(machine.state.songSwitchPendingLoads.get(), 0);
  EXPECT_FALSE(machine.state.songSwitchInProgress.get());
  EXPECT_FALSE(machine.state.showLoadingModal.get());
  ASSERT_EQ(machine.engine->channels().size(), 1U);
  const auto& channel = *machine.engine->channels()[0];
  const auto node = channel.instrumentNode.get();
  if (node == nullptr) {
    EXPECT_EQ(channel.status.get(), ChannelStatus::loadFailed);
  } else {
    EXPECT_EQ(channel.status.get(), ChannelStatus::running);
    EXPECT_EQ(channel.pluginPath.get(), SongMachine::organKey);
    EXPECT_TRUE(machine.graph().chainFrom(node).ends_with(" > main mixer > output"));
  }
  machine.expectNothingLost();
  EXPECT_TRUE(machine.graph().isRunning());
  EXPECT_EQ(machine.graph().connectsWhileRunning, 0);
}

TEST(SongOrders, TheSongMayChangeBetweenAnyTwoAnswers) {
  const auto runs = EveryOrder::walk([](EveryOrder& order) {
    SongMachine machine;
    machine.songSwitch.applySong(0);
    machine.settle();
    machine.playOut(order, {[&] { machine.songSwitch.applySong(1); }}, {Ending::node});
    expectTheSecondSong(machine);
    EXPECT_EQ(machine.engine->channels()[0]->status.get(), ChannelStatus::running);
    EXPECT_EQ(machine.engine->channels()[0]->effectNodes.get().size(), 1U);
  });
  EXPECT_GT(runs, 100U);
}

TEST(SongOrders, AndAnyOfThemMayFail) {
  EveryOrder::walk([](EveryOrder& order) {
    SongMachine machine;
    machine.songSwitch.applySong(0);
    machine.settle();
    machine.playOut(order, {[&] { machine.songSwitch.applySong(1); }}, {Ending::node, Ending::error});
    expectTheSecondSong(machine);
  });
}

TEST(SongOrders, TheSongMayChangeBackAndForthAndKeepsItsLastState) {
  EveryOrder::walk([](EveryOrder& order) {
    SongMachine machine;
    machine.songSwitch.applySong(1);
    machine.settle();
    bool hadArrived = false;
    machine.playOut(order, {[&] {
                      hadArrived = machine.engine->channels()[0]->instrumentNode.get() != nullptr;
                      machine.songSwitch.applySong(0);
                      machine.settle();
                      machine.songSwitch.applySong(1);
                    }},
                    {Ending::node});
    EXPECT_EQ(machine.state.songSwitchPendingLoads.get(), 0);
    EXPECT_FALSE(machine.state.songSwitchInProgress.get());
    EXPECT_FALSE(machine.state.showLoadingModal.get());
    EXPECT_EQ(machine.engine->channels()[0]->status.get(),
              hadArrived ? ChannelStatus::running : ChannelStatus::noPlugin);
    machine.expectNothingLost();
  });
}

}  // namespace
}  // namespace vrel
