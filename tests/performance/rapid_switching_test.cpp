// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/base64.h"
#include "performance/live_stage.h"

// An arrow key held down, thirty times a second for ten seconds, while plug-ins take their time.

namespace vrel {
namespace {

constexpr int presses = 300;
constexpr double secondsBetween = 1.0 / 30;
constexpr int unitsCreatedBetween = 2;       // so that a switch outlasts some presses
constexpr std::size_t mostPlugins = 50'000;  // of one test

class RapidSwitching : public LiveStage {
 protected:
  RapidSwitching() {
    state.songs.set({});
    state.selectedSongIndex.set(std::nullopt);
    for (int number = 0; number < 6; ++number) {
      addSong("Song " + std::to_string(number), stripsOf(number));
      changeSong(static_cast<std::size_t>(number), [&](SongConfig& song) {
        song.songNotes = "Notes " + std::to_string(number);
        song.tempoBpm = static_cast<std::uint32_t>(60 + number);
        song.masterEffectSlots = {slotOf(100 + number)};
        song.midiControlAssignments.resize(static_cast<std::size_t>(number));
      });
    }
    songSwitch.applySong(0);
    finish();
  }

  [[nodiscard]] std::string stateOf(int number) {
    return base64Encode(propertyLists.ticketFor({PropertyListDictionary{{"number", {std::int64_t{number}}}}}));
  }
  [[nodiscard]] AudioPluginSlot slotOf(int number) {
    AudioPluginSlot slot;
    slot.pluginPath = chorusKey;
    slot.stateBase64 = stateOf(number);
    return slot;
  }
  [[nodiscard]] std::vector<ChannelConfig> stripsOf(int song) {
    std::vector<ChannelConfig> strips;
    for (int index = 0; index <= 2 * (song % 3); ++index) {
      auto& strip = strips.emplace_back(record("Strip", index == 1 ? organKey : pianoKey));
      strip.pluginStateBase64 = stateOf(10 * song + index);
      strip.minNote = static_cast<std::uint8_t>(index);
      strip.volume = 0.25F;
      strip.effectSlots = {slotOf(10 * song + index + 3), slotOf(10 * song + index + 6)};
    }
    strips.push_back(record("Empty", ""));
    return strips;
  }

  /// The songs as they would be saved now, but for the ids of the channels, which are new in each capture.
  [[nodiscard]] std::vector<SongConfig> captured() {
    songSwitch.captureCurrentSong();
    auto songs = state.songs.get();
    for (auto& song : songs) {
      for (auto& channel : song.channels) {
        channel.id = Uuid();
      }
    }
    return songs;
  }

  /// A few plug-ins are created while the clock advances.
  void letPass(double seconds) {
    settle();
    for (int created = 0; created < unitsCreatedBetween && !units.requests.empty(); ++created) {
      if (units.requests[0].isForMIDIInstrument) {
        everMade.emplace_back(units.answerWithInstrument());
      } else {
        everMade.emplace_back(units.answerWithUnit());
      }
      settle();
    }
    mainQueue.advance(seconds);
    settle();
  }

  void finish() {
    do {
      letPass(0);
    } while (!units.requests.empty() && everMade.size() < mostPlugins);
    ASSERT_TRUE(units.requests.empty()) << "more is asked for without end";
  }

  /// Down to the last song, up to the first, and so on.
  void hold(int count) {
    for (int index = 0; index < count; ++index) {
      const auto selected = *state.selectedSongIndex.get();
      isGoingDown = isGoingDown ? selected + 1 < state.songs.get().size() : selected == 0;
      const auto before = state.songSwitchLoadToken.get();
      EXPECT_TRUE(press(isGoingDown ? "down" : "up"));
      switches += state.songSwitchLoadToken.get() == before ? 0 : 1;
      letPass(secondsBetween);
    }
  }

  [[nodiscard]] bool isFirstOnStage() const {
    return *state.selectedSongIndex.get() == 0 && !state.songSwitchInProgress.get();
  }

  [[nodiscard]] std::size_t livingPlugins() const {
    return static_cast<std::size_t>(
        std::count_if(everMade.begin(), everMade.end(), [](const auto& each) { return !each.expired(); }));
  }

  std::vector<std::weak_ptr<AVAudioUnit>> everMade;
  bool isGoingDown = true;
  int switches = 0;
};

TEST_F(RapidSwitching, LosesNothingOfTheSetlist) {
  const auto before = captured();
  hold(presses);
  EXPECT_GT(switches, presses / 10);
  EXPECT_LT(switches, presses) << "some presses come during a switch";
  finish();
  EXPECT_EQ(captured(), before);
  EXPECT_TRUE(console.lines.empty()) << console.lines.front();
}

TEST_F(RapidSwitching, LeavesNothingBehind) {
  const auto backToTheFirst = [this] {
    isGoingDown = false;
    for (int press = 0; press < presses && !isFirstOnStage(); ++press) {
      hold(1);
    }
    ASSERT_TRUE(isFirstOnStage());
    finish();
    mainQueue.advance(SongSwitch::songSwitchTimeoutSeconds + 1);
  };
  hold(presses / 3);
  backToTheFirst();
  const auto living = livingPlugins();
  hold(presses);
  backToTheFirst();
  EXPECT_EQ(livingPlugins(), living);
  for (const auto& key : {pianoKey, organKey}) {
    EXPECT_LE(engine->pluginPool().idleCount(key), PluginPool::largestCountPerKey);
    EXPECT_FALSE(engine->pluginPool().isPrewarming(key));
  }
  EXPECT_EQ(engine->channels().size(), song(0).channels.size());
  EXPECT_TRUE(console.lines.empty()) << "no earlier switch logs its timeout: " << console.lines.front();
}

TEST_F(RapidSwitching, TheLastSongIsReadyWithinTheTimeOfOneSwitch) {
  double longestSwitch = 0;
  for (int index = 0; index < presses; ++index) {
    hold(1);
    if (const auto milliseconds = state.songSwitchElapsedMs.get()) {
      longestSwitch = std::max(longestSwitch, *milliseconds / 1000.0);
    }
  }
  ASSERT_GT(longestSwitch, secondsBetween);
  const auto last = *state.selectedSongIndex.get();
  double waited = 0;
  while (state.songSwitchInProgress.get() && waited <= longestSwitch) {
    letPass(secondsBetween);
    waited += secondsBetween;
  }
  EXPECT_LE(waited, longestSwitch);
  EXPECT_EQ(state.selectedSongIndex.get(), last);
  ASSERT_EQ(engine->channels().size(), song(last).channels.size());
  for (std::size_t index = 0; index + 1 < engine->channels().size(); ++index) {
    EXPECT_EQ(strip(index).status.get(), ChannelStatus::running);
    EXPECT_EQ(strip(index).effectNodes.get().size(), 2U);
  }
}

}  // namespace
}  // namespace vrel
