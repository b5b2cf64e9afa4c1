// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_switch.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

using Switch = SimulatedSession;

TEST_F(Switch, AnIndexOutOfRangeChangesAndCapturesNothing) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  strip(0).volume.set(0.1F);
  state.isDirty.set(true);
  const auto before = state.songs.get();
  const auto token = state.songSwitchLoadToken.get();
  songSwitch.applySong(1);
  songSwitch.applySong(-1);
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_EQ(state.songs.get(), before);
  EXPECT_EQ(state.songSwitchLoadToken.get(), token);
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_EQ(selection.channelsViewVersion.get(), 1U);
}

TEST_F(Switch, TheFirstSongCapturesNothing) {
  addSong("One", {record("Piano", pianoKey)});
  state.songNotes.set("not of this song");
  const auto before = state.songs.get();
  songSwitch.applySong(0);
  EXPECT_EQ(state.songs.get(), before);
}

TEST_F(Switch, ASelectionThatIsTooLargeCapturesNothing) {
  addSong("One", {record("Piano", pianoKey)});
  state.selectedSongIndex.set(7);
  const auto before = state.songs.get();
  songSwitch.captureCurrentSong();
  EXPECT_EQ(state.songs.get(), before);
}

TEST_F(Switch, ASongWithNoPluginsEndsTheSwitchAtOnceAndWithoutAModal) {
  addSong("Empty", {record("Free", "")});
  songSwitch.applySong(0);
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 0);
  EXPECT_EQ(state.songSwitchStartedAtUptime.get(), std::nullopt);
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::noPlugin);
}

TEST_F(Switch, BuildsTheStripsOfTheRecordWithAllTheirValues) {
  auto low = record("Low", pianoKey, {chorusKey});
  low.volume = 0.3F;
  low.gain = 0.6F;
  low.reverb = 0.4F;
  low.mute = true;
  low.solo = true;
  low.color = {0.1F, 0.2F, 0.3F};
  low.minNote = 10;
  low.maxNote = 59;
  low.transpose = -12;
  low.sendSustain = false;
  low.sendExpression = false;
  low.sustainControlsRotor = true;
  addSong("One", {low, record("High", organKey)});
  songSwitch.applySong(0);
  answerAll();
  songSwitch.captureCurrentSong();
  auto captured = song(0).channels;
  ASSERT_EQ(captured.size(), 2U);
  EXPECT_NE(captured[0].id, low.id) << "a capture creates new records";
  captured[0].id = low.id;
  captured[0].pluginStateBase64 = low.pluginStateBase64;
  captured[0].effectSlots[0].stateBase64 = std::nullopt;
  EXPECT_EQ(captured[0], low);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_EQ(strip(1).pluginPath.get(), organKey);
}

TEST_F(Switch, CountsInstrumentsEffectsAndTheMastersRackAndShowsThemInTheModal) {
  addSong("One", {record("Piano", pianoKey, {chorusKey, "", chorusKey}), record("Gone", "aucd:1635085685:77:78"),
                  record("Free", "", {chorusKey})});
  changeSong(0, [](SongConfig& song) { song.masterEffectSlots.emplace_back().pluginPath = chorusKey; });
  std::vector<int> totals;
  const auto watch = state.totalLoadsCount.changed.connect([&](int count) { totals.push_back(count); });
  songSwitch.applySong(0);
  EXPECT_TRUE(state.songSwitchInProgress.get());
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 5) << "the one that is not installed has ended";
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), "Loading Audio Units");
  EXPECT_EQ(state.remainingLoadsCount.get(), 5);
  answerAll();
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 0);
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_THAT(totals, ElementsAre(6, 0));
}

TEST_F(Switch, TheModalSpeaksTheLanguageOfTheSession) {
  const std::vector<std::pair<Language, std::string>> messages = {{Language::english, "Loading Audio Units"},
                                                                  {Language::spanish, "Cargando Audio Units"},
                                                                  {Language::french, "Chargement des Audio Units"},
                                                                  {Language::italian, "Caricamento Audio Units"},
                                                                  {Language::german, "Audio Units werden geladen"}};
  for (const auto& [language, message] : messages) {
    state.language.set(language);
    addSong("One", {record("Piano", pianoKey)});
    songSwitch.applySong(static_cast<std::ptrdiff_t>(state.songs.get().size()) - 1);
    EXPECT_EQ(state.loadingMessage.get(), message);
  }
}

TEST_F(Switch, SelectingTheSongOnStageReloadsItAndClearsTheDirtyMark) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  const auto before = engine->channels()[0];
  before->volume.set(0.25F);
  state.songNotes.set("slow");
  state.isDirty.set(true);
  songSwitch.applySong(0);
  answerAll();
  EXPECT_NE(engine->channels()[0], before);
  EXPECT_EQ(strip(0).volume.get(), 0.25F);
  EXPECT_EQ(state.songNotes.get(), "slow");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Switch, AnUnknownPluginKeepsItsSilentStripAndTheSwitchEnds) {
  addSong("One", {record("Gone", "aucd:1635085685:77:78", {chorusKey}), record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(strip(0).pluginPath.get(), "") << "the next capture stores it without";
  EXPECT_EQ(strip(0).effectNodes.get().size(), 1U);
  EXPECT_EQ(strip(1).status.get(), ChannelStatus::running);
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 0);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(Switch, APluginThatFailsEndsItsLoadLikeAnyOther) {
  addSong("One", {record("Piano", pianoKey, {chorusKey})});
  songSwitch.applySong(0);
  settle();
  while (!units.requests.empty()) {
    units.answer(0, nullptr, Error{"broken"});
    settle();
  }
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 0);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(Switch, TheTimeOfTheOneBeforeIsNotShownForTheNext) {
  addSong("Free", {});
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  ASSERT_EQ(state.songSwitchElapsedMs.get(), 0);
  songSwitch.applySong(1);
  EXPECT_EQ(state.songSwitchElapsedMs.get(), std::nullopt);
}

TEST_F(Switch, ATempoOutOfBoundsShowsAsItIsAndTheBeatIsLimited) {
  addSong("Fast", {});
  addSong("Slow", {});
  changeSong(0, [](SongConfig& song) { song.tempoBpm = 500; });
  changeSong(1, [](SongConfig& song) { song.tempoBpm = 5; });
  songSwitch.applySong(0);
  EXPECT_EQ(state.tempoBpm.get(), 500U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 300);
  songSwitch.applySong(1);
  EXPECT_EQ(state.tempoBpm.get(), 5U);
  EXPECT_EQ(engine->musicalContext().currentTempoBpm(), 20);
  EXPECT_EQ(song(0).tempoBpm, 500U) << "the capture keeps the record's value";
}

TEST_F(Switch, TheBeatIsStoppedDuringTheSwitchAndStartsFromZeroAtItsEnd) {
  addSong("One", {record("Piano", pianoKey)});
  mainQueue.advance(3);
  songSwitch.applySong(0);
  auto& beat = engine->musicalContext();
  EXPECT_FALSE(beat.isHostTransportRunning());
  EXPECT_EQ(beat.currentBeat(), 0);
  mainQueue.advance(1.999);
  EXPECT_TRUE(beat.hasTransportStateChanged());
  mainQueue.advance(0.501);
  EXPECT_FALSE(beat.hasTransportStateChanged());
  answerAll();
  EXPECT_TRUE(beat.isHostTransportRunning());
  EXPECT_EQ(beat.currentBeat(), 0);
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 2500);
  mainQueue.advance(1.999);
  EXPECT_TRUE(beat.hasTransportStateChanged());
}

TEST_F(Switch, InstrumentsAreStoppedWhenTheSongGoesAndStoppedAndStartedWhenTheNextOneIsReady) {
  addSong("One", {record("Piano", pianoKey), record("Organ", organKey)});
  addSong("Two", {});
  songSwitch.applySong(0);
  answerAll();
  const auto instrument = engine->channels()[0]->instrumentNode.get();
  const auto& events = eventsOf(strip(0));
  EXPECT_EQ(events, (Events{{0xFC, 0, 0}, {0xFA, 0, 0}}));
  EXPECT_EQ(eventsOf(strip(1)), (Events{{0xFC, 0, 0}, {0xFA, 0, 0}}));
  songSwitch.applySong(1);
  EXPECT_EQ(events, (Events{{0xFC, 0, 0}, {0xFA, 0, 0}, {0xFC, 0, 0}}));
}

TEST_F(Switch, TheOutgoingSongIsCapturedWithEverythingThatIsLive) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  answerAll();
  state.songNotes.set("Intro twice");
  state.tempoBpm.set(97);
  state.keyboardStartNote.set(36);
  state.keyboardKeyCount.set(61);
  engine->masterChannel()->color.set({0.5F, 0.6F, 0.7F});
  strip(0).transpose.set(5);
  dynamic_cast<simulation::ScriptedInstrument&>(*strip(0).instrumentNode.get()).core.documentState =
      PropertyListDictionary{{"tone", {0.5}}};
  songSwitch.applySong(1);
  const auto& captured = song(0);
  EXPECT_EQ(captured.songNotes, "Intro twice");
  EXPECT_EQ(captured.tempoBpm, 97U);
  EXPECT_EQ(captured.keyboardStartNote, 36);
  EXPECT_EQ(captured.keyboardKeyCount, 61);
  EXPECT_EQ(captured.masterChannelColor, (std::vector<float>{0.5F, 0.6F, 0.7F}));
  EXPECT_EQ(captured.channels[0].transpose, 5);
  EXPECT_TRUE(captured.channels[0].pluginStateBase64.has_value());
  EXPECT_EQ(captured.name, "One");

  EXPECT_EQ(state.songNotes.get(), "") << "the next song brings its own";
  EXPECT_EQ(state.tempoBpm.get(), 120U);
  songSwitch.applySong(0);
  EXPECT_EQ(state.songNotes.get(), "Intro twice");
  EXPECT_EQ(state.keyboardStartNote.get(), 36);
  EXPECT_EQ(state.keyboardKeyCount.get(), 61);
  EXPECT_EQ(engine->masterChannel()->color.get(), (std::vector<float>{0.5F, 0.6F, 0.7F}));
}

TEST_F(Switch, TheMastersRackIsCapturedWithTheStatesOfItsEffects) {
  addSong("One", {});
  addSong("Two", {});
  changeSong(0, [](SongConfig& song) { song.masterEffectSlots.emplace_back().pluginPath = chorusKey; });
  songSwitch.applySong(0);
  answerAll();
  const auto slot = song(0).masterEffectSlots[0];
  dynamic_cast<simulation::ScriptedUnit&>(*engine->masterChannel()->effectNodes.get().at(slot.id)).core.documentState =
      PropertyListDictionary{{"depth", {0.5}}};
  songSwitch.applySong(1);
  ASSERT_EQ(song(0).masterEffectSlots.size(), 1U);
  EXPECT_EQ(song(0).masterEffectSlots[0].id, slot.id);
  EXPECT_TRUE(song(0).masterEffectSlots[0].stateBase64.has_value());
  EXPECT_TRUE(song(1).masterEffectSlots.empty());
}

TEST_F(Switch, ACaptureAsksAllPluginsBeforeItWaitsForTheFirst) {
  addSong("One", {record("Piano", pianoKey), record("Organ", organKey)});
  changeSong(0, [](SongConfig& song) { song.masterEffectSlots.emplace_back().pluginPath = chorusKey; });
  songSwitch.applySong(0);
  answerAll();
  const auto coreOf = [this](std::size_t index) {
    return &dynamic_cast<simulation::ScriptedInstrument&>(*strip(index).instrumentNode.get()).core;
  };
  const auto chorusNode = engine->masterChannel()->effectNodes.get().begin()->second;
  const std::vector cores{coreOf(0), coreOf(1), &dynamic_cast<simulation::ScriptedUnit&>(*chorusNode).core};
  for (auto* core : cores) {
    core->stateRead = [&cores] {
      for (const auto* each : cores) {
        EXPECT_EQ(each->stateRequests, 1);
      }
    };
  }
  songSwitch.captureCurrentSong();
  for (const auto* core : cores) {
    EXPECT_EQ(core->documentStateReads, 1);
  }
}

TEST_F(Switch, ACaptureLeavesTheDirtyMarkAlone) {
  addSong("One", {});
  songSwitch.applySong(0);
  songSwitch.captureCurrentSong();
  EXPECT_FALSE(state.isDirty.get());
  state.isDirty.set(true);
  songSwitch.captureCurrentSong();
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Switch, KeysHeldDuringTheSwitchAreReleasedInTheNewSong) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  engine->routeMIDI(0x90, 60, 100);
  const auto& before = eventsOf(strip(0));
  const auto held = engine->channels()[0]->instrumentNode.get();
  songSwitch.applySong(1);
  answerAll();
  engine->routeMIDI(0x80, 60, 0);
  EXPECT_THAT(before, Not(Contains(simulation::RecordedEvent{0x80, 60, 0})));
  EXPECT_THAT(eventsOf(strip(0)), Contains(simulation::RecordedEvent{0x80, 60, 0}));
}

TEST_F(Switch, AFileThatCannotBeReadEndsItsLoadAndKeepsItsEffects) {
  addSong("One", {record("Track", "internal:playback", {chorusKey})});
  songSwitch.applySong(0);
  EXPECT_EQ(state.totalLoadsCount.get(), 2);
  EXPECT_EQ(state.songSwitchPendingLoads.get(), 1);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  ASSERT_EQ(console.lines.size(), 1U);
  EXPECT_THAT(console.lines[0], testing::StartsWith("Failed to load playback file: "));
  answerAll();
  EXPECT_EQ(strip(0).effectNodes.get().size(), 1U);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(Switch, TheMastersVolumeAndMuteStayAcrossSongs) {
  addSong("One", {});
  addSong("Two", {});
  engine->masterChannel()->volume.set(0.33F);
  engine->masterChannel()->mute.set(true);
  songSwitch.applySong(0);
  songSwitch.applySong(1);
  EXPECT_EQ(engine->masterChannel()->volume.get(), 0.33F);
  EXPECT_TRUE(engine->masterChannel()->mute.get());
}

TEST_F(Switch, TheFirstStripIsSelectedAndAllAreRebuilt) {
  addSong("One", {record("Piano", ""), record("Organ", "")});
  addSong("Empty", {});
  songSwitch.applySong(0);
  EXPECT_EQ(selection.selectedChannelId.get(), strip(0).id);
  EXPECT_EQ(selection.channelsViewVersion.get(), 1U);
  songSwitch.applySong(1);
  EXPECT_EQ(selection.selectedChannelId.get(), std::nullopt);
  EXPECT_EQ(selection.channelsViewVersion.get(), 2U);
}

TEST_F(Switch, LearningEndsAfterTheCapture) {
  addSong("One", {});
  songSwitch.applySong(0);
  state.songNotes.set("kept");
  std::vector<std::string> notesAtCancel;
  songSwitch.cancelMidiLearn = [&] { notesAtCancel.push_back(song(0).songNotes); };
  songSwitch.applySong(0);
  EXPECT_THAT(notesAtCancel, ElementsAre("kept"));
}

TEST_F(Switch, EffectsOfStripsAndMasterAreRestoredBehindTheInstrument) {
  addSong("One", {record("Piano", pianoKey, {chorusKey})});
  changeSong(0, [](SongConfig& song) { song.masterEffectSlots.emplace_back().pluginPath = chorusKey; });
  songSwitch.applySong(0);
  answerAll();
  const auto instrument = strip(0).instrumentNode.get();
  EXPECT_EQ(graph().chainFrom(instrument), dynamic_cast<simulation::ScriptedInstrument&>(*instrument).name +
                                               " > effect 2 > reverb 1 > meter 1 > main mixer > effect 1 > output");
}

TEST_F(Switch, TheSecondTimeRoundTheInstrumentsComeFromThePool) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  answerAll();
  songSwitch.applySong(1);
  settle();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_FALSE(state.songSwitchInProgress.get());
}

TEST_F(Switch, WhatTheSetlistNeedsIsMadeAheadBeforeTheOldSongGivesItsInstrumentsBack) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Free", {record("Free", "")});
  songSwitch.applySong(0);
  answerAll();
  ASSERT_NE(engine->pluginPool().take(pianoKey), nullptr);
  songSwitch.applySong(1);
  EXPECT_TRUE(engine->pluginPool().isPrewarming(pianoKey));
  answerAll();
  EXPECT_EQ(engine->pluginPool().idleCount(pianoKey), 2U) << "the one returned, and the one created";
}

TEST_F(Switch, TheMasterIsRewiredOnceItsRackIsLoadedAlsoAnEmptyOne) {
  addSong("Free", {});
  songSwitch.applySong(0);
  const auto stops = graph().count("stop");
  songSwitch.applySong(0);
  EXPECT_EQ(graph().count("stop"), stops + 1);
  EXPECT_EQ(graph().chainFrom(graph().mainMixerNode()), "main mixer > output");
}

TEST_F(Switch, ClipsLoseNothingInACapture) {
  auto clips = record("Clips", "internal:visual");
  clips.visualClipMappings = {VisualClipMapping{}};
  addSong("One", {clips});
  songSwitch.applySong(0);
  EXPECT_FALSE(state.songSwitchInProgress.get());
  songSwitch.captureCurrentSong();
  auto captured = song(0).channels;
  captured[0].id = clips.id;
  EXPECT_EQ(captured[0], clips);
}

TEST_F(Switch, APluginThatIsMissingTodayIsKeptInTheDocumentAndGoesWithItsStrip) {
  auto gone = record("Gone", "aucd:1635085685:77:78");
  gone.pluginStateBase64 = "QUJD";
  addSong("One", {gone});
  addSong("Two", {record("Piano", pianoKey)});
  for (const int index : {0, 1, 0}) {
    songSwitch.applySong(index);
    answerAll();
  }
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(strip(0).pluginPath.get(), "");
  songSwitch.captureCurrentSong();
  auto captured = song(0).channels;
  captured[0].id = gone.id;
  EXPECT_EQ(captured[0], gone);
  EXPECT_EQ(song(1).channels[0].pluginPath, pianoKey);
}

TEST_F(Switch, AStripWhoseInstrumentWasRemovedIsCapturedEmptyAlsoWhileAnotherLoads) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  engine->instruments().unloadInstrument(strip(0));
  songSwitch.captureCurrentSong();
  EXPECT_EQ(song(0).channels[0].pluginPath, "");
  engine->instruments().loadInstrument(engine->channels()[0], organ, std::nullopt, nullptr);
  songSwitch.captureCurrentSong();
  EXPECT_EQ(song(0).channels[0].pluginPath, "");
}

TEST_F(Switch, AFileThatIsMissingTodayIsKeptInTheDocument) {
  auto file = record("Track", "internal:playback");
  file.playbackFilePath = "/music/track.wav";
  file.playbackLoop = true;
  file.playbackStartTime = 1.5;
  file.playbackEndTime = 9.5;
  file.playbackStopMode = PlaybackStopMode::fromText("other");
  addSong("One", {file});
  songSwitch.applySong(0);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed);
  songSwitch.captureCurrentSong();
  auto captured = song(0).channels;
  captured[0].id = file.id;
  EXPECT_EQ(captured[0], file);
}

TEST_F(Switch, EncodesNoLargeState) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey)});
  songSwitch.applySong(0);
  answerAll();
  const PropertyListDictionary large{{"data", {PropertyListData(65536, std::uint8_t{0x5A})}}};
  const auto stateOf = [this](std::size_t index) -> auto& {
    return dynamic_cast<simulation::ScriptedInstrument&>(*strip(index).instrumentNode.get()).core.documentState;
  };
  stateOf(0) = large;
  for (const std::ptrdiff_t next : {1, 0, 1, 0}) {
    songSwitch.applySong(next);
    answerAll();
  }
  EXPECT_EQ(propertyLists.encodings, 0);
  EXPECT_FALSE(song(0).channels[0].pluginStateBase64->text().empty());
  EXPECT_EQ(stateOf(0), large);
}

TEST_F(Switch, TheOldStripsStillExistWhenTheirRemovalIsAnnounced) {
  addSong("One", {record("Piano", pianoKey)});
  addSong("Two", {record("Organ", organKey, {chorusKey})});
  songSwitch.applySong(0);
  answerAll();
  int emissions = 0;
  const auto connection = songSwitch.stripsWillGo.connect([&] {
    ++emissions;
    EXPECT_EQ(strip(0).name.get(), "Piano");
    EXPECT_EQ(eventsOf(strip(0)).back(), (simulation::RecordedEvent{0xFC, 0, 0}));
    EXPECT_EQ(state.selectedSongIndex.get(), 1U);
    EXPECT_EQ(state.songSwitchPendingLoads.get(), 2);
  });
  songSwitch.applySong(1);
  EXPECT_EQ(emissions, 1);
}

}  // namespace
}  // namespace vrel
