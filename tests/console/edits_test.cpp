// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "console/content_view.h"
#include "performance/key_name.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

/// One operation of the console, on a setlist of two songs; strips A and B are on stage, A is selected.
struct Operation {
  std::string_view name;
  void (*run)(ContentView& content);
};

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
  return out << operation.name;
}

const AudioChannel& stripOf(ContentView& content, std::size_t index) {
  return *content.audioEngine().channels().at(index);
}

AudioChannel& changeableStripOf(ContentView& content) {
  return *content.audioEngine().channels().front();
}

Uuid songOf(ContentView& content, std::size_t index) {
  return content.appState().songs.get().at(index).id;
}

void learn(ContentView& content) {
  content.midiLearn().saveMidiAssignment({MidiControlKind::channelVolume, 0}, {0xB0, 0, 7});
}

void rename(ContentView& content, const std::string& name) {
  content.songList().beginSongRename(songOf(content, 0));
  content.songList().editingSongNameDraft.set(name);
  content.songList().commitSongRename();
}

constexpr std::array edits{
    Operation{"add a song",
              [](ContentView& content) {
                content.appState().newSongName.set("Three");
                content.songList().addSong();
              }},
    Operation{"rename a song", [](ContentView& content) { rename(content, "First"); }},
    Operation{"move a song", [](ContentView& content) { content.songList().moveSongs({0}, 2); }},
    Operation{"delete a song", [](ContentView& content) { content.songList().deleteSong(songOf(content, 1)); }},
    Operation{"delete the song on stage",
              [](ContentView& content) { content.songList().deleteSong(songOf(content, 0)); }},
    Operation{"move a strip", [](ContentView& content) { content.channelOperations().moveChannels({0}, 2); }},
    Operation{"add a strip", [](ContentView& content) { content.channelOperations().addChannelFromButton(); }},
    Operation{"cut a strip", [](ContentView& content) { content.channelOperations().cutChannel(stripOf(content, 0)); }},
    Operation{"paste a strip",
              [](ContentView& content) {
                content.channelOperations().copyChannel(stripOf(content, 0));
                content.channelOperations().pasteChannel(std::nullopt);
              }},
    Operation{"duplicate a strip",
              [](ContentView& content) { content.channelOperations().duplicateChannel(stripOf(content, 0)); }},
    Operation{"delete a strip",
              [](ContentView& content) { content.channelOperations().removeChannelFromConsole(stripOf(content, 0)); }},
    Operation{"name a strip",
              [](ContentView& content) { content.stripControls().setName(changeableStripOf(content), "Lead"); }},
    Operation{"mute a strip",
              [](ContentView& content) { content.stripControls().toggleMute(changeableStripOf(content)); }},
    Operation{"solo a strip",
              [](ContentView& content) { content.stripControls().toggleSolo(changeableStripOf(content)); }},
    Operation{"mute by a key",
              [](ContentView& content) {
                content.liveMode().setLiveMode(true);
                (void)content.liveMode().handleLiveKeyDown(keyEventFromName("1").value());
              }},
    Operation{"solo by a key", [](ContentView& content) { content.liveMode().applyExclusiveSolo(0); }},
    Operation{"move a learned fader",
              [](ContentView& content) {
                content.midiLearn().performMidiControl({MidiControlKind::channelVolume, 0}, false, 0.5F);
              }},
    Operation{"press a learned button",
              [](ContentView& content) {
                content.midiLearn().performMidiControl({MidiControlKind::masterMute, std::nullopt}, true, 1.0F);
              }},
    Operation{"learn a control", learn},
    Operation{"clear what is learned",
              [](ContentView& content) {
                learn(content);
                content.appState().isDirty.set(false);
                content.midiLearn().clearAllMidiLearn();
              }},
    Operation{"set the tempo, even as it is",
              [](ContentView& content) { content.tempo().setTempo(content.appState().tempoBpm.get()); }},
    Operation{"write notes", [](ContentView& content) { content.setSongNotes("slow"); }},
    Operation{"choose a language", [](ContentView& content) { content.setLanguage(Language::german); }},
};

constexpr std::array others{
    Operation{"put a song on stage after an edit",
              [](ContentView& content) {
                content.appState().markEdited();
                content.songList().clickSong(1);
              }},
    Operation{"begin again after an edit",
              [](ContentView& content) {
                content.appState().markEdited();
                content.setlistFiles().newSetlist(false);
              }},
    Operation{"save after an edit",
              [](ContentView& content) {
                content.appState().markEdited();
                (void)content.setlistFiles().writeSetlist("/home/me/gig.vrel");
              }},
    Operation{"rename a song as it is",
              [](ContentView& content) { rename(content, content.appState().songs.get()[0].name); }},
    Operation{"copy a strip",
              [](ContentView& content) { content.channelOperations().copyChannel(stripOf(content, 0)); }},
    Operation{"drag a strip", [](ContentView& content) { content.channelOperations().beginDrag(stripOf(content, 0)); }},
    Operation{"move a fader",
              [](ContentView& content) { content.stripControls().setVolume(changeableStripOf(content), 0.25F); }},
    Operation{"learn mode", [](ContentView& content) { content.midiLearn().toggleMidiLearnMode(); }},
    Operation{"clear where nothing is learned", [](ContentView& content) { content.midiLearn().clearAllMidiLearn(); }},
    Operation{"panic", [](ContentView& content) { content.panic(); }},
    Operation{"Live mode", [](ContentView& content) { content.liveMode().setLiveMode(true); }},
};

class Edits : public SimulatedSession, public testing::WithParamInterface<Operation> {
 protected:
  Edits() {
    setSongs({songWith("One"), songWith("Two")});
    content.contentDidAppear();
    content.songSwitch().applySong(0);
    answerAll();
    state.isDirty.set(false);
  }

  static SongConfig songWith(const std::string& name) {
    SongConfig song;
    song.name = name;
    song.channels = {record("A", ""), record("B", "")};
    return song;
  }

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  ContentView content{{state, *engine, mainQueue, clock, console, desktop, files, notifications, "/home/me/copies"}};
};

class EachEdit : public Edits {};
class EachOtherOperation : public Edits {};

TEST_P(EachEdit, MarksTheSetlist) {
  GetParam().run(content);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_P(EachOtherOperation, LeavesTheSetlistUnmarked) {
  GetParam().run(content);
  EXPECT_FALSE(state.isDirty.get());
}

INSTANTIATE_TEST_SUITE_P(Console, EachEdit, testing::ValuesIn(edits));
INSTANTIATE_TEST_SUITE_P(Console, EachOtherOperation, testing::ValuesIn(others));

}  // namespace
}  // namespace vrel
