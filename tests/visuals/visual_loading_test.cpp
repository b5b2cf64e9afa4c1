// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/session_on.h"
#include "visuals/visual_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class VisualLoading : public VisualStage {};

TEST_F(VisualLoading, BuildsPlayersInTheBackgroundAndWarmsThemUp) {
  const auto channel = addUnbuilt({clip(60, "/a.mov"), clip(61, "/gone.mov"), clip(62, "/b.mov")});
  EXPECT_EQ(videos.playersMade, 0);
  EXPECT_EQ(visuals().pendingLoads(), 1U);
  settle();
  EXPECT_EQ(visuals().pendingLoads(), 0U);
  EXPECT_THAT(visuals().playersByChannelAndNote(), SizeIs(2));
  EXPECT_EQ(playerOf(*channel, 61), nullptr);
  EXPECT_THAT(videos.pendingLoads, SizeIs(2));
  EXPECT_THAT(console.lines, IsEmpty());
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_THAT(channel->visualClipMappings.get(), SizeIs(3)) << "the mapping stays in the song";
}

TEST_F(VisualLoading, CompletesOnceWhateverBecameOfIt) {
  const auto channel = addClips({clip(60, "/a.mov")});
  int completions = 0;
  const auto load = [&] { visuals().loadChannel(*channel, [&] { ++completions; }); };
  load();
  EXPECT_EQ(completions, 0);
  settle();
  EXPECT_EQ(completions, 1) << "without waiting for the warm-ups";
  channel->visualClipMappings.set({});
  load();
  settle();
  EXPECT_EQ(completions, 2);
  channel->pluginPath.set("");
  load();
  EXPECT_EQ(completions, 3);
}

TEST_F(VisualLoading, OfAChannelThatShowsNoClipsStillForgetsWhatItHad) {
  const auto channel = addClips({clip(60, "/a.mov")});
  channel->pluginPath.set("internal:playback");
  visuals().loadChannel(*channel, nullptr);
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
}

TEST_F(VisualLoading, OvertakenByAnotherModeInstallsNothing) {
  const auto channel = addUnbuilt({clip(60, "/a.mov")});
  answerSearches();
  engine->instruments().unloadInstrument(*channel);
  settle();
  EXPECT_EQ(videos.playersMade, 1);
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
}

TEST_F(VisualLoading, OvertakenByAnUnloadInstallsNothing) {
  const auto channel = addUnbuilt({clip(60, "/a.mov")});
  answerSearches();
  visuals().unloadChannel(*channel);
  settle();
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
  EXPECT_EQ(visuals().pendingLoads(), 0U);
}

TEST_F(VisualLoading, OvertakenByALaterLoadOfTheChannelInstallsOnlyTheLater) {
  const auto channel = addUnbuilt({clip(60, "/a.mov"), clip(61, "/b.mov")});
  answerSearches();
  engine->instruments().loadVisualInstrument(*channel, {clip(60, "/c.mov")}, nullptr);
  mainQueue.runAll();
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
  settle();
  ASSERT_THAT(visuals().playersByChannelAndNote(), SizeIs(1));
  EXPECT_EQ(playerOf(*channel, 60)->filePath, "/c.mov");
}

TEST_F(VisualLoading, OvertakenByAnInstrumentLoadedOverItInstallsNothing) {
  const auto channel = addUnbuilt({clip(60, "/a.mov")});
  answerSearches();
  channel->pluginPath.set("aumu:test:vrel");
  settle();
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
}

TEST_F(VisualLoading, OvertakenByTheEndOfTheEngineCompletes) {
  const auto channel = addClips({clip(60, "/a.mov")});
  bool completed = false;
  visuals().loadChannel(*channel, [&] { completed = true; });
  answerSearches();
  engine.reset();
  mainQueue.runAll();
  EXPECT_TRUE(completed);
}

TEST_F(VisualLoading, AnotherSongAppliedMeanwhileGetsNoneOfTheOldPlayers) {
  SessionOn session(*engine, mainQueue, clock, console);
  std::vector<SongConfig> songs(2);
  for (auto& song : songs) {
    song.channels.resize(1);
    song.channels[0].pluginPath = "internal:visual";
  }
  for (int note = 0; note < 100; ++note) {
    songs[0].channels[0].visualClipMappings.push_back(clip(static_cast<std::uint8_t>(note), "/a.mov"));
  }
  songs[1].channels[0].visualClipMappings = {clip(60, "/b.mov")};
  session.setSongs(songs);
  session.songSwitch.applySong(0);
  answerSearches();
  session.songSwitch.applySong(1);
  settle();
  ASSERT_THAT(visuals().playersByChannelAndNote(), SizeIs(1));
  EXPECT_EQ(visuals().playersByChannelAndNote().begin()->second->filePath, "/b.mov");
}

TEST_F(VisualLoading, ALoadWhoseChannelHasGoneStopsBuilding) {
  auto channel = addUnbuilt({clip(60, "/a.mov"), clip(61, "/b.mov")});
  engine->removeChannel(*channel);
  channel.reset();
  settle();
  EXPECT_EQ(videos.playersMade, 0);
  EXPECT_EQ(visuals().pendingLoads(), 0U);
}

TEST_F(VisualLoading, AClipThatANoteBuiltMeanwhileStaysInCommand) {
  const auto channel = addUnbuilt({clip(60, "/a.mov")});
  noteOn(60);
  std::swap(videos.searches.at(0), videos.searches.at(1));
  ASSERT_TRUE(videos.answerSearch());
  mainQueue.runAll();
  const auto shown = visuals().activePlayers.get();
  ASSERT_THAT(shown, SizeIs(1));
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  EXPECT_EQ(playerOf(*channel, 60), shown[0]);
  noteOff(60);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), IsEmpty());
}

TEST_F(VisualLoading, ANoteThatComesFirstShowsThePlayerOfTheLoad) {
  const auto channel = addUnbuilt({clip(60, "/a.mov")});
  noteOn(60);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  EXPECT_EQ(visuals().activePlayers.get()[0], playerOf(*channel, 60));
}

TEST_F(VisualLoading, AToggleThatComesFirstIsTurnedOffByTheNextNoteAfterTheLoad) {
  addUnbuilt({clip(60, "/a.mov", VisualTriggerMode::toggle)});
  noteOn(60);
  ASSERT_TRUE(videos.answerSearch()) << "the load's; that of the note is still under way";
  mainQueue.runAll();
  EXPECT_THAT(shownNotes(), ElementsAre(60)) << "it waits for no second search";
  noteOn(60);
  settle();
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), IsEmpty());
}

TEST_F(VisualLoading, AToggleTurnedOffBeforeTheLoadStaysOff) {
  addUnbuilt({clip(60, "/a.mov", VisualTriggerMode::toggle)});
  noteOn(60);
  noteOn(60);
  ASSERT_TRUE(videos.answerSearch());
  mainQueue.runAll();
  EXPECT_THAT(shownNotes(), IsEmpty());
  noteOn(60);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualLoading, AFolderThatDoesNotAnswerHoldsItUpForASecondAtMost) {
  videos.silentPaths = {"/a.mov"};
  const auto channel = engine->addChannel("Clips");
  channel->pluginPath.set("internal:visual");
  channel->visualClipMappings.set({clip(60, "/a.mov"), clip(61, "/b.mov")});
  int completions = 0;
  visuals().loadChannel(*channel, [&] { ++completions; });
  settle();
  EXPECT_EQ(completions, 0);
  noteOn(61);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(61)) << "a note waits for its own file only";
  mainQueue.advance(1);
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(visuals().pendingLoads(), 0U);
  EXPECT_EQ(playerOf(*channel, 60), nullptr);
  videos.silentPaths.clear();
  settle();
  EXPECT_NE(playerOf(*channel, 60), nullptr) << "it is there once its folder answers";
  EXPECT_EQ(visuals().activePlayers.get().at(0), playerOf(*channel, 61));
  mainQueue.advance(1);
  EXPECT_EQ(completions, 1);
}

TEST_F(VisualLoading, AnAnswerThatComesTooLateInstallsNothingInAnotherSong) {
  videos.silentPaths = {"/a.mov"};
  auto channel = addClips({clip(60, "/a.mov")});
  mainQueue.advance(1);
  noteOn(60);
  engine->removeChannel(*channel);
  const auto other = addClips({clip(60, "/b.mov")});
  videos.silentPaths.clear();
  settle();
  EXPECT_THAT(shownNotes(), IsEmpty());
  ASSERT_THAT(visuals().playersByChannelAndNote(), SizeIs(1));
  EXPECT_EQ(playerOf(*other, 60)->filePath, "/b.mov");
}

TEST_F(VisualLoading, AgainGivesAllPlayersAnotherIdentityAndStopsWhatShows) {
  const auto channel = addClips({clip(60, "/a.mov")});
  const auto earlier = playerOf(*channel, 60)->id;
  noteOn(60);
  engine->instruments().loadVisualInstrument(*channel, channel->visualClipMappings.get(), nullptr);
  EXPECT_THAT(shownNotes(), IsEmpty());
  settle();
  EXPECT_NE(playerOf(*channel, 60)->id, earlier);
  EXPECT_THAT(shownNotes(), IsEmpty());
}

TEST_F(VisualLoading, ARemovedChannelLeavesThePictureAtOnce) {
  const auto channel = addClips({clip(60, "/a.mov")});
  addClips({clip(60, "/b.mov")});
  noteOn(60);
  const std::weak_ptr<VrelVisualClipPlayer> removed = playerOf(*channel, 60);
  int changes = 0;
  const auto connection = visuals().activePlayers.changed.connect([&](const auto&) { ++changes; });
  engine->removeChannel(*channel);
  EXPECT_THAT(visuals().activePlayers.get(), SizeIs(1));
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(removed.expired());
  mainQueue.advance(1);
  EXPECT_THAT(visuals().activePlayers.get(), SizeIs(1));
}

TEST_F(VisualLoading, NoClipOutlivesItsSong) {
  addClips({clip(60, "/a.mov"), clip(61, "/b.mov", VisualTriggerMode::toggle), clip(62, "/c.mov")});
  noteOn(60);
  noteOn(61);
  noteOn(62);
  noteOff(62);
  engine->removeAllChannels();
  EXPECT_THAT(shownNotes(), IsEmpty());
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
}

TEST_F(VisualLoading, UnloadingTheInstrumentTakesTheClips) {
  const auto channel = addClips({clip(60, "/a.mov")});
  noteOn(60);
  engine->instruments().unloadInstrument(*channel);
  EXPECT_THAT(shownNotes(), IsEmpty());
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
}

TEST_F(VisualLoading, AnUnloadNotifiesReadersOfTheListOnceForAllItsClips) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(61, "/b.mov"), clip(62, "/c.mov")});
  noteOn(60);
  noteOn(61);
  int changes = 0;
  const auto connection = visuals().activePlayers.changed.connect([&](const auto&) { ++changes; });
  visuals().unloadChannel(*channel);
  EXPECT_EQ(changes, 1);
  visuals().unloadChannel(*channel);
  EXPECT_EQ(changes, 1);
}

TEST_F(VisualLoading, AnObserverOfAFadeMayUnloadTheChannelItself) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(61, "/b.mov")});
  noteOn(60);
  const auto connection =
      playerOf(*channel, 60)->opacity.changed.connect([&](const double&) { visuals().unloadChannel(*channel); });
  visuals().unloadChannel(*channel);
  EXPECT_THAT(visuals().playersByChannelAndNote(), IsEmpty());
  EXPECT_THAT(shownNotes(), IsEmpty());
}

TEST_F(VisualLoading, KeysEndInTheNoteAndDifferByChannel) {
  const auto first = engine->addChannel("One");
  const auto second = engine->addChannel("Two");
  EXPECT_EQ(VrelVisualEngine::playerKey(first->id, 0), first->id.text() + ":0");
  EXPECT_EQ(VrelVisualEngine::playerKey(first->id, 127), first->id.text() + ":127");
  EXPECT_NE(VrelVisualEngine::playerKey(first->id, 60), VrelVisualEngine::playerKey(second->id, 60));
  EXPECT_THAT(first->id.text(), SizeIs(36));
}

TEST_F(VisualLoading, InAProgramWithoutClipsDoesNothing) {
  simulation::CrankedQueueFactory otherQueues;
  simulation::SimulatedNodeFactory otherNodes;
  const auto other = AudioEngine::make({otherNodes, units, mainQueue, otherQueues, clock, propertyLists, console});
  mainQueue.runAll();
  const auto channel = other->addChannel("Clips");
  other->instruments().loadVisualInstrument(*channel, {clip(60, "/a.mov")}, nullptr);
  mainQueue.runAll();
  other->routeMIDI(0x90, 60, 100);
  EXPECT_THAT(other->visualEngine().activePlayers.get(), IsEmpty());
}

}  // namespace
}  // namespace vrel
