// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "visuals/visual_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto toggle = VisualTriggerMode::toggle;

class VisualNotes : public VisualStage {};

TEST_F(VisualNotes, AHeldKeyShowsTheClipAndItsReleaseFadesIt) {
  const auto player = playerOf(*addClips({clip(60, "/a.mov")}), 60);
  auto& queue = queuePlayerOf(*player);
  queue.calls.clear();
  noteOn(60);
  EXPECT_THAT(queue.calls, ElementsAre("seek 0 0 0", "play"));
  EXPECT_THAT(visuals().activePlayers.get(), ElementsAre(player));
  noteOff(60);
  EXPECT_EQ(player->opacity.get(), 0.0);
  mainQueue.advance(0.19);
  EXPECT_FALSE(player->isVisible.get());
  EXPECT_THAT(shownNotes(), ElementsAre(60)) << "it leaves the list after it has stopped";
  mainQueue.advance(0.02);
  EXPECT_THAT(shownNotes(), IsEmpty());
}

TEST_F(VisualNotes, AKeyDownWithinTheFadeRestartsTheClipInItsPlace) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  auto& queue = queuePlayerOf(*playerOf(*channel, 60));
  noteOn(60);
  noteOn(62);
  noteOff(60);
  mainQueue.advance(0.1);
  queue.calls.clear();
  noteOn(60);
  EXPECT_THAT(queue.calls, ElementsAre("seek 0 0 0", "play"));
  mainQueue.advance(1);
  EXPECT_TRUE(playerOf(*channel, 60)->isVisible.get());
  EXPECT_THAT(shownNotes(), ElementsAre(60, 62));
}

TEST_F(VisualNotes, AKeyDownBetweenTheStopAndTheRemovalKeepsThePlayerListed) {
  const auto channel = addClips({clip(60, "/a.mov")});
  noteOn(60);
  noteOff(60);
  mainQueue.advance(0.19);
  noteOn(60);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  EXPECT_TRUE(playerOf(*channel, 60)->isVisible.get());
}

TEST_F(VisualNotes, ARepeatedNoteOnOfAHeldClipRestartsIt) {
  auto& queue = queuePlayerOf(*playerOf(*addClips({clip(60, "/a.mov")}), 60));
  noteOn(60);
  queue.calls.clear();
  noteOn(60);
  EXPECT_THAT(queue.calls, ElementsAre("seek 0 0 0", "play"));
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualNotes, AToggledClipStaysUntilTheSecondPress) {
  const auto player = playerOf(*addClips({clip(60, "/a.mov", toggle)}), 60);
  noteOn(60);
  noteOff(60);
  mainQueue.advance(1);
  EXPECT_EQ(player->opacity.get(), 1.0);
  noteOn(60);
  EXPECT_EQ(player->opacity.get(), 0.0);
  noteOff(60);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), IsEmpty());
  auto& queue = queuePlayerOf(*player);
  queue.calls.clear();
  noteOn(60);
  EXPECT_THAT(queue.calls, ElementsAre("seek 0 0 0", "play"));
  EXPECT_EQ(player->opacity.get(), 1.0);
}

TEST_F(VisualNotes, APressWithinTheFadeOfAToggledClipLeavesItOff) {
  const auto player = playerOf(*addClips({clip(60, "/a.mov", toggle)}), 60);
  noteOn(60);
  noteOn(60);
  mainQueue.advance(0.1);
  noteOn(60);
  EXPECT_EQ(player->opacity.get(), 0.0);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), IsEmpty());
  EXPECT_FALSE(player->isVisible.get());
}

TEST_F(VisualNotes, TwoHeldClipsLieInTheOrderOfTheirPresses) {
  addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  noteOn(62);
  noteOn(60);
  EXPECT_THAT(shownNotes(), ElementsAre(62, 60));
  noteOff(62);
  EXPECT_THAT(shownNotes(), ElementsAre(62, 60));
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualNotes, ALaterClipStaysOnTopWhicheverIsReleasedFirst) {
  addClips({clip(60, "/a.mov"), clip(61, "/b.mov"), clip(62, "/c.mov")});
  noteOn(61);
  noteOn(60);
  noteOn(62);
  noteOff(60);
  EXPECT_THAT(shownNotes(), ElementsAre(61, 60, 62));
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(61, 62));
  noteOff(62);
  noteOn(60);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(61, 60)) << "started again, it is on top";
}

TEST_F(VisualNotes, OneNoteOnTwoChannelsStartsTwoPlayers) {
  const auto first = addClips({clip(60, "/a.mov")});
  const auto second = addClips({clip(60, "/b.mov")});
  noteOn(60);
  EXPECT_THAT(visuals().activePlayers.get(), ElementsAre(playerOf(*first, 60), playerOf(*second, 60)));
  EXPECT_TRUE(queuePlayerOf(*playerOf(*first, 60)).isPlaying);
  EXPECT_TRUE(queuePlayerOf(*playerOf(*second, 60)).isPlaying);
}

TEST_F(VisualNotes, ANoteOutsideTheSplitReachesNoClip) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  noteOn(60);
  channel->minNote.set(61);
  channel->maxNote.set(61);
  noteOff(60);
  noteOn(62);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(60)) << "neither the release nor the other press came through";
}

TEST_F(VisualNotes, ANoteOnOfVelocityZeroIsARelease) {
  const auto player = playerOf(*addClips({clip(60, "/a.mov")}), 60);
  noteOn(60);
  engine->routeMIDI(0x90, 60, 0);
  EXPECT_EQ(player->opacity.get(), 0.0);
}

TEST_F(VisualNotes, PanicTouchesNoClip) {
  addClips({clip(60, "/a.mov")});
  noteOn(60);
  engine->panic();
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualNotes, AnUnmappedNoteDoesNothing) {
  addClips({clip(60, "/a.mov")});
  noteOn(61);
  noteOff(61);
  EXPECT_THAT(shownNotes(), IsEmpty());
  EXPECT_EQ(videos.playersMade, 1);
}

TEST_F(VisualNotes, APlayerWhoseMappingHasGoneIsHeld) {
  const auto channel = addClips({clip(60, "/a.mov", toggle)});
  const auto player = playerOf(*channel, 60);
  channel->visualClipMappings.set({});
  noteOn(60);
  noteOn(60);
  EXPECT_EQ(player->opacity.get(), 1.0);
  noteOff(60);
  EXPECT_EQ(player->opacity.get(), 0.0);
}

TEST_F(VisualNotes, OfTwoMappingsOfANoteTheLastGivesTheFileAndTheFirstTheMode) {
  const auto channel = addClips({clip(60, "/a.mov", toggle), clip(60, "/b.mov")});
  EXPECT_EQ(playerOf(*channel, 60)->filePath, "/b.mov");
  noteOn(60);
  noteOff(60);
  mainQueue.advance(1);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualNotes, APlayerMissingAtTheNoteIsBuiltAndStartedAtOnce) {
  const auto channel = addClips({});
  channel->visualClipMappings.set({clip(60, "/a.mov")});
  noteOn(60);
  settle();
  const auto player = playerOf(*channel, 60);
  ASSERT_NE(player, nullptr);
  EXPECT_TRUE(queuePlayerOf(*player).isPlaying) << "the start does not wait for the warm-up";
  EXPECT_THAT(videos.pendingLoads, SizeIs(1));
}

TEST_F(VisualNotes, AClipDeletedAfterItWasPreparedGoesOnAndAnotherIsNotBuilt) {
  const auto channel = addClips({clip(60, "/a.mov")});
  channel->visualClipMappings.set({clip(60, "/a.mov"), clip(62, "/a.mov")});
  videos.paths.clear();
  noteOn(60);
  noteOn(62);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  EXPECT_EQ(playerOf(*channel, 62), nullptr);
  videos.paths = {"/a.mov"};
  noteOn(62);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60, 62)) << "each note looks again";
}

TEST_F(VisualNotes, AClipInAFolderThatDoesNotAnswerHoldsUpNothingAndComesLate) {
  addClips({clip(60, "/a.mov")});
  engine->channels()[0]->visualClipMappings.set({clip(60, "/a.mov"), clip(62, "/b.mov"), clip(64, "/c.mov")});
  videos.silentPaths = {"/b.mov", "/c.mov"};
  noteOn(62);
  noteOn(64);
  noteOn(60);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
  noteOff(64);
  noteOn(62);
  videos.silentPaths.clear();
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60, 62)) << "its key is still held; the other one is not";
  const int made = videos.playersMade;
  noteOn(64);
  EXPECT_THAT(shownNotes(), ElementsAre(60, 62, 64));
  EXPECT_EQ(videos.playersMade, made) << "it was kept for the next note";
}

TEST_F(VisualNotes, AToggledClipThatIsStillLookedForIsTakenBackByTheSecondPress) {
  const auto channel = addClips({});
  channel->visualClipMappings.set({clip(60, "/a.mov", toggle), clip(62, "/b.mov", toggle)});
  noteOn(60);
  noteOff(60);
  noteOn(62);
  noteOff(62);
  noteOn(62);
  settle();
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(VisualNotes, APreparedClipStartsWithoutMakingAnything) {
  addClips({clip(60, "/a.mov")});
  const int made = videos.playersMade;
  noteOn(60);
  EXPECT_EQ(videos.playersMade, made);
}

TEST_F(VisualNotes, ReadersOfTheListHearOfEachChangeOnce) {
  addClips({clip(60, "/a.mov")});
  int changes = 0;
  const auto connection = visuals().activePlayers.changed.connect([&](const auto&) { ++changes; });
  noteOn(60);
  noteOn(60);
  EXPECT_EQ(changes, 1);
  noteOff(60);
  mainQueue.advance(1);
  EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace vrel
