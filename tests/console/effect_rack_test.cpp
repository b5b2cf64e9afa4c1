// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/effect_rack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "console/window/console_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;

/// Two songs with two strips each, the first on stage, and a delay beside the chorus.
class Rack : public window::ConsoleStage {
 protected:
  Rack() {
    state.scannedAudioEffectPlugins.set({chorus, delay});
    addSong("One", {record("A", ""), record("B", "")});
    addSong("Two", {record("C", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
    state.isDirty.set(false);
  }

  [[nodiscard]] EffectRack& rack() { return content.effectRack(); }
  [[nodiscard]] AudioChannel& master() { return *engine->masterChannel(); }

  Uuid addSlot(AudioChannel& channel, const std::string& name) {
    auto slot = AudioPluginSlot{.pluginPath = name.empty() ? "" : chorusKey, .pluginName = name};
    const auto id = slot.id;
    channel.effectSlots.modify([&](auto& slots) { slots.push_back(slot); });
    return id;
  }

  static Names names(const AudioChannel& channel) {
    Names all;
    for (const auto& slot : channel.effectSlots.get()) {
      all.push_back(slot.pluginName);
    }
    return all;
  }

  static inline const AVAudioUnitComponent delay{"Delay", "Other", {componentTypeEffect, 31, 20}};
  static inline const std::string delayKey = "aucd:1635083896:31:20";
};

TEST_F(Rack, ThreeSlotsOfWhichOneIsEmptyCountTwo) {
  addSlot(strip(0), "One");
  addSlot(strip(0), "");
  addSlot(strip(0), "Three");
  const auto occupied = EffectRack::occupiedSlots(strip(0));
  ASSERT_EQ(occupied.size(), 2U);
  EXPECT_EQ(occupied[0].pluginName, "One");
  EXPECT_EQ(occupied[1].pluginName, "Three");
}

TEST_F(Rack, APressOpensAndAnotherCloses) {
  rack().toggle(strip(0));
  EXPECT_EQ(rack().channel()->id, strip(0).id);
  rack().toggle(strip(1));
  EXPECT_EQ(rack().channel()->id, strip(1).id);
  rack().toggle(master());
  EXPECT_EQ(rack().channel(), engine->masterChannel());
  rack().toggle(master());
  EXPECT_EQ(rack().channel(), nullptr);
}

TEST_F(Rack, APickPutsTheEffectAtTheEndOfTheChain) {
  addSlot(strip(0), "One");
  rack().toggle(strip(0));
  rack().pick(chorusKey);
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), "Loading audio effect");
  EXPECT_TRUE(state.isDirty.get()) << "at once, without waiting for the result";
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(names(strip(0)), (Names{"One", "Chorus"}));
  EXPECT_EQ(strip(0).effectNodes.get().size(), 1U);
  EXPECT_EQ(rack().channel()->id, strip(0).id) << "it stays open for the next one";
}

TEST_F(Rack, TheMastersRackHasItsOwnWords) {
  rack().toggle(master());
  rack().pick(chorusKey);
  EXPECT_EQ(state.loadingMessage.get(), "Loading master effect");
  answerAll();
  EXPECT_EQ(names(master()), Names{"Chorus"});
}

TEST_F(Rack, APickReplacesTheSlotThatWasChosenAndKeepsItsPlaceAndId) {
  const auto first = addSlot(strip(0), "One");
  addSlot(strip(0), "Two");
  rack().toggle(strip(0));
  rack().toggleReplaced(first);
  rack().pick(delayKey);
  answerAll();
  EXPECT_EQ(names(strip(0)), (Names{"Delay", "Two"}));
  EXPECT_EQ(strip(0).effectSlots.get()[0].id, first);
  EXPECT_FALSE(rack().replacedSlotId.get().has_value());
}

TEST_F(Rack, ASlotThatIsNoLongerToBeReplacedStays) {
  const auto first = addSlot(strip(0), "One");
  rack().toggle(strip(0));
  rack().toggleReplaced(first);
  rack().toggleReplaced(first);
  rack().pick(delayKey);
  answerAll();
  EXPECT_EQ(names(strip(0)), (Names{"One", "Delay"}));
}

TEST_F(Rack, ASlotThatIsRemovedBeforeThePickIsNotReplaced) {
  const auto first = addSlot(strip(0), "One");
  rack().toggle(strip(0));
  rack().toggleReplaced(first);
  rack().remove(first);
  rack().pick(delayKey);
  answerAll();
  EXPECT_EQ(names(strip(0)), Names{"Delay"});
  EXPECT_NE(strip(0).effectSlots.get()[0].id, first);
}

TEST_F(Rack, AFailedLoadEndsTheModalAndAddsNothing) {
  rack().toggle(strip(0));
  rack().pick(chorusKey);
  settle();
  units.answer(0, nullptr, std::nullopt);
  units.answer(0, nullptr, std::nullopt);
  settle();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_TRUE(strip(0).effectSlots.get().empty());
}

TEST_F(Rack, APluginThatVanishedBetweenListAndPickIsLoggedAndChangesNothing) {
  rack().toggle(strip(0));
  state.scannedAudioEffectPlugins.set({delay});
  rack().pick(chorusKey);
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_THAT(console.lines, testing::Contains("Failed to load effect plugin: " + chorusKey + " is not installed (A)"));
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::effect}));
}

TEST_F(Rack, AStormOfPressesOnOneRowAddsOneEffect) {
  rack().toggle(strip(0));
  for (int press = 0; press < 100; ++press) {
    rack().pick(chorusKey);
  }
  answerAll();
  EXPECT_EQ(names(strip(0)), Names{"Chorus"});
}

TEST_F(Rack, ArrowsMoveAnEffectOnePlaceAndNotBeyondTheEnds) {
  addSlot(strip(0), "One");
  const auto two = addSlot(strip(0), "Two");
  addSlot(strip(0), "Three");
  rack().toggle(strip(0));
  rack().moveDown(two);
  EXPECT_EQ(names(strip(0)), (Names{"One", "Three", "Two"}));
  EXPECT_TRUE(state.isDirty.get());
  state.isDirty.set(false);
  rack().moveDown(two);
  EXPECT_EQ(names(strip(0)), (Names{"One", "Three", "Two"}));
  EXPECT_FALSE(state.isDirty.get()) << "the last one stays last";
  rack().moveUp(two);
  rack().moveUp(two);
  EXPECT_EQ(names(strip(0)), (Names{"Two", "One", "Three"}));
  state.isDirty.set(false);
  rack().moveUp(two);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Rack, AnArrowMovesPastSlotsThatAreNotShown) {
  const auto one = addSlot(strip(0), "One");
  addSlot(strip(0), "");
  addSlot(strip(0), "Three");
  rack().toggle(strip(0));
  rack().moveDown(one);
  EXPECT_EQ(names(strip(0)), (Names{"", "Three", "One"}));
  rack().moveUp(one);
  EXPECT_EQ(names(strip(0)), (Names{"", "One", "Three"}));
}

TEST_F(Rack, RemovingTakesTheSlotOut) {
  const auto one = addSlot(strip(0), "One");
  addSlot(strip(0), "Two");
  rack().toggle(strip(0));
  rack().remove(one);
  EXPECT_EQ(names(strip(0)), Names{"Two"});
  EXPECT_TRUE(state.isDirty.get());
  state.isDirty.set(false);
  rack().remove(one);
  EXPECT_FALSE(state.isDirty.get()) << "it was gone already";
}

TEST_F(Rack, InLiveModeItOpensAndListsAndNothingCanBeChanged) {
  const auto one = addSlot(strip(0), "One");
  const auto two = addSlot(strip(0), "Two");
  content.liveMode().setLiveMode(true);
  rack().toggle(strip(0));
  EXPECT_EQ(rack().channel()->id, strip(0).id);
  EXPECT_EQ(rack().groups().size(), 2U);
  rack().moveDown(one);
  rack().moveUp(two);
  rack().remove(one);
  rack().toggleReplaced(one);
  rack().pick(chorusKey);
  settle();
  EXPECT_EQ(names(strip(0)), (Names{"One", "Two"}));
  EXPECT_FALSE(rack().replacedSlotId.get().has_value());
  EXPECT_TRUE(units.requests.empty());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Rack, EachStripKeepsItsSearchTextUntilItGoes) {
  rack().toggle(strip(0));
  rack().searchText.set("other");
  ASSERT_EQ(rack().groups().size(), 1U);
  EXPECT_EQ(rack().groups()[0].manufacturerName, "Other");
  rack().toggle(strip(1));
  EXPECT_EQ(rack().searchText.get(), "");
  rack().searchText.set("cho");
  rack().toggle(*engine->masterChannel());
  EXPECT_EQ(rack().searchText.get(), "");
  rack().toggle(strip(0));
  EXPECT_EQ(rack().searchText.get(), "other");
  rack().close();
  EXPECT_EQ(rack().searchText.get(), "") << "nothing is searched while none is open";
  content.channelOperations().removeChannelFromConsole(strip(0));
  rack().toggle(strip(0));
  EXPECT_EQ(rack().searchText.get(), "cho");
}

TEST_F(Rack, DeletingTheLastSongClosesIt) {
  rack().toggle(strip(0));
  while (!state.songs.get().empty()) {
    content.songList().deleteSong(state.songs.get().back().id);
  }
  EXPECT_FALSE(rack().openChannelId.get().has_value());
}

TEST_F(Rack, ARemovedStripClosesItsRackAndNothingCanBeDoneToIt) {
  const auto one = addSlot(strip(0), "One");
  rack().toggle(strip(0));
  content.channelOperations().removeChannelFromConsole(strip(0));
  EXPECT_FALSE(rack().openChannelId.get().has_value());
  rack().pick(chorusKey);
  rack().remove(one);
  rack().moveDown(one);
  settle();
  EXPECT_TRUE(units.requests.empty());
}

TEST_F(Rack, ASongSwitchClosesAStripsRackAndLeavesTheMastersOpen) {
  rack().toggle(strip(0));
  content.songSwitch().applySong(1);
  EXPECT_EQ(rack().channel(), nullptr);
  answerAll();
  rack().toggle(master());
  content.songSwitch().applySong(0);
  EXPECT_EQ(rack().channel(), engine->masterChannel());
}

TEST_F(Rack, AStripThatGoesWhileItsEffectLoadsEndsTheModal) {
  rack().toggle(strip(0));
  rack().pick(chorusKey);
  settle();
  content.channelOperations().removeChannelFromConsole(strip(0));
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

/// A rack whose one effect has died.
class RackWithADeadEffect : public Rack {
 protected:
  RackWithADeadEffect() {
    rack().toggle(strip(0));
    rack().pick(chorusKey);
    answerAll();
    const auto node = strip(0).effectNodes.get().begin()->second;
    EXPECT_TRUE(engine->effects().loseEffectNode(strip(0), node));
    state.isDirty.set(false);
  }

  [[nodiscard]] AudioPluginSlot slot() { return strip(0).effectSlots.get().front(); }
  [[nodiscard]] bool isDead() { return strip(0).failedEffects.get().contains(slot().id); }
};

TEST_F(RackWithADeadEffect, ItIsLoadedAgainOnceHoweverOftenTheButtonIsPressed) {
  for (int press = 0; press < 100; ++press) {
    rack().revive(slot().id);
  }
  EXPECT_EQ(units.requests.size(), 1U);
  EXPECT_TRUE(rack().revivedSlots.get().contains(slot().id));
  answerAll();
  EXPECT_FALSE(isDead());
  EXPECT_EQ(strip(0).effectNodes.get().size(), 1U);
  EXPECT_TRUE(rack().revivedSlots.get().empty());
  EXPECT_FALSE(state.isDirty.get()) << "the song is as it was";
  rack().revive(slot().id);
  EXPECT_TRUE(units.requests.empty()) << "it is alive";
}

TEST_F(RackWithADeadEffect, ItIsLoadedAgainInLiveModeToo) {
  content.liveMode().setLiveMode(true);
  rack().toggle(strip(0));  // which was closed
  rack().revive(slot().id);
  answerAll();
  EXPECT_FALSE(isDead());
}

TEST_F(RackWithADeadEffect, ALoadThatFailsCanBeTriedAgain) {
  rack().revive(slot().id);
  units.answer(0, nullptr, Error{"a"});
  units.answer(0, nullptr, Error{"b"});
  settle();
  EXPECT_TRUE(isDead());
  rack().revive(slot().id);
  EXPECT_EQ(units.requests.size(), 1U);
}

TEST_F(RackWithADeadEffect, OneWhosePluginIsNotInstalledAnyMoreStaysDead) {
  EXPECT_TRUE(rack().isInstalled(slot()));
  state.scannedAudioEffectPlugins.set({delay});
  EXPECT_FALSE(rack().isInstalled(slot()));
  rack().revive(slot().id);
  EXPECT_TRUE(units.requests.empty());
  EXPECT_TRUE(rack().revivedSlots.get().empty());
}

}  // namespace
}  // namespace vrel
