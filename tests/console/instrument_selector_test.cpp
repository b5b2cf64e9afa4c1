// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/instrument_selector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/plugin_preferences.h"
#include "console/selector_stage.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

class Selector : public SelectorStage {
 protected:
  /// The organ hangs, and the piano is picked when the modal has given up.
  void pickTwiceAndAnswer(std::size_t first) {
    selector().open(strip(0));
    selector().pick(organKey);
    settle();
    state.finishLoadingSession();
    selector().open(strip(0));
    selector().pick(pianoKey);
    settle();
    ASSERT_EQ(units.requests.size(), 2U);
    units.answerWithInstrument(first);
    answerAll();
    EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
    EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
    EXPECT_EQ(engine->pluginPool().idleCount(organKey), 1U) << "what came too late is kept for the next";
  }
};

TEST_F(Selector, OpensForOneStripAndSelectsIt) {
  selector().open(strip(1));
  EXPECT_EQ(selector().channel()->id, strip(1).id);
  EXPECT_EQ(content.selection().selectedChannelId.get(), strip(1).id);
  selector().open(strip(0));
  EXPECT_EQ(selector().channel()->id, strip(0).id);
  selector().cancel();
  EXPECT_FALSE(isOpen());
}

TEST_F(Selector, APickClosesShowsTheModalAndThenLoads) {
  selector().open(strip(0));
  selector().pick(pianoKey);
  EXPECT_FALSE(isOpen());
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), "Loading Audio Units");
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loading);
  EXPECT_TRUE(units.requests.empty()) << "the modal is shown first";
  settle();
  ASSERT_EQ(units.requests.size(), 1U);
  units.answerWithInstrument();
  settle();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).pluginName.get(), "Piano");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Selector, TheInstrumentThatWasPickedIsPlayed) {
  pickAndLoad(0, pianoKey);
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_EQ(eventsOf(strip(0)), (Events{{0x90, 60, 100}}));
}

TEST_F(Selector, AFailedLoadClosesTheModalSaysSoAndKeepsTheOldInstrument) {
  pickAndLoad(0, pianoKey);
  const auto old = strip(0).instrumentNode.get();
  selector().open(strip(0));
  selector().pick(organKey);
  settle();
  units.answer(0, nullptr, Error{"no room"});
  settle();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(strip(0).instrumentNode.get(), old);
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
}

TEST_F(Selector, APluginThatVanishedBetweenListAndPickIsAFailedLoad) {
  selector().open(strip(0));
  state.scannedPlugins.set({organ});
  selector().pick(pianoKey);
  answerAll();
  EXPECT_FALSE(isOpen());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_THAT(console.lines, testing::Contains("Failed to load plugin: " + pianoKey + " is not installed (A)"));
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::instrument}));
}

TEST_F(Selector, AStormOfPressesOnOneRowLoadsOnce) {
  selector().open(strip(0));
  for (int press = 0; press < 100; ++press) {
    selector().pick(pianoKey);
  }
  settle();
  EXPECT_EQ(units.requests.size(), 1U);
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Selector, TheLastOfTwoPicksIsPlayedWhenTheFirstAnswersLast) {
  pickTwiceAndAnswer(1);
}

TEST_F(Selector, TheLastOfTwoPicksIsPlayedWhenBothAnswerInOrder) {
  pickTwiceAndAnswer(0);
}

TEST_F(Selector, ALateLoadDoesNotEndTheModalOfTheNext) {
  selector().open(strip(0));
  selector().pick(organKey);
  settle();
  state.finishLoadingSession();
  selector().open(strip(1));
  selector().pick(pianoKey);
  settle();
  units.answerWithInstrument(0);
  settle();
  EXPECT_TRUE(state.showLoadingModal.get());
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Selector, ARemovedStripClosesItAndAPickAfterwardsDoesNothing) {
  selector().open(strip(0));
  content.channelOperations().removeChannelFromConsole(strip(0));
  EXPECT_FALSE(state.pluginSelectorChannelId.get().has_value());
  selector().pick(pianoKey);
  selector().pickPlayback();
  selector().pickVisual();
  settle();
  EXPECT_TRUE(units.requests.empty());
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

TEST_F(Selector, AnotherStripThatIsRemovedLeavesItOpen) {
  selector().open(strip(0));
  content.channelOperations().removeChannelFromConsole(strip(1));
  EXPECT_TRUE(isOpen());
}

TEST_F(Selector, ASongSwitchClosesIt) {
  selector().open(strip(0));
  content.songSwitch().applySong(1);
  EXPECT_FALSE(state.pluginSelectorChannelId.get().has_value());
  EXPECT_FALSE(isOpen());
}

TEST_F(Selector, AStripThatIsRemovedBeforeItsInstrumentComesEndsTheModal) {
  selector().open(strip(0));
  selector().pick(pianoKey);
  settle();
  content.channelOperations().removeChannelFromConsole(strip(0));
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Selector, AStripThatGoesBeforeTheLoadBeginsEndsTheModal) {
  selector().open(strip(0));
  selector().pick(pianoKey);
  content.channelOperations().removeChannelFromConsole(strip(0));
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Selector, TheSearchTextStaysForTheNextStrip) {
  selector().open(strip(0));
  selector().setSearchText("org");
  selector().cancel();
  selector().open(strip(1));
  ASSERT_EQ(selector().groups().size(), 1U);
  EXPECT_EQ(selector().groups()[0].plugins, std::vector{organ});
}

TEST_F(Selector, ANewScanIsListedAtOnce) {
  state.scannedPlugins.set({});
  EXPECT_TRUE(selector().groups().empty());
  state.scannedPlugins.set({piano});
  EXPECT_EQ(selector().groups().size(), 1U);
}

TEST_F(Selector, ThePlayerOpensItsEditorAndLeavesTheStripToIt) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  selector().pickPlayback();
  answerAll();
  EXPECT_FALSE(isOpen());
  ASSERT_NE(content.trackEditor().channel(), nullptr);
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey) << "its own, after the trial";
}

TEST_F(Selector, InLiveModeNothingIsChosenAndNothingRemoved) {
  pickAndLoad(0, pianoKey);
  state.isDirty.set(false);
  content.liveMode().setLiveMode(true);
  selector().open(strip(0));
  EXPECT_FALSE(isOpen());
  selector().pick(organKey);
  selector().tryOut(organKey);
  selector().pickPlayback();
  selector().pickVisual();
  selector().removeInstrument(strip(0));
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Selector, InLiveModeAnInstrumentThatFailedIsRevived) {
  pickAndLoad(0, pianoKey);
  content.liveMode().setLiveMode(true);
  engine->pluginDied(strip(0).instrumentNode.get(), "It was killed by signal 9");
  settle();
  content.instrumentReload().reload(engine->channels()[0]);
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
}

TEST_F(Selector, DeletingTheLastSongClosesIt) {
  selector().open(strip(0));
  content.songList().deleteSong(song(1).id);
  ASSERT_TRUE(isOpen());
  content.songList().deleteSong(song(0).id);
  EXPECT_FALSE(state.pluginSelectorChannelId.get().has_value());
}

TEST_F(Selector, RemovingEmptiesTheStripAndKeepsItsEffects) {
  pickAndLoad(0, pianoKey);
  addEffect(strip(0), "chorus");
  state.isDirty.set(false);
  selector().removeInstrument(strip(0));
  EXPECT_EQ(strip(0).pluginPath.get(), "");
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::noPlugin);
  EXPECT_EQ(strip(0).effectSlots.get().size(), 1U);
  EXPECT_TRUE(state.isDirty.get());
  state.isDirty.set(false);
  selector().removeInstrument(strip(0));
  EXPECT_FALSE(state.isDirty.get()) << "there was nothing left to remove";
}

TEST_F(Selector, AHeldNoteEndsWithTheInstrumentThatPlayedIt) {
  const auto endsNotes = [](const std::shared_ptr<AVAudioNode>& node) {
    const auto& events = dynamic_cast<simulation::ScriptedInstrument&>(*node).events;
    return testing::Value(events, testing::Contains(simulation::RecordedEvent{0x80, 60, 0}));
  };
  pickAndLoad(0, pianoKey);
  const auto first = strip(0).instrumentNode.get();
  engine->routeMIDI(0x90, 60, 100);
  pickAndLoad(0, organKey);
  EXPECT_TRUE(endsNotes(first));
  const auto second = strip(0).instrumentNode.get();
  engine->routeMIDI(0x90, 60, 100);
  selector().removeInstrument(strip(0));
  EXPECT_TRUE(endsNotes(second));
}

TEST_F(Selector, ARemovedInstrumentIsSilentWhenItIsUsedAgain) {
  pickAndLoad(0, pianoKey);
  const auto node = strip(0).instrumentNode.get();
  auto& instrument = dynamic_cast<simulation::ScriptedInstrument&>(*node);
  // Until here a block may bring a note; what ends it has to come later.
  const auto connection =
      strip(0).instrumentNode.changed.connect([&](const auto&) { instrument.sendMIDIEvent(0x90, 60, 100); });
  selector().removeInstrument(strip(0));
  const auto& events = instrument.events;
  const auto pressed = std::ranges::find(events, simulation::RecordedEvent{0x90, 60, 100});
  ASSERT_NE(pressed, events.end());
  EXPECT_NE(std::find(pressed, events.end(), simulation::RecordedEvent{0x80, 60, 0}), events.end());
}

TEST_F(Selector, TheFavouritesAndThenTheLastUsedComeFirst) {
  pickAndLoad(0, pianoKey);
  pickAndLoad(0, organKey);
  EXPECT_EQ(selector().preferred(), (std::vector{organ, piano}));
  toggleFavouritePlugin(state, pianoKey);
  EXPECT_EQ(selector().preferred(), (std::vector{piano, organ}));
  EXPECT_EQ(selector().groups().size(), 1U) << "the groups below stay whole";
  selector().setSearchText("org");
  EXPECT_EQ(selector().preferred(), std::vector{organ});
  toggleFavouritePlugin(state, pianoKey);
  selector().setSearchText("");
  EXPECT_EQ(selector().preferred(), (std::vector{organ, piano}));
}

TEST_F(Selector, NoMoreThanFiveOfTheLastUsedAreShown) {
  std::vector<AVAudioUnitComponent> many;
  for (std::uint32_t code = 100; code < 160; ++code) {
    many.push_back({"P" + std::to_string(code), "Maker", {componentTypeMusicDevice, code, 20}});
  }
  state.scannedPlugins.set(many);
  for (const auto& each : many) {
    notePluginUse(state, pluginKey(each));
  }
  const auto shown = selector().preferred();
  ASSERT_EQ(shown.size(), 5U);
  EXPECT_EQ(shown[0], many.back());
  EXPECT_EQ(state.recentPlugins.get().size(), 40U);
}

TEST_F(Selector, FavouritesAndLastUsedAreKeptInTheUserDefaults) {
  toggleFavouritePlugin(state, pianoKey);
  toggleFavouritePlugin(state, organKey);
  notePluginUse(state, organKey);
  const AppState next({defaults, components, mainQueue, console, files}, "/home/me/recent_setlists.json");
  EXPECT_EQ(next.favouritePlugins.get(), (std::vector<std::string>{pianoKey, organKey}));
  EXPECT_EQ(next.recentPlugins.get(), std::vector<std::string>{organKey});
}

TEST_F(Selector, AStripWhosePluginIsNotInstalledIsOfferedTheNearestOnes) {
  changeSong(1, [](SongConfig& song) {
    song.channels[0].pluginPath = "au:Elsewhere:Grand Piano";
    song.channels[1].pluginPath = "aucd:1635085685:77:78";
    song.channels[1].name = "Solo";
  });
  content.songSwitch().applySong(1);
  answerAll();
  selector().open(strip(0));
  EXPECT_EQ(selector().nearest(), std::vector{piano});
  selector().setSearchText("org");
  EXPECT_TRUE(selector().nearest().empty()) << "something else is looked for";
  selector().setSearchText("");
  selector().tryOut(organKey);
  answerAll();
  EXPECT_EQ(selector().nearest(), std::vector{piano}) << "still, while another one is tried out";
  selector().open(strip(1));
  EXPECT_TRUE(selector().nearest().empty()) << "nothing is known of it";
  selector().open(strip(0));
  selector().pick(pianoKey);
  answerAll();
  selector().open(strip(0));
  EXPECT_TRUE(selector().nearest().empty()) << "it has an instrument now";
}

TEST_F(Selector, TheListAsksNoPluginForItsState) {
  pickAndLoad(0, pianoKey);
  const auto reads = coreOf(strip(0)).documentStateReads;
  selector().open(strip(0));
  EXPECT_TRUE(selector().nearest().empty());
  EXPECT_EQ(coreOf(strip(0)).documentStateReads, reads);
}

}  // namespace
}  // namespace vrel
