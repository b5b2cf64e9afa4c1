// SPDX-License-Identifier: GPL-3.0-or-later
// Instruments that are tried out on a strip.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "console/selector_stage.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

using Trial = SelectorStage;

TEST_F(Trial, WhatIsTriedOutPlaysAtOnceAndIsNoEdit) {
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  answerAll();
  EXPECT_TRUE(isOpen());
  EXPECT_EQ(selector().triedKey.get(), pianoKey);
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_FALSE(state.isDirty.get());
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_EQ(eventsOf(strip(0)), (Events{{0x90, 60, 100}}));
}

TEST_F(Trial, CancellingATrialBringsTheOldInstrumentBackWithItsState) {
  pickAndLoad(0, pianoKey);
  coreOf(strip(0)).documentState = PropertyListDictionary{{"cutoff", PropertyListValue{std::int64_t{7}}}};
  state.isDirty.set(false);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  ASSERT_EQ(strip(0).pluginPath.get(), organKey);
  selector().cancel();
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_EQ(coreOf(strip(0)).documentState,
            std::optional(PropertyListDictionary{{"cutoff", PropertyListValue{std::int64_t{7}}}}));
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_EQ(selector().triedKey.get(), "");
}

TEST_F(Trial, OnAStripWhosePluginIsNotInstalledThatOneIsSavedMeanwhileAndComesBack) {
  const std::string goneKey = "aucd:1635085685:77:20";
  changeSong(1, [&](SongConfig& song) {
    song.channels[0].pluginPath = goneKey;
    song.channels[0].pluginStateBase64 = "QUJD";
  });
  content.songSwitch().applySong(1);
  answerAll();
  const auto expectKept = [&] {
    content.songSwitch().captureCurrentSong();
    EXPECT_EQ(song(1).channels[0].pluginPath, goneKey);
    EXPECT_EQ(song(1).channels[0].pluginStateBase64, "QUJD");
  };
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  expectKept();
  answerAll();
  ASSERT_EQ(strip(0).status.get(), ChannelStatus::running);
  expectKept();
  selector().cancel();
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  expectKept();
}

TEST_F(Trial, CancellingATrialOnAnEmptyStripEmptiesItAgain) {
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  answerAll();
  selector().cancel();
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), "");
  EXPECT_EQ(strip(0).pluginName.get(), "");
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::noPlugin);
}

TEST_F(Trial, CancellingATrialBringsAPlayerAndClipsBack) {
  selector().put(engine->channels()[0], record("", std::string(pathPlayback)));
  selector().put(engine->channels()[1], record("", std::string(pathVisual)));
  strip(1).visualClipMappings.set({VisualClipMapping{.note = 61, .filePath = "/a.mp4"}});
  for (const std::size_t index : {0U, 1U}) {
    selector().open(strip(index));
    selector().tryOut(pianoKey);
    answerAll();
    ASSERT_EQ(strip(index).pluginPath.get(), pianoKey);
    selector().cancel();
    answerAll();
  }
  EXPECT_EQ(strip(0).pluginPath.get(), pathPlayback);
  EXPECT_EQ(strip(0).pluginName.get(), "Vrel Player");
  EXPECT_EQ(strip(1).pluginPath.get(), pathVisual);
  ASSERT_EQ(strip(1).visualClipMappings.get().size(), 1U);
  EXPECT_EQ(strip(1).visualClipMappings.get()[0].note, 61);
}

TEST_F(Trial, OpeningForAnotherStripEndsTheTrialOnTheFirst) {
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  answerAll();
  selector().open(strip(1));
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), "");
  EXPECT_EQ(strip(1).pluginPath.get(), "");
}

TEST_F(Trial, PickingWhatIsTriedOutKeepsItAsItPlays) {
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  answerAll();
  const auto tried = strip(0).instrumentNode.get();
  selector().pick(pianoKey);
  EXPECT_FALSE(isOpen());
  EXPECT_FALSE(state.showLoadingModal.get());
  answerAll();
  EXPECT_EQ(strip(0).instrumentNode.get(), tried);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Trial, APickThatFailsAfterATrialBringsTheOldInstrumentBack) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  state.scannedPlugins.set({piano, organ, harp});
  selector().pick("aucd:1635085685:12:20");
  settle();
  units.answer(units.requests.size() - 1, nullptr, Error{"no room"});
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed) << "what was picked did not come";
  EXPECT_FALSE(state.showLoadingModal.get());
}

TEST_F(Trial, APluginThatVanishedAfterATrialIsAFailedLoadAndTheOldInstrumentIsBack) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  selector().pick("aucd:1635085685:12:20");
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
}

TEST_F(Trial, WhatIsPutOnAStripDuringATrialStaysThere) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  settle();
  content.droppedFiles().dropOnStrip(engine->channels()[0], "/home/me/click.wav");
  EXPECT_FALSE(isOpen());
  selector().cancel();
  answerAll();
  content.songSwitch().captureCurrentSong();
  EXPECT_EQ(song(0).channels[0].pluginPath, pathPlayback);
  EXPECT_EQ(song(0).channels[0].playbackFilePath, "/home/me/click.wav");
  content.editHistory().undo();
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
}

TEST_F(Trial, CopiesTakeTheStripsOwnInstrumentAndNotTheTrial) {
  const PropertyListDictionary sound{{"cutoff", PropertyListValue{std::int64_t{7}}}};
  pickAndLoad(0, pianoKey);
  coreOf(strip(0)).documentState = sound;
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  content.channelOperations().duplicateChannel(strip(0));
  answerAll();
  EXPECT_EQ(strip(1).pluginPath.get(), pianoKey);
  EXPECT_EQ(coreOf(strip(1)).documentState, sound);
  content.channelOperations().cutChannel(strip(0));
  EXPECT_EQ(content.channelOperations().channelClipboard.get()->pluginPath, pianoKey);
  content.channelOperations().pasteChannel(std::nullopt);
  answerAll();
  EXPECT_EQ(strip(1).pluginPath.get(), pianoKey);
  EXPECT_EQ(coreOf(strip(1)).documentState, sound);
}

TEST_F(Trial, AStormOfTrialsLoadsOneAtATimeAndEndsWithTheLast) {
  selector().open(strip(0));
  for (int press = 0; press < 100; ++press) {
    selector().tryOut(press % 2 == 0 ? pianoKey : organKey);
    settle();
    EXPECT_LE(units.requests.size(), 1U);
  }
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), organKey);
  EXPECT_EQ(selector().triedKey.get(), organKey);
}

TEST_F(Trial, CancellingDoesNotWaitForATrialThatHangs) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  settle();
  ASSERT_FALSE(units.requests.empty());
  const auto hanging = units.requests.size() - 1;
  selector().cancel();
  EXPECT_FALSE(isOpen());
  settle();
  units.answerWithInstrument(hanging);
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
}

TEST_F(Trial, ACaptureStoresTheStripsOwnInstrumentAndNotTheTrial) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  content.songSwitch().captureCurrentSong();
  EXPECT_EQ(song(0).channels[0].pluginPath, pianoKey);
  content.songSwitch().applySong(1);
  answerAll();
  EXPECT_EQ(selector().triedKey.get(), "");
  content.songSwitch().applySong(0);
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
}

TEST_F(Trial, AStripThatGoesDuringATrialLeavesNothingBehind) {
  selector().open(strip(0));
  selector().tryOut(pianoKey);
  settle();
  content.channelOperations().removeChannelFromConsole(strip(0));
  answerAll();
  EXPECT_EQ(selector().triedKey.get(), "");
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

TEST_F(Trial, IsCancelledWhenLiveModeBegins) {
  pickAndLoad(0, pianoKey);
  selector().open(strip(0));
  selector().tryOut(organKey);
  answerAll();
  content.liveMode().setLiveMode(true);
  EXPECT_FALSE(isOpen());
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(selector().triedKey.get(), "");
}

}  // namespace
}  // namespace vrel
