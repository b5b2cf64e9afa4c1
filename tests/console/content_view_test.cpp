// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/content_view.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "performance/performance_display.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

class ContentViewTest : public SimulatedSession {
 protected:
  void appear() {
    content.contentDidAppear();
    answerAll();
  }

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  ContentView content{{state, *engine, mainQueue, clock, console, desktop, files, notifications, "/home/me/copies"}};
};

TEST_F(ContentViewTest, ComesUpWithOneSongOnStageAndItsStripSelected) {
  appear();
  ASSERT_EQ(state.songs.get().size(), 1U);
  EXPECT_EQ(song(0).name, "01. Untitled Song");
  ASSERT_EQ(engine->channels().size(), 1U);
  EXPECT_EQ(content.selection().selectedChannelId.get(), strip(0).id);
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_TRUE(desktop.alerts.empty());
}

TEST_F(ContentViewTest, ComesUpWithTheSetlistThatIsThereAlready) {
  addSong("One", {record("A", "")});
  appear();
  EXPECT_EQ(state.songs.get().size(), 1U);
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_EQ(content.selection().selectedChannelId.get(), std::nullopt);
}

TEST_F(ContentViewTest, ShowsWhatIsPlayedAndLearnsFromIt) {
  appear();
  engine->ensureEngineRunning("test");
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_TRUE(state.pressedNotes.get().contains(60));
  content.midiLearn().toggleMidiLearnMode();
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::masterVolume, std::nullopt});
  engine->routeMIDI(0xB0, 7, 10);
  EXPECT_EQ(song(0).midiControlAssignments.size(), 1U);
  EXPECT_FALSE(state.isMidiLearnMode.get());
}

TEST_F(ContentViewTest, TheLargeNotesFollowTheirControlAndBeginEachSongAtTheTop) {
  appear();
  auto& notes = content.largeNotes();
  EXPECT_FALSE(notes.isShown.get()) << "at first";
  notifications.post("vrel.toggleLargeNotes");
  EXPECT_TRUE(notes.isShown.get());
  content.midiLearn().performMidiControl({MidiControlKind::notesPosition, {}}, false, 0.75F);
  EXPECT_EQ(notes.position.get(), 0.75F);
  content.songSwitch().applySong(0);
  EXPECT_EQ(notes.position.get(), 0.0F);
  notifications.post("vrel.toggleLargeNotes");
  EXPECT_FALSE(notes.isShown.get());
}

TEST_F(ContentViewTest, PagesOverSongsOrStripsCloseAsLiveModeBegins) {
  appear();
  const auto beginLiveMode = [this] {
    content.liveMode().setLiveMode(false);
    content.liveMode().setLiveMode(true);
  };
  for (auto* const isShown : {&content.setlistChecker().isShown, &content.keptCopies().isShown,
                              &content.learnedControls().isShown, &content.songControlPage().isShown}) {
    isShown->set(true);
    beginLiveMode();
    EXPECT_FALSE(isShown->get());
  }
  const auto& rack = content.effectRack().openChannelId;
  content.effectRack().toggle(*engine->masterChannel());
  content.largeNotes().toggle();
  beginLiveMode();
  EXPECT_EQ(rack.get(), std::nullopt);
  EXPECT_TRUE(content.largeNotes().isShown.get()) << "they are for the stage";
  content.effectRack().toggle(*engine->masterChannel());
  EXPECT_EQ(rack.get(), engine->masterChannel()->id) << "opened in Live mode";
}

TEST_F(ContentViewTest, ASongSwitchCancelsWhatIsBeingLearned) {
  appear();
  content.midiLearn().toggleMidiLearnMode();
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::panic, std::nullopt});
  content.songSwitch().applySong(0);
  EXPECT_FALSE(content.midiLearn().pendingMidiLearnTarget.get().has_value());
}

TEST_F(ContentViewTest, TheCommandsOfTheMenusReachTheirOperations) {
  appear();
  notifications.post("vrel.copyChannel");
  EXPECT_TRUE(content.channelOperations().channelClipboard.get().has_value());
  notifications.post("vrel.pasteChannel");
  EXPECT_EQ(engine->channels().size(), 2U);
  notifications.post("vrel.duplicateChannel");
  EXPECT_EQ(engine->channels().size(), 3U);
  notifications.post("vrel.cutChannel");
  EXPECT_EQ(engine->channels().size(), 2U);

  state.globalMidiControlAssignments.set({{{MidiControlKind::channelVolume, 0}, {0xB0, 0, 1}}});
  notifications.post("vrel.clearMidiLearn");
  EXPECT_TRUE(state.globalMidiControlAssignments.get().empty());

  desktop.savePanelAnswers = {"/home/me/gig.vrel"};
  notifications.post("vrel.saveSetlistAs");
  EXPECT_EQ(state.currentFilePath.get(), std::filesystem::path("/home/me/gig.vrel"));
  state.isDirty.set(true);
  notifications.post("vrel.saveSetlist");
  EXPECT_FALSE(state.isDirty.get());

  desktop.alertAnswers = {1};
  notifications.post("vrel.newSetlist");
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
  desktop.alertAnswers = {1};
  notifications.post("vrel.openRecentSetlist", "/home/me/gig.vrel");
  EXPECT_EQ(engine->channels().size(), 2U);
  desktop.openPanelAnswers = {"/home/me/gig.vrel"};
  desktop.alertAnswers = {1};
  notifications.post("vrel.openSetlist");
  EXPECT_EQ(desktop.openPanels.size(), 1U);

  notifications.post("vrel.clearRecentSetlists");
  EXPECT_TRUE(state.recentFiles.get().empty());
  desktop.alertAnswers = {1};
  notifications.post("vrel.requestTermination");
  EXPECT_EQ(desktop.terminationReplies, std::vector{true});
}

TEST_F(ContentViewTest, AStripWhosePluginIsMissingKeepsItWhenItIsDuplicatedCutAndPasted) {
  auto gone = record("Gone", "aucd:1635085685:77:78");
  gone.pluginStateBase64 = "QUJD";
  addSong("One", {gone});
  addSong("Two", {});
  appear();
  content.songSwitch().applySong(0);
  content.channelOperations().duplicateChannel(strip(0));
  content.channelOperations().cutChannel(strip(0));
  content.songSwitch().applySong(1);
  content.channelOperations().pasteChannel(std::nullopt);
  content.songSwitch().captureCurrentSong();
  for (const std::size_t index : {0U, 1U}) {
    ASSERT_EQ(song(index).channels.size(), 1U);
    EXPECT_EQ(song(index).channels[0].pluginPath, gone.pluginPath);
    EXPECT_EQ(song(index).channels[0].pluginStateBase64, gone.pluginStateBase64);
  }
}

TEST_F(ContentViewTest, ACommandForTheSelectedStripDoesNothingWithoutOne) {
  appear();
  content.selection().selectedChannelId.set(std::nullopt);
  notifications.post("vrel.cutChannel");
  notifications.post("vrel.copyChannel");
  notifications.post("vrel.duplicateChannel");
  EXPECT_EQ(engine->channels().size(), 1U);
  EXPECT_FALSE(content.channelOperations().channelClipboard.get().has_value());
}

TEST_F(ContentViewTest, NotesAndLanguageCountAsEdits) {
  appear();
  content.setSongNotes("slow");
  EXPECT_EQ(state.songNotes.get(), "slow");
  EXPECT_TRUE(state.isDirty.get());
  state.isDirty.set(false);
  content.setLanguage(Language::german);
  EXPECT_EQ(state.language.get(), Language::german);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(ContentViewTest, ADragOverARowMovesTheSongThereAtOnce) {
  addSong("One", {});
  addSong("Two", {});
  appear();
  const Uuid first = song(0).id;
  const Uuid second = song(1).id;
  content.songList().draggedSongId.set(first);
  content.songReorderDropDelegate(second).dropEntered();
  EXPECT_EQ(song(0).name, "Two");
  EXPECT_TRUE(content.songReorderDropDelegate(second).performDrop());
  EXPECT_EQ(content.songList().draggedSongId.get(), std::nullopt);
}

TEST_F(ContentViewTest, ADragOverAStripIsForbiddenInLiveMode) {
  appear();
  content.channelOperations().addChannelFromButton();
  const Uuid first = strip(0).id;
  const Uuid second = strip(1).id;
  content.channelOperations().draggedChannelId.set(first);
  content.liveMode().setLiveMode(true);
  content.channelReorderDropDelegate(second).dropEntered();
  EXPECT_EQ(strip(0).id, first);
  content.liveMode().setLiveMode(false);
  content.channelReorderDropDelegate(second).dropEntered();
  EXPECT_EQ(strip(0).id, second);
}

TEST_F(ContentViewTest, AFaderSetsNoMarkAndTheOtherControlsDo) {
  appear();
  StripControls& controls = content.stripControls();
  controls.setVolume(strip(0), 1.5F);
  EXPECT_EQ(strip(0).volume.get(), 1.0F);
  EXPECT_FALSE(state.isDirty.get());
  for (const auto& change : {+[](StripControls&to, AudioChannel&channel) { to.setName(channel, "Lead"); },
                             +[](StripControls&to, AudioChannel&channel) { to.toggleMute(channel); },
                             +[](StripControls&to, AudioChannel&channel) { to.toggleSolo(channel); }}) {
    state.isDirty.set(false);
    change(controls, strip(0));
    EXPECT_TRUE(state.isDirty.get());
  }
  EXPECT_EQ(strip(0).name.get(), "Lead");
  EXPECT_TRUE(strip(0).mute.get());
  EXPECT_TRUE(strip(0).solo.get());
}

}  // namespace
}  // namespace vrel
