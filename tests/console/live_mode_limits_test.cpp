// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console/content_view.h"
#include "performance/key_name.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

/// A gig that is saved and has strips A and B on stage, A in the clipboard; Live mode is about to be switched on.
class LiveModeLimits : public SimulatedSession {
 protected:
  LiveModeLimits() {
    content.contentDidAppear();
    addSong("Gig", {record("A", ""), record("B", "")});
    content.songSwitch().applySong(1);
    content.channelOperations().copyChannel(strip(0));
    state.currentFilePath.set(gig);
    content.setlistFiles().saveSetlist();
    desktop.alertAnswers = {1, 1, 1, 1};
    desktop.openPanelAnswers = {gig};
    desktop.savePanelAnswers = {"/home/me/other.vrel"};
  }

  [[nodiscard]] std::vector<Uuid> strips() const {
    std::vector<Uuid> ids;
    for (const auto& channel : engine->channels()) {
      ids.push_back(channel->id);
    }
    return ids;
  }

  static inline const std::filesystem::path gig = "/home/me/gig.vrel";
  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  ContentView content{{state, *engine, mainQueue, clock, console, desktop, files, notifications, "/home/me/copies"}};
};

TEST_F(LiveModeLimits, RiskyCommandsOfTheMenusChangeNothingAndAskNothing) {
  content.liveMode().setLiveMode(true);
  const auto songs = state.songs.get();
  const auto before = strips();
  for (const std::string command : {"newSetlist", "openSetlist", "saveSetlistAs", "cutChannel", "copyChannel",
                                    "pasteChannel", "duplicateChannel"}) {
    notifications.post("vrel." + command);
  }
  notifications.post("vrel.openRecentSetlist", gig);
  EXPECT_EQ(state.songs.get(), songs);
  EXPECT_EQ(strips(), before);
  EXPECT_EQ(state.currentFilePath.get(), gig);
  EXPECT_TRUE(desktop.alerts.empty());
  EXPECT_TRUE(desktop.openPanels.empty());
  EXPECT_TRUE(desktop.savePanels.empty());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(LiveModeLimits, WhatIsPlayedWithStaysFree) {
  content.liveMode().setLiveMode(true);
  content.stripControls().setVolume(strip(0), 0.25F);
  EXPECT_EQ(strip(0).volume.get(), 0.25F);
  content.stripControls().toggleMute(strip(0));
  EXPECT_TRUE(strip(0).mute.get());
  content.stripControls().toggleSolo(strip(1));
  EXPECT_TRUE(strip(1).solo.get());
  content.tempo().setTempo(77);
  EXPECT_EQ(state.tempoBpm.get(), 77U);
  state.pressedNotes.set({60});
  content.panic();
  EXPECT_TRUE(state.pressedNotes.get().empty());
  content.midiLearn().toggleMidiLearnMode();
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::masterMute, std::nullopt});
  engine->routeMIDI(0xB0, 20, 127);
  EXPECT_EQ(song(1).midiControlAssignments.size(), 1U);
  notifications.post("vrel.saveSetlist");
  EXPECT_FALSE(state.isDirty.get()) << "to the file it came from";
  content.songList().clickSong(0);
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(LiveModeLimits, AKeySetsTheMarkOfAnEditAndTheModeDoesNot) {
  content.liveMode().setLiveMode(true);
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_TRUE(content.liveMode().handleLiveKeyDown(keyEventFromName("1").value()));
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(LiveModeLimits, TheCaretLeavesTheNameOfASong) {
  content.songList().beginSongRename(song(1).id);
  content.liveMode().setLiveMode(true);
  EXPECT_EQ(content.songList().focusedSongEditorId.get(), std::nullopt);
  EXPECT_EQ(desktop.focusClearings, 1);
}

}  // namespace
}  // namespace vrel
