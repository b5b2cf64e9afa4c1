// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "performance/key_name.h"
#include "performance/live_mode.h"
#include "simulation/scripted_desktop.h"
#include "support/session_on.h"
#include "system/plugins/hosting/real_machine.h"
#include "system/plugins/hosting/real_plugins.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandboxed_node.h"

// Song switches with real plug-ins in the real graph, on virtual time: each comes when the test lets it.

namespace vrel {
namespace {

class RealShows : public RealPlugins {
 protected:
  /// A machine on which a session in Live mode plays these songs, the first on stage.
  struct Show {
    Show(AudioUnitFactory& factory, lv2::Lv2World& world, std::vector<SongConfig> songs) : machine(factory) {
      session.state.scannedPlugins.set(scanInstrumentComponents(world));
      session.state.scannedAudioEffectPlugins.set(scanAudioEffectComponents(world));
      session.setSongs(std::move(songs));
      live.setLiveMode(true);
      session.songSwitch.applySong(0);
      finish();
    }

    bool press(const char* key) { return live.handleLiveKeyDown(keyEventFromName(key).value()); }
    [[nodiscard]] std::size_t selected() { return session.state.selectedSongIndex.get().value(); }
    [[nodiscard]] bool isSwitching() { return session.state.songSwitchInProgress.get(); }

    /// A block is played, a plug-in comes, and the clock goes on.
    void letPass(double seconds) {
      machine.settle();
      if (!machine.units.requests.empty()) {
        machine.units.answer(0);
        machine.settle();
      }
      machine.render(1);
      machine.mainQueue.advance(seconds);
      machine.settle();
    }
    void finish() {
      do {
        letPass(0);
      } while (!machine.units.requests.empty());
    }

    /// Down to the last song, up to the first, and so on, thirty times a second; how many presses were switches.
    int hold(int presses) {
      int switches = 0;
      for (int index = 0; index < presses; ++index) {
        isGoingDown = isGoingDown ? selected() + 1 < session.state.songs.get().size() : selected() == 0;
        const auto before = session.state.songSwitchLoadToken.get();
        EXPECT_TRUE(press(isGoingDown ? "down" : "up"));
        switches += session.state.songSwitchLoadToken.get() == before ? 0 : 1;
        letPass(1.0 / 30);
      }
      return switches;
    }
    void backToTheFirst() {
      for (int index = 0; (selected() > 0 || isSwitching()) && index < 1000; ++index) {
        press("up");
        letPass(1.0 / 30);
      }
      finish();
      machine.mainQueue.advance(SongSwitch::songSwitchTimeoutSeconds + 1);
      machine.settle();
    }

    /// The songs as they would be saved now, but for the ids of the channels, which are new in each capture.
    std::vector<SongConfig> captured() {
      session.songSwitch.captureCurrentSong();
      auto songs = session.state.songs.get();
      for (auto& song : songs) {
        for (auto& channel : song.channels) {
          channel.id = Uuid();
        }
      }
      return songs;
    }

    RealMachine machine;
    SessionOn session{*machine.engine, machine.mainQueue, machine.clock, machine.console};
    simulation::ScriptedDesktop desktop;
    LiveMode live{{session.state, *machine.engine, session.songSwitch, desktop}};
    bool isGoingDown = true;
  };

  [[nodiscard]] ChannelConfig strip(const char* uri, const std::vector<double>& gains,
                                    const std::optional<std::string>& state = std::nullopt) const {
    ChannelConfig record;
    record.pluginPath = pluginKey(component(uri));
    record.pluginStateBase64 = state;
    for (const double gain : gains) {
      record.effectSlots.push_back(gainSlot(gain));
    }
    return record;
  }
};

class RealSwitching : public RealShows, public testing::WithParamInterface<Place> {
 protected:
  /// No two states are the same.
  [[nodiscard]] std::vector<SongConfig> songs() const {
    std::vector<SongConfig> songs(3);
    songs[0].channels = {strip(stateUri, {0.75, 0.5}, keptState(70, 120))};
    songs[1].channels = {strip(sineUri, {0.25}), strip(stateUri, {0.125}, keptState(71, 121)),
                         strip(stateUri, {}, keptState(72, 122)), strip(stateUri, {}, keptState(73, 123))};
    songs[2].channels = {strip(sineUri, {}), strip(sineUri, {0.875})};
    return songs;
  }

  /// What the process holds with the first song on stage and nothing parked: descriptors, shared memory, guests.
  std::vector<std::size_t> holdings(Show& show) {
    for (const auto* uri : {sineUri, stateUri}) {
      while (show.machine.engine->pluginPool().take(pluginKey(component(uri))) != nullptr) {
      }
    }
    const std::size_t guests = GetParam() == Place::sandboxed ? 3 : 0;  // an instrument and two effects
    EXPECT_TRUE(sandbox::happens([&] { return guestCount() == guests; }));
    (void)inProcess_.make(gainUri);  // behind all that is released
    return {sandbox::descriptorCount(), sandbox::sharedMappingCount(), guestCount()};
  }
};

INSTANTIATE_TEST_SUITE_P(Hosting, RealSwitching, testing::Values(Place::inProcess, Place::sandboxed),
                         [](const auto& tested) {
                           return tested.param == Place::inProcess ? "InProcess" : "Sandboxed";
                         });

TEST_P(RealSwitching, AnArrowKeyHeldDownForTenSecondsLosesNothingAndLeavesNothingBehind) {
  Show show(factoryIn(GetParam()), *inProcess_.world, songs());
  show.hold(60);  // every song was on stage, and its plug-ins have given their states
  show.backToTheFirst();
  const auto before = show.captured();
  EXPECT_EQ(before[1].channels[3].pluginStateBase64, keptState(73, 123));
  const auto held = holdings(show);
  const int switches = show.hold(300);
  EXPECT_GT(switches, 30);
  EXPECT_LT(switches, 300) << "some presses come during a switch";
  const auto last = show.selected();
  show.finish();
  EXPECT_EQ(show.selected(), last);
  ASSERT_EQ(show.machine.engine->channels().size(), before[last].channels.size());
  for (const auto& channel : show.machine.engine->channels()) {
    EXPECT_EQ(channel->status.get(), ChannelStatus::running);
    EXPECT_EQ(channel->effectNodes.get().size(), channel->effectSlots.get().size());
  }
  EXPECT_EQ(show.captured(), before);
  show.backToTheFirst();
  EXPECT_EQ(holdings(show), held);
  EXPECT_EQ(show.captured(), before);
  show.machine.expectNothingLost({pluginKey(component(sineUri)), pluginKey(component(stateUri))});
  EXPECT_TRUE(deaths().empty());
}

class APluginThatNeverAnswers : public RealShows {
 protected:
  static constexpr const char* hangingUri = "urn:vrel:zoo:rebel-hang-instantiate";

  /// Two songs, of which the second has an instrument that hangs as it is made, and another one.
  APluginThatNeverAnswers() {
    std::vector<SongConfig> songs(2);
    songs[0].channels = {strip(sineUri, {})};
    songs[1].channels = {strip(hangingUri, {}), strip(sineUri, {})};
    show.emplace(*factory_, *inProcess_.world, std::vector{songs[0]});
    show->session.setSongs(std::move(songs));
  }
  ~APluginThatNeverAnswers() override { endTheHangingGuests(); }

  void answerTheOthers() {
    show->machine.settle();
    for (auto other = nextOther(); other < requests().size(); other = nextOther()) {
      show->machine.units.answer(other);
      show->machine.settle();
    }
  }
  [[nodiscard]] std::vector<HeldUnits::Request>& requests() { return show->machine.units.requests; }
  [[nodiscard]] AudioChannel& channel(std::size_t index) { return *show->machine.engine->channels().at(index); }

  void endTheHangingGuests() {
    std::set<pid_t> hanging;
    EXPECT_TRUE(sandbox::happens([&] {
      hanging = guestsWithoutAPlugin();
      return hanging.size() >= requests().size();
    }));
    for (const auto process : hanging) {
      kill(process, SIGKILL);
    }
  }

  std::optional<Show> show;

 private:
  [[nodiscard]] std::set<pid_t> guestsWithoutAPlugin() {
    const auto all = sandbox::guestsOf(getpid());
    std::set<pid_t> guests(all.begin(), all.end());
    for (const auto& made : show->machine.units.made) {
      const auto node = made.lock();
      if (const auto* sandboxed = dynamic_cast<const SandboxedNode*>(node.get())) {
        guests.erase(sandboxed->processId());
      }
    }
    return guests;
  }

  [[nodiscard]] std::size_t nextOther() {
    const auto& hanging = component(hangingUri).audioComponentDescription;
    return static_cast<std::size_t>(std::find_if(requests().begin(), requests().end(),
                                                 [&](const auto& each) { return each.description != hanging; }) -
                                    requests().begin());
  }
};

TEST_F(APluginThatNeverAnswers, IsGivenUpAfterHalfAMinuteAndTheOthersPlayAllTheWhile) {
  const auto& state = show->session.state;
  auto& machine = show->machine;
  show->press("down");
  answerTheOthers();
  EXPECT_EQ(requests().size(), 2U) << "for the strip, and to be made ahead";
  EXPECT_EQ(channel(0).status.get(), ChannelStatus::loading);
  EXPECT_EQ(channel(1).status.get(), ChannelStatus::running);
  channel(1).midiInstrument()->sendMIDIEvent(0x90, 69, 100);
  EXPECT_GT(lv2::peak(machine.render(4)), 0.1F);

  machine.mainQueue.advance(29.999);
  machine.settle();
  EXPECT_TRUE(show->isSwitching());
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_TRUE(machine.console.lines.empty()) << machine.console.lines.front();
  machine.mainQueue.advance(0.001);
  machine.settle();
  EXPECT_EQ(machine.console.lines, (std::vector<std::string>{"Audio unit loading timed out after 30 seconds",
                                                             "Song switch timed out after 30 seconds"}));
  EXPECT_FALSE(show->isSwitching());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 30000);
  EXPECT_GT(lv2::peak(machine.render(4)), 0.1F);

  EXPECT_TRUE(show->press("up")) << "the arrows act again";
  answerTheOthers();
  EXPECT_EQ(show->selected(), 0U);
  EXPECT_FALSE(show->isSwitching());
}

TEST_F(APluginThatNeverAnswers, MayDieLaterAndNoCounterHearsOfIt) {
  const auto& state = show->session.state;
  auto& machine = show->machine;
  show->press("down");
  answerTheOthers();
  machine.mainQueue.advance(SongSwitch::songSwitchTimeoutSeconds);
  machine.settle();
  ASSERT_FALSE(show->isSwitching());
  machine.console.lines.clear();
  endTheHangingGuests();
  while (!requests().empty()) {
    machine.units.answer(0);
    machine.settle();
  }
  EXPECT_EQ(channel(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(channel(1).status.get(), ChannelStatus::running);
  EXPECT_EQ(machine.console.lines.size(), 2U) << "of the strip, and of what was made ahead";
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 0);
  EXPECT_EQ(state.remainingLoadsCount.get(), 0);
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 30000);
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_P(RealSwitching, SoundIsBackWithTheFirstInstrumentThatHasCome) {
  Show show(factoryIn(GetParam()), *inProcess_.world, songs());
  show.press("down");
  auto& engine = *show.machine.engine;
  show.machine.render(2);
  EXPECT_EQ(lv2::peak(show.machine.render(1)), 0.0F) << "the song before has faded out";
  while (engine.channels().at(0)->status.get() != ChannelStatus::running && !show.machine.units.requests.empty()) {
    show.machine.units.answer(0);
    show.machine.settle();
  }
  EXPECT_TRUE(show.isSwitching());
  EXPECT_FALSE(show.machine.units.requests.empty());
  engine.channels().at(0)->midiInstrument()->sendMIDIEvent(0x90, 69, 100);
  EXPECT_GT(lv2::peak(show.machine.render(4)), 0.1F);
  show.finish();
  EXPECT_FALSE(show.isSwitching());
}

}  // namespace
}  // namespace vrel
