// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_controls.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/window/console_stage.h"

namespace vrel {
namespace {

using Lines = std::vector<std::string>;

/// A fader learned for the setlist, and a panic and a mute for two songs.
class LearnedPage : public window::ConsoleStage {
 protected:
  LearnedPage() {
    addSong("One", {record("A", "")});
    addSong("Two", {record("B", "")});
    appear();
    state.globalMidiControlAssignments.set({{{MidiControlKind::channelVolume, 1}, {0xB0, 2, 20}}});
    changeSong(0, [](SongConfig& song) {
      song.midiControlAssignments = {{{MidiControlKind::panic, std::nullopt}, {0x90, 0, 60}}};
    });
    changeSong(1, [](SongConfig& song) {
      song.midiControlAssignments = {{{MidiControlKind::channelMute, 0}, {0xE0, 15, 0}}};
    });
    state.isDirty.set(false);
  }

  [[nodiscard]] LearnedControls& page() { return content.learnedControls(); }
  [[nodiscard]] Lines lines() {
    Lines all;
    for (const auto& control : page().all()) {
      all.push_back(control.control + " | " + control.source + " | " + control.place);
    }
    return all;
  }
};

TEST_F(LearnedPage, ListsEachControlWithItsSourceAndWhereItHolds) {
  EXPECT_EQ(lines(), (Lines{"Volume 2 | CC 20, MIDI 3 | SETLIST", "PANIC | Note C4, MIDI 1 | One",
                            "MUTE 1 | Pitch Bend, MIDI 16 | Two"}));
}

TEST_F(LearnedPage, ListsAndRemovesTheControlsOfPlugIns) {
  changeSong(1, [](SongConfig& song) {
    const PluginControlTarget cutoff{.channelIndex = 0, .pluginPath = pianoKey, .control = "cutoff"};
    const PluginControlTarget room{.slotIndex = 1, .pluginPath = "aucd:9:9:9", .control = "room"};
    song.pluginControlAssignments = {{cutoff, {0xB0, 0, 74}, "Cutoff"}, {room, {0xB0, 0, 75}, ""}};
  });
  ASSERT_EQ(lines().size(), 5U);
  EXPECT_EQ(lines()[3], "Cutoff (Piano) 1 | CC 74, MIDI 1 | Two");
  EXPECT_EQ(lines()[4], "room MASTER | CC 75, MIDI 1 | Two") << "of a plug-in that is not installed";
  page().remove(page().all()[3].id);
  ASSERT_EQ(song(1).pluginControlAssignments.size(), 1U);
  EXPECT_EQ(song(1).pluginControlAssignments[0].target.control, "room");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(LearnedPage, IsInTheLanguageOfTheSession) {
  state.language.set(Language::german);
  EXPECT_EQ(lines()[0], "Lautstärke 2 | CC 20, MIDI 3 | SETLISTE");
}

TEST_F(LearnedPage, RemovesOneAndLeavesTheOthers) {
  page().remove(page().all()[1].id);
  EXPECT_EQ(lines(), (Lines{"Volume 2 | CC 20, MIDI 3 | SETLIST", "MUTE 1 | Pitch Bend, MIDI 16 | Two"}));
  EXPECT_TRUE(state.isDirty.get());
  page().remove(page().all()[0].id);
  EXPECT_EQ(lines(), Lines{"MUTE 1 | Pitch Bend, MIDI 16 | Two"});
}

TEST_F(LearnedPage, ASecondPressOnOneThatIsGoneRemovesNothing) {
  const auto id = page().all()[0].id;
  page().remove(id);
  state.isDirty.set(false);
  page().remove(id);
  EXPECT_EQ(lines().size(), 2U);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(LearnedPage, InLiveModeNothingIsRemoved) {
  content.liveMode().setLiveMode(true);
  page().remove(page().all()[0].id);
  EXPECT_EQ(lines().size(), 3U);
}

TEST_F(LearnedPage, OpensByTheMenusCommand) {
  notifications.post("vrel.showLearnedControls");
  EXPECT_TRUE(page().isShown.get());
}

}  // namespace
}  // namespace vrel
