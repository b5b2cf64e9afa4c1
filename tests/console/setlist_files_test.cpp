// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console/setlist_files_stage.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;
using Paths = std::vector<std::filesystem::path>;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Opening

TEST_F(SetlistOnDisk, ACollectedOnePlaysTheFilesBesideItAndStaysMovableUntilItIsSavedElsewhere) {
  const auto trackOf = [](const SetlistFile& setlist) { return setlist.songs.at(0).channels.at(0).playbackFilePath; };
  const auto written = [this](const std::filesystem::path& path) { return readSetlist(files.files.at(path)).value(); };
  SetlistFile collected;
  collected.collectedFolder = "/home/me/other/Gig";
  collected.songs.emplace_back().channels = {
      {.pluginPath = "internal:playback", .playbackFilePath = "/home/me/other/Gig/files/take.wav"}};
  const std::filesystem::path inFolder = "/home/me/Saturday/Gig.vrel";
  const std::filesystem::path elsewhere = "/home/me/elsewhere.vrel";
  files.place(inFolder, encodeSetlist(collected).value());
  files.place("/home/me/Saturday/files/take.wav", "sound");
  setlistFiles.loadSetlist(inFolder);
  settle();
  EXPECT_EQ(state.songs.get().at(0).channels.at(0).playbackFilePath, "/home/me/Saturday/files/take.wav");
  ASSERT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(written(inFolder).collectedFolder, "/home/me/Saturday");
  desktop.savePanelAnswers = {elsewhere, inFolder};
  ASSERT_TRUE(setlistFiles.saveSetlistAs(false));
  EXPECT_EQ(written(elsewhere).collectedFolder, "");
  EXPECT_EQ(trackOf(written(elsewhere)), "/home/me/Saturday/files/take.wav");
  ASSERT_TRUE(setlistFiles.saveSetlistAs(false));
  EXPECT_EQ(written(inFolder).collectedFolder, "") << "it was another setlist in between";
}

TEST_F(SetlistOnDisk, AFileOpensWithItsFirstSongOnStage) {
  openGig();
  expectNothingChanged();
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistOnDisk, AllPluginsOfASetlistAreRequestedBeforeItsFirstSongIsLoaded) {
  SetlistFile setlist;
  setlist.songs.resize(2);
  setlist.songs[1].channels = {record("Piano", pianoKey)};
  files.place(gig, encodeSetlist(setlist).value());
  bool wasAskedFor = false;
  const auto watch = state.currentFilePath.changed.connect([&](const auto& /*path*/) {
    settle();
    wasAskedFor = !units.requests.empty() && !state.selectedSongIndex.get();
  });
  setlistFiles.loadSetlist(gig);
  EXPECT_TRUE(wasAskedFor);
}

TEST_F(SetlistOnDisk, ThatIsOpenedWhilePluginsAreLookedForWaitsForThemBehindTheModal) {
  SetlistFile setlist;
  setlist.songs.resize(1);
  setlist.songs[0].channels = {record("Piano", pianoKey)};
  files.place(gig, encodeSetlist(setlist).value());
  const auto installed = state.scannedPlugins.get();
  state.scannedPlugins.set({});
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(gig);
  settle();
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), "Loading Audio Units");
  EXPECT_THAT(state.songs.get(), IsEmpty());
  EXPECT_THAT(console.lines, IsEmpty()) << "nothing is missing yet";
  state.scannedPlugins.set(installed);
  state.isLookingForPlugins.set(false);
  answerAll();
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(SetlistOnDisk, OfTwoThatWaitForPluginsTheLastIsOpened) {
  files.place(gig, setlistText({"One"}));
  files.place(other, setlistText({"Two"}));
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(gig);
  setlistFiles.loadSetlist(other);
  state.isLookingForPlugins.set(false);
  settle();
  EXPECT_EQ(songNames(), Names{"Two"});
  EXPECT_EQ(state.recentFiles.get(), Paths{other});
}

TEST_F(SetlistOnDisk, ThatWaitsForPluginsIsNotOpenedAfterANewOne) {
  files.place(gig, setlistText({"One"}));
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(gig);
  setlistFiles.newSetlist(false);
  settle();
  EXPECT_FALSE(state.showLoadingModal.get());
  state.isLookingForPlugins.set(false);
  settle();
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
}

TEST_F(SetlistOnDisk, ThatWaitsForPluginsIsNotOpenedAfterUnsavedEdits) {
  files.place(gig, setlistText({"One"}));
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(gig);
  setlistFiles.openUnsaved(readSetlist(setlistText({"Kept"})).value(), std::nullopt);
  state.isLookingForPlugins.set(false);
  settle();
  EXPECT_EQ(songNames(), Names{"Kept"});
}

TEST_F(SetlistOnDisk, ThatWaitedForPluginsEndsNoOtherLoadingSession) {
  state.isLookingForPlugins.set(true);
  setlistFiles.loadSetlist(gig);
  mainQueue.advance(31);
  state.beginLoadingSession(1, "Other");
  state.isLookingForPlugins.set(false);  // there is no such file
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), "Other");
}

TEST_F(SetlistOnDisk, WhatIsOnStageIsNotCapturedIntoTheSetlistThatComes) {
  openGig();
  state.songNotes.set("of the old one");
  strip(0).name.set("Renamed");
  files.place(other, setlistText({"Three"}));
  setlistFiles.loadSetlist(other);
  EXPECT_EQ(song(0).songNotes, "");
  EXPECT_EQ(stripNames(), Names{"Strip of Three"});
}

TEST_F(SetlistOnDisk, TheAssignmentsOfAllSongsComeWithIt) {
  SetlistFile setlist;
  setlist.globalMidiControlAssignments = {{{MidiControlKind::panic, {}}, {0xB0, 15, 120}}};
  files.place(gig, encodeSetlist(setlist).value());
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(state.globalMidiControlAssignments.get(), setlist.globalMidiControlAssignments);
  files.place(other, "{}");
  setlistFiles.loadSetlist(other);
  EXPECT_THAT(state.globalMidiControlAssignments.get(), IsEmpty());
}

TEST_F(SetlistOnDisk, ABareArrayOfSongsOpensAndIsSavedAsASetlistOfVersion3) {
  files.place(gig, R"([{"name":"Old"}])");
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(songNames(), Names{"Old"});
  EXPECT_TRUE(setlistFiles.saveSetlist());
  const auto saved = decodeSetlist(files.files[gig]);
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved.value().version, 3U);
  EXPECT_EQ(namesOnDisk(gig), Names{"Old"});
}

TEST_F(SetlistOnDisk, AnEmptyObjectOpensAsASetlistWithoutSongsAndLeavesTheStripsThatAreThere) {
  openGig();
  files.place(other, "{}");
  setlistFiles.loadSetlist(other);
  EXPECT_THAT(state.songs.get(), IsEmpty());
  EXPECT_EQ(state.currentFilePath.get(), other);
  EXPECT_FALSE(state.selectedSongIndex.get().has_value());
  EXPECT_EQ(stripNames(), Names{"Strip of One"});
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistOnDisk, AnUnreadableFileChangesNothing) {
  openGig();
  files.place("/home/me/locked.vrel", "{}");
  files.unreadable.insert("/home/me/locked.vrel");
  for (const bool dirty : {false, true}) {
    state.isDirty.set(dirty);
    for (const auto& path : Paths{"/home/me/gone.vrel", "/home/me/locked.vrel", gig.parent_path(), "/nowhere/x.vrel"}) {
      console.lines.clear();
      setlistFiles.loadSetlist(path);
      expectNothingChanged();
      EXPECT_EQ(state.isDirty.get(), dirty);
      EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to load setlist: "))) << path;
    }
  }
}

TEST_F(SetlistOnDisk, AFileThatIsNotASetlistChangesNothing) {
  openGig();
  for (const std::string& bytes :
       {std::string(), std::string("null"), std::string("[1]"), std::string("{\"songs\":{}}"),
        setlistText({"Half"}).substr(0, 300), std::string(5000, '\0')}) {
    files.place(other, bytes);
    console.lines.clear();
    setlistFiles.loadSetlist(other);
    expectNothingChanged();
    EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to load setlist: ")));
  }
}

TEST_F(SetlistOnDisk, TheLoggedErrorIsThatOfTheLastAttempt) {
  files.place(gig, R"({"songs":7})");
  setlistFiles.loadSetlist(gig);
  EXPECT_EQ(console.lines, Lines{"Failed to load setlist: " + decodeLegacySongs(R"({"songs":7})").error().description});
}

TEST_F(SetlistOnDisk, OpeningAsksForTheFileFirstAndForTheOldSetlistAfter) {
  openGig();
  files.place(other, setlistText({"Three"}));
  Names order;
  desktop.whileAsking = [&] {
    order.emplace_back(desktop.alerts.empty() ? "file" : "guard");
    EXPECT_EQ(state.currentFilePath.get(), gig);
  };
  desktop.openPanelAnswers = {other};
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openSetlist();
  EXPECT_EQ(order, (Names{"file", "guard"}));
  EXPECT_EQ(desktop.openPanels.front().allowedType, FileType::setlist);
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(state.recentFiles.get(), (Paths{other, gig}));
}

TEST_F(SetlistOnDisk, WithoutAFileChosenOpeningAsksNothingMore) {
  openGig();
  setlistFiles.openSetlist();
  EXPECT_THAT(desktop.alerts, IsEmpty());
  expectNothingChanged();
}

TEST_F(SetlistOnDisk, AnOpeningThatIsCancelledInTheGuardChangesNothing) {
  openGig();
  files.place(other, setlistText({"Three"}));
  desktop.openPanelAnswers = {other};
  desktop.alertAnswers = {cancelButton};
  setlistFiles.openSetlist();
  expectNothingChanged();
}

TEST_F(SetlistOnDisk, ARecentOneIsOpenedBehindTheGuard) {
  openGig();
  files.place(other, setlistText({"Three"}));
  setlistFiles.openRecentSetlist(other);
  expectNothingChanged();
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.openRecentSetlist(other);
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(desktop.alerts.size(), 2U);
}

TEST_F(SetlistOnDisk, ARecentOneIsOpenedAlsoWhenTheGuardSavesAndMovesTheList) {
  files.place(other, setlistText({"Three"}));
  setlistFiles.loadSetlist(other);
  openGig();
  desktop.savePanelAnswers = {"/home/me/third.vrel"};
  state.currentFilePath.set(std::nullopt);
  desktop.alertAnswers = {saveButton};
  setlistFiles.openRecentSetlist(state.recentFiles.get()[1]);
  EXPECT_EQ(songNames(), Names{"Three"});
  EXPECT_EQ(state.recentFiles.get(), (Paths{other, "/home/me/third.vrel", gig}));
}

TEST_F(SetlistOnDisk, InLiveModeNothingIsOpenedAndNoNewSetlistBegun) {
  openGig();
  state.isLiveModeEnabled.set(true);
  desktop.openPanelAnswers = {gig};
  desktop.alertAnswers = {doNotSaveButton, doNotSaveButton, doNotSaveButton};
  setlistFiles.openSetlist();
  setlistFiles.openRecentSetlist(gig);
  setlistFiles.newSetlist(true);
  setlistFiles.newSetlist(false);
  EXPECT_THAT(desktop.alerts, IsEmpty());
  EXPECT_THAT(desktop.openPanels, IsEmpty());
  expectNothingChanged();
}

// Saving

TEST_F(SetlistOnDisk, ASaveWritesWhatIsOnStageNow) {
  openGig();
  strip(0).volume.set(0.25F);
  state.songNotes.set("slower");
  state.isDirty.set(true);
  EXPECT_TRUE(setlistFiles.saveSetlist());
  const auto saved = decodeSetlist(files.files[gig]);
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved.value().songs[0].channels[0].volume, 0.25F);
  EXPECT_EQ(saved.value().songs[0].songNotes, "slower");
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_THAT(desktop.savePanels, IsEmpty());
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(SetlistOnDisk, TheStateThatAPluginHasNowIsSaved) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  dynamic_cast<simulation::ScriptedInstrument&>(*strip(0).instrumentNode.get()).core.documentState =
      PropertyListDictionary{{"tone", {0.5}}};
  EXPECT_TRUE(setlistFiles.writeSetlist(gig));
  EXPECT_TRUE(decodeSetlist(files.files[gig]).value().songs[0].channels[0].pluginStateBase64.has_value());
}

TEST_F(SetlistOnDisk, ASaveThatMissedAStateLeavesTheMark) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  answerAll();
  auto& core = dynamic_cast<simulation::ScriptedInstrument&>(*strip(0).instrumentNode.get()).core;
  core.isStateMissed = true;
  const auto line = StartsWith("Saved with the last known state of plug-ins that did not answer (1)");
  for (const bool dirty : {true, false}) {
    state.isDirty.set(dirty);
    console.lines.clear();
    EXPECT_TRUE(setlistFiles.writeSetlist(gig));
    EXPECT_TRUE(state.isDirty.get());
    EXPECT_THAT(console.lines, ElementsAre(line));
  }
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::save, FailureKind::save}));
  core.isStateMissed = false;
  EXPECT_TRUE(setlistFiles.writeSetlist(gig));
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(SetlistOnDisk, TheFirstSaveAsksWhereToAndRemembersIt) {
  addSong("One", {});
  desktop.savePanelAnswers = {gig};
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(desktop.savePanels.at(0).suggestedName, "Untitled.vrel");
  EXPECT_EQ(desktop.savePanels.at(0).allowedType, FileType::setlist);
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_EQ(state.recentFiles.get(), Paths{gig});
  EXPECT_EQ(namesOnDisk(gig), Names{"One"});
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(desktop.savePanels.size(), 1U);
}

TEST_F(SetlistOnDisk, SaveAsSuggestsTheNameThereIsAndGoesOnThere) {
  openGig();
  desktop.savePanelAnswers = {other};
  EXPECT_TRUE(setlistFiles.saveSetlistAs(false));
  EXPECT_EQ(desktop.savePanels.at(0).suggestedName, "gig.vrel");
  EXPECT_EQ(state.currentFilePath.get(), other);
  EXPECT_EQ(namesOnDisk(other), (Names{"One", "Two"}));
  EXPECT_EQ(state.recentFiles.get(), (Paths{other, gig}));
}

TEST_F(SetlistOnDisk, ASaveAsThatIsCancelledSavesNothing) {
  openGig();
  state.isDirty.set(true);
  EXPECT_FALSE(setlistFiles.saveSetlistAs(false));
  EXPECT_TRUE(state.isDirty.get());
  expectNothingChanged();
}

TEST_F(SetlistOnDisk, InLiveModeASaveWithAPathWorksAndSaveAsDoesNothing) {
  openGig();
  state.isLiveModeEnabled.set(true);
  state.songNotes.set("live");
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(decodeSetlist(files.files[gig]).value().songs[0].songNotes, "live");
  desktop.savePanelAnswers = {other};
  EXPECT_FALSE(setlistFiles.saveSetlistAs(false));
  state.currentFilePath.set(std::nullopt);
  EXPECT_FALSE(setlistFiles.saveSetlist()) << "without a path it is a Save As";
  EXPECT_THAT(desktop.savePanels, IsEmpty());
  EXPECT_FALSE(files.files.contains(other));
}

TEST_F(SetlistOnDisk, InLiveModeTheGuardCanStillOpenThePanel) {
  addSong("One", {});
  state.isLiveModeEnabled.set(true);
  desktop.alertAnswers = {saveButton};
  desktop.savePanelAnswers = {gig};
  EXPECT_TRUE(setlistFiles.confirmSetlistChange());
  EXPECT_EQ(namesOnDisk(gig), Names{"One"});
}

TEST_F(SetlistOnDisk, AFailedSaveIsLoggedAndLeavesTheMarkAndThePathUnchanged) {
  openGig();
  files.readOnly = {gig};
  for (const bool dirty : {true, false}) {
    state.isDirty.set(dirty);
    state.songNotes.set(dirty ? "first" : "second");
    console.lines.clear();
    EXPECT_FALSE(setlistFiles.saveSetlist());
    EXPECT_EQ(state.isDirty.get(), dirty);
    EXPECT_THAT(console.lines, ElementsAre("Failed to save setlist: " + gig.string() + ": Permission denied"));
    EXPECT_EQ(song(0).songNotes, state.songNotes.get()) << "what was captured stays";
    expectNothingChanged();
  }
  EXPECT_THAT(desktop.alerts, IsEmpty());
}

TEST_F(SetlistOnDisk, ASaveToAPlaceThatIsNotThereFailsAndKeepsThePath) {
  openGig();
  desktop.savePanelAnswers = {"/gone/gig.vrel"};
  EXPECT_FALSE(setlistFiles.saveSetlistAs(false));
  EXPECT_EQ(console.lines, Lines{"Failed to save setlist: /gone/gig.vrel: No such file or directory"});
  EXPECT_EQ(console.failureKinds(), (std::vector{FailureKind::save}));
  expectNothingChanged();
}

TEST_F(SetlistOnDisk, AValueThatNoFileHoldsFailsBeforeTheFileIsTouched) {
  openGig();
  const auto before = files.files[gig];
  strip(0).name.set("\xFF");
  EXPECT_FALSE(setlistFiles.saveSetlist());
  EXPECT_EQ(files.files[gig], before);
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to save setlist: songs[0].channels[0].name")));
  EXPECT_THAT(copies.copiesOf(gig), IsEmpty());
}

TEST_F(SetlistOnDisk, ASaveSucceedsWhenTheRecentListCannotBeWritten) {
  openGig();
  files.readOnly.insert(state.recentFilesPath);
  state.isDirty.set(true);
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_THAT(console.lines, ElementsAre(StartsWith("Failed to save recent files: ")));
}

// A new one

TEST_F(SetlistOnDisk, ANewOneHasOneSongWithOneStripOverTheKeyboardThatIsShown) {
  openGig();
  state.keyboardStartNote.set(36);
  state.keyboardKeyCount.set(61);
  state.isDirty.set(true);
  setlistFiles.newSetlist(false);
  EXPECT_THAT(desktop.alerts, IsEmpty());
  ASSERT_EQ(state.songs.get().size(), 1U);
  const auto& fresh = song(0);
  EXPECT_EQ(fresh.name, "01. Untitled Song");
  EXPECT_EQ(fresh.tempoBpm, 120U);
  EXPECT_EQ(fresh.songNotes, "");
  EXPECT_EQ(fresh.keyboardStartNote, 21);
  EXPECT_EQ(fresh.keyboardKeyCount, 88);
  EXPECT_EQ(fresh.masterChannelColor, (std::vector<float>{0.5F, 0.5F, 0.5F}));
  EXPECT_THAT(fresh.masterEffectSlots, IsEmpty());
  EXPECT_THAT(fresh.midiControlAssignments, IsEmpty());
  EXPECT_FALSE(state.currentFilePath.get().has_value());
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_EQ(state.recentFiles.get(), Paths{gig});
}

TEST_F(SetlistOnDisk, TheStripOfANewOneIsAnEmptyPianoLead) {
  state.keyboardStartNote.set(36);
  state.keyboardKeyCount.set(61);
  setlistFiles.newSetlist(false);
  ASSERT_EQ(song(0).channels.size(), 1U);
  ChannelConfig expected;
  expected.id = song(0).channels[0].id;
  expected.name = "Piano Lead";
  expected.volume = 0.85F;
  expected.gain = 0.5F;
  expected.reverb = 0.0F;
  expected.color = {1.0F, 0.33F, 0.0F};
  expected.minNote = 36;
  expected.maxNote = 96;
  expected.sendSustain = true;
  expected.sendExpression = true;
  expected.playbackStopMode = StopMode::toggle;
  EXPECT_EQ(song(0).channels[0], expected);
  EXPECT_EQ(stripNames(), Names{"Piano Lead"});
  EXPECT_EQ(strip(0).minNote.get(), 36);
}

TEST_F(SetlistOnDisk, TheAssignmentsOfAllSongsGoOnIntoANewOne) {
  const std::vector<MidiControlAssignment> assignments{{{MidiControlKind::panic, {}}, {0xB0, 15, 120}}};
  state.globalMidiControlAssignments.set(assignments);
  setlistFiles.newSetlist(false);
  EXPECT_EQ(state.globalMidiControlAssignments.get(), assignments);
}

TEST_F(SetlistOnDisk, ANewOneWaitsForTheGuardOnRequest) {
  openGig();
  desktop.alertAnswers = {cancelButton};
  setlistFiles.newSetlist(true);
  expectNothingChanged();
  desktop.alertAnswers = {doNotSaveButton};
  setlistFiles.newSetlist(true);
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
}

}  // namespace
}  // namespace vrel
