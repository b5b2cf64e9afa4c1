// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/channel_operations.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

class Channels : public SimulatedSession {
 protected:
  Channels() {
    addSong("One", {record("A", ""), record("B", ""), record("C", "")});
    songSwitch.applySong(0);
    state.isDirty.set(false);
    version = selection.channelsViewVersion.get();
  }

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& channel : engine->channels()) {
      all.push_back(channel->name.get());
    }
    return all;
  }

  [[nodiscard]] std::size_t selectedIndex() const {
    const auto& channels = engine->channels();
    const auto found = std::find_if(channels.begin(), channels.end(), [this](const auto& channel) {
      return channel->id == selection.selectedChannelId.get();
    });
    return static_cast<std::size_t>(found - channels.begin());
  }

  void expectChanged() {
    EXPECT_TRUE(state.isDirty.get());
    EXPECT_EQ(selection.channelsViewVersion.get(), version + 1);
  }

  using Names = std::vector<std::string>;
  ChannelOperations operations{state, *engine, builder, selection};
  std::uint64_t version = 0;
};

TEST_F(Channels, TheButtonAddsAnEmptyOneOverTheKeyboardShown) {
  state.keyboardStartNote.set(36);
  state.keyboardKeyCount.set(61);
  operations.addChannelFromButton();
  EXPECT_EQ(names(), (Names{"A", "B", "C", "Instrument 4"}));
  EXPECT_EQ(strip(3).minNote.get(), 36);
  EXPECT_EQ(strip(3).maxNote.get(), 96);
  EXPECT_EQ(strip(3).volume.get(), 0.8F);
  EXPECT_EQ(strip(3).status.get(), ChannelStatus::noPlugin);
  EXPECT_EQ(selection.selectedChannelId.get(), strip(3).id);
  expectChanged();
}

TEST_F(Channels, MovingChangesTheOrderAndNoSound) {
  const auto changes = graph().record.size();
  operations.moveChannels({0}, 3);
  EXPECT_EQ(names(), (Names{"B", "C", "A"}));
  operations.moveChannels({2}, 1);
  EXPECT_EQ(names(), (Names{"B", "A", "C"}));
  EXPECT_EQ(graph().record.size(), changes);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Channels, AMoveOutOfRangeChangesNothing) {
  operations.moveChannels({3}, 0);
  operations.moveChannels({0}, 4);
  operations.moveChannels({}, 0);
  EXPECT_EQ(names(), (Names{"A", "B", "C"}));
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Channels, ACopyIsPastedBehindTheStripThatIsPointedAt) {
  strip(0).transpose.set(7);
  operations.copyChannel(strip(0));
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
  operations.pasteChannel(strip(1).id);
  EXPECT_EQ(names(), (Names{"A", "B", "A", "C"}));
  EXPECT_EQ(strip(2).transpose.get(), 7);
  EXPECT_EQ(selection.selectedChannelId.get(), strip(2).id);
  expectChanged();
}

TEST_F(Channels, WithoutAPlaceItIsPastedBehindTheSelectedStripOrAtTheEnd) {
  operations.copyChannel(strip(0));
  operations.pasteChannel(std::nullopt);
  EXPECT_EQ(names(), (Names{"A", "A", "B", "C"}));
  selection.selectedChannelId.set(std::nullopt);
  operations.pasteChannel(Uuid::fresh());
  EXPECT_EQ(names(), (Names{"A", "A", "B", "C", "A"}));
  EXPECT_EQ(selection.selectedChannelId.get(), strip(4).id);
  operations.pasteChannel(std::nullopt);
  EXPECT_EQ(names(), (Names{"A", "A", "B", "C", "A", "A"})) << "behind the last one is the end";
}

TEST_F(Channels, WithAnEmptyClipboardNothingIsPasted) {
  operations.pasteChannel(std::nullopt);
  EXPECT_EQ(names(), (Names{"A", "B", "C"}));
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Channels, TheOnlyOneThatIsCutCanBePastedIntoAnotherSong) {
  addSong("Two", {record("X", pianoKey)});
  addSong("Three", {});
  songSwitch.applySong(1);
  answerAll();
  dynamic_cast<simulation::ScriptedInstrument&>(*strip(0).instrumentNode.get()).core.documentState =
      PropertyListDictionary{{"tone", {0.5}}};
  operations.cutChannel(strip(0));
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_EQ(selection.selectedChannelId.get(), std::nullopt);
  EXPECT_TRUE(operations.channelClipboard.get()->pluginStateBase64.has_value());
  EXPECT_TRUE(state.isDirty.get());
  songSwitch.applySong(2);
  operations.pasteChannel(std::nullopt);
  EXPECT_EQ(names(), Names{"X"});
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
}

TEST_F(Channels, CuttingSelectsTheFirstThatIsLeft) {
  selection.selectedChannelId.set(strip(2).id);
  operations.cutChannel(strip(1));
  EXPECT_EQ(names(), (Names{"A", "C"}));
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
  expectChanged();
}

TEST_F(Channels, ADuplicateFollowsItsOriginal) {
  strip(1).volume.set(0.3F);
  operations.duplicateChannel(strip(1));
  EXPECT_EQ(names(), (Names{"A", "B", "B", "C"}));
  EXPECT_EQ(strip(2).volume.get(), 0.3F);
  EXPECT_EQ(operations.channelClipboard.get(), std::nullopt);
  expectChanged();
}

TEST_F(Channels, OneThatIsGoneIsNotDuplicated) {
  const auto gone = engine->channels()[1];
  engine->removeChannel(*gone);
  operations.duplicateChannel(*gone);
  EXPECT_EQ(names(), (Names{"A", "C"}));
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Channels, RemovingTheSelectedOneSelectsTheFirst) {
  selection.selectedChannelId.set(strip(1).id);
  operations.removeChannelFromConsole(strip(1));
  EXPECT_EQ(names(), (Names{"A", "C"}));
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
  expectChanged();
  selection.selectedChannelId.set(strip(0).id);
  operations.removeChannelFromConsole(strip(1));
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
}

TEST_F(Channels, TheModalCountsTheInstrumentAndTheEffectsOnce) {
  operations.addChannelFromConfig(record("X", pianoKey, {chorusKey, chorusKey}), 0);
  EXPECT_EQ(names(), (Names{"X", "A", "B", "C"}));
  EXPECT_EQ(state.totalLoadsCount.get(), 2);
  EXPECT_EQ(state.remainingLoadsCount.get(), 2);
  EXPECT_EQ(state.loadingMessage.get(), "Loading Audio Units");
  EXPECT_FALSE(state.songSwitchInProgress.get());
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).effectNodes.get().size(), 2U);
}

TEST_F(Channels, AnEmptyOneShowsNoModal) {
  operations.addChannelFromConfig(record("X", ""), 99);
  EXPECT_EQ(names(), (Names{"A", "B", "C", "X"}));
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Channels, OneThatIsRemovedWhileItLoadsLeavesNoModal) {
  operations.addChannelFromConfig(record("X", pianoKey, {chorusKey}), std::nullopt);
  operations.removeChannelFromConsole(strip(3));
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Channels, AnUnknownPluginEndsItsLoad) {
  operations.addChannelFromConfig(record("X", "aucd:1635085685:77:78", {chorusKey}), std::nullopt);
  EXPECT_EQ(strip(3).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(state.remainingLoadsCount.get(), 1);
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Channels, AStripOfAFileOrOfClipsIsPastedWithWhatItPlaysAndEndsItsLoad) {
  auto file = record("File", "internal:playback");
  file.playbackFilePath = "/home/me/intro.wav";
  file.playbackLoop = true;
  auto clips = record("Clips", "internal:visual");
  clips.visualClipMappings.emplace_back().note = 48;
  for (const auto& each : {file, clips}) {
    operations.channelClipboard.set(each);
    operations.pasteChannel(std::nullopt);
    answerAll();
    EXPECT_FALSE(state.showLoadingModal.get()) << each.name;
    operations.copyChannel(strip(selectedIndex()));
    const auto& copy = *operations.channelClipboard.get();
    EXPECT_EQ(copy.pluginPath, each.pluginPath);
    EXPECT_EQ(copy.playbackFilePath, each.playbackFilePath);
    EXPECT_EQ(copy.playbackLoop, each.playbackLoop);
    EXPECT_EQ(copy.visualClipMappings, each.visualClipMappings);
  }
}

TEST_F(Channels, InLiveModeADragCarriesNothing) {
  operations.beginDrag(strip(0));
  EXPECT_EQ(operations.draggedChannelId.get(), strip(0).id);
  operations.draggedChannelId.set(std::nullopt);
  state.isLiveModeEnabled.set(true);
  operations.beginDrag(strip(0));
  EXPECT_EQ(operations.draggedChannelId.get(), std::nullopt);
}

TEST_F(Channels, LiveModeRefusesAll) {
  operations.copyChannel(strip(0));
  state.isLiveModeEnabled.set(true);
  const auto clipboard = operations.channelClipboard.get();
  operations.moveChannels({0}, 3);
  operations.addChannelFromButton();
  operations.addChannelFromConfig(record("X", ""), 0);
  operations.copyChannel(strip(1));
  operations.cutChannel(strip(0));
  operations.pasteChannel(std::nullopt);
  operations.duplicateChannel(strip(0));
  operations.removeChannelFromConsole(strip(0));
  EXPECT_EQ(names(), (Names{"A", "B", "C"}));
  EXPECT_EQ(operations.channelClipboard.get(), clipboard);
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
  EXPECT_EQ(selection.channelsViewVersion.get(), version);
  EXPECT_FALSE(state.isDirty.get());
}

}  // namespace
}  // namespace vrel
