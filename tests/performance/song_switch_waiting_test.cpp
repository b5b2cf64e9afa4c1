// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <vector>

#include "performance/song_switch.h"
#include "support/simulated_session.h"

// Plug-ins that take their time, or never come, and songs that change meanwhile.

namespace vrel {
namespace {

using SwitchThatWaits = SimulatedSession;

TEST_F(SwitchThatWaits, APluginThatNeverAnswersEndsTheSwitchAfterHalfAMinute) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  settle();
  mainQueue.advance(29.999);
  settle();
  EXPECT_TRUE(state.songSwitchInProgress.get());
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_TRUE(console.lines.empty());
  mainQueue.advance(0.001);
  settle();
  EXPECT_EQ(console.lines,
            (Lines{"Audio unit loading timed out after 30 seconds", "Song switch timed out after 30 seconds"}));
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 30000);
  EXPECT_TRUE(engine->musicalContext().isHostTransportRunning());

  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running) << "it comes late and plays all the same";
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 0);
  EXPECT_EQ(state.remainingLoadsCount.get(), 0);
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 30000);
}

TEST_F(SwitchThatWaits, ItsTimeoutClosesTheModalOfAnotherLoadToo) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  mainQueue.advance(10);
  state.beginLoadingSession(2, "Loading Audio Units");
  mainQueue.advance(20);
  settle();
  EXPECT_EQ(console.lines, (Lines{"Song switch timed out after 30 seconds"}));
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(state.totalLoadsCount.get(), 0);
}

TEST_F(SwitchThatWaits, AReplacedSwitchDoesNotTimeOut) {
  addSong("One", {record("Piano", pianoKey)});
  auto other = std::make_unique<SongSwitch>(
      SongSwitch::Collaborators{state, *engine, mainQueue, clock, console, selection, builder});
  other->applySong(0);
  other.reset();
  mainQueue.advance(31);
  settle();
  EXPECT_EQ(console.lines, (Lines{"Audio unit loading timed out after 30 seconds"}));
  answerAll();
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 1) << "pending loads are no longer counted";
}

TEST_F(SwitchThatWaits, AClockThatGoesBackGivesNoTimeBelowZero) {
  addSong("One", {record("Piano", pianoKey)});
  mainQueue.advance(5);
  songSwitch.applySong(0);
  clock.setNanoseconds(clock.AudioConvertHostTimeToNanos(clock.AudioGetCurrentHostTime()) - 3'000'000'000);
  answerAll();
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 0);
}

TEST_F(SwitchThatWaits, ATimeoutOfAnEarlierSwitchIsIgnored) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  mainQueue.advance(20);
  songSwitch.applySong(1);
  mainQueue.advance(15);
  settle();
  EXPECT_TRUE(state.songSwitchInProgress.get());
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(SwitchThatWaits, AClickDuringTheSwitchStoresTheChannelsAsTheyAre) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {});
  songSwitch.applySong(0);
  songSwitch.applySong(1);
  EXPECT_EQ(song(0).channels[0].pluginPath, "") << "its instrument had not arrived";
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
}

TEST_F(SwitchThatWaits, LateAnswersOfAnEarlierSwitchAreIgnored) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  songSwitch.applySong(1);
  settle();
  ASSERT_FALSE(units.requests.empty());
  ASSERT_EQ(units.requests[0].description, piano.audioComponentDescription);
  const auto late = units.answerWithInstrument(0);
  settle();
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 1);
  EXPECT_EQ(state.remainingLoadsCount.get(), 1);
  EXPECT_TRUE(state.songSwitchInProgress.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loading);
  EXPECT_FALSE(graph().isAttached(late));
  answerAll();
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(SwitchThatWaits, LateAnswersOfAnEarlierSwitchStayOutOfTheGraphWhoeverStillHoldsTheirStrips) {
  addSong("One", {record("Piano", pianoKey, {chorusKey}), record("Free", "", {chorusKey})});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  settle();
  const auto held = engine->channels();
  const auto askedFor = units.requests.size();
  songSwitch.applySong(1);
  settle();
  std::vector<std::shared_ptr<AVAudioNode>> late;
  for (std::size_t answered = 0; answered < askedFor; ++answered) {
    late.emplace_back(units.requests[0].isForMIDIInstrument
                          ? std::shared_ptr<AVAudioNode>(units.answerWithInstrument(0))
                          : std::shared_ptr<AVAudioNode>(units.answerWithUnit(0)));
    settle();
  }
  EXPECT_THAT(units.requests,
              testing::Each(testing::Field(&simulation::ScriptedUnitFactory::Request::isForMIDIInstrument, true)))
      << "the effect behind the instrument is wanted no more";
  answerAll();
  ASSERT_GE(late.size(), 3U);
  for (const auto& node : late) {
    EXPECT_EQ(graph().isAttached(node), node == strip(0).instrumentNode.get());
  }
  EXPECT_EQ(held[0]->instrumentNode.get(), nullptr);
  EXPECT_TRUE(held[1]->effectNodes.get().empty());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(SwitchThatWaits, AnEffectOfTheMasterThatComesForAnEarlierSongStopsNoSound) {
  addSong("One", {});
  addSong("Two", {});
  changeSong(0, [](SongConfig& song) { song.masterEffectSlots.emplace_back().pluginPath = chorusKey; });
  songSwitch.applySong(0);
  songSwitch.applySong(1);
  settle();
  const auto record = graph().record;
  answerAll();
  EXPECT_EQ(graph().record, record);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(SwitchThatWaits, ASongWithNoPluginsLeavesTheModalOfTheOneBeforeToItsTimeout) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Free", {});
  songSwitch.applySong(0);
  songSwitch.applySong(1);
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_TRUE(state.showLoadingModal.get());
  answerAll();
  EXPECT_EQ(state.remainingLoadsCount.get(), 1);
  mainQueue.advance(31);
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(console.lines, (Lines{"Audio unit loading timed out after 30 seconds"}));
}

}  // namespace
}  // namespace vrel
