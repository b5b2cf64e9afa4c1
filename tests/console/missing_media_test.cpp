// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/setlist_coding.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_audio_files.h"
#include "simulation/simulated_video.h"
#include "support/session_on.h"
#include "support/simulated_stage.h"

// A setlist on a machine that has none of what it plays: no plug-in, no audio file, no clip.

namespace vrel {
namespace {

using testing::Contains;
using testing::StartsWith;

class MissingMedia : public testing::Test, protected SimulatedMachine {
 protected:
  MissingMedia() { files.place(gig, wholeText()); }

  static ChannelConfig strip(const std::string& name, const std::string& path) {
    ChannelConfig channel;
    channel.name = name;
    channel.volume = 0.125F;
    channel.pluginPath = path;
    channel.minNote = 30;
    channel.transpose = -5;
    channel.color = {0.25F, 0.5F, 0.75F};
    channel.effectSlots = {{.pluginPath = chorusKey, .pluginName = "Chorus", .stateBase64 = "QUJD"},
                           {.pluginPath = "gone.effect", .manufacturerName = "Gone"}};
    return channel;
  }

  static SongConfig songOf(const std::string& name) {
    SongConfig song;
    song.name = name;
    song.tempoBpm = 77;
    song.songNotes = "Notes of " + name;
    song.channels = {strip("Synth", pianoKey), strip("Click", "internal:playback"), strip("Film", "internal:visual"),
                     strip("Empty", "")};
    song.channels[0].pluginStateBase64 = "QUJDREVG";
    song.channels[1].playbackFilePath = "/gone/click.wav";
    song.channels[1].playbackLoop = true;
    song.channels[1].playbackStartTime = 1.5;
    song.channels[1].playbackEndTime = 9.25;
    song.channels[1].playbackStopMode = PlaybackStopMode::fromText("hold");
    song.channels[2].visualClipMappings = {
        {.note = 61, .filePath = "/gone/a.mov", .triggerMode = VisualTriggerMode::toggle}, {.filePath = "/gone/b.mov"}};
    song.masterEffectSlots = song.channels[0].effectSlots;
    song.midiControlAssignments = {{{MidiControlKind::channelMute, 2}, {0xB0, 1, 9}}};
    return song;
  }

  static SetlistFile setlist() {
    SetlistFile all;
    all.songs = {songOf("One"), songOf("Two"), songOf("Three")};
    all.globalMidiControlAssignments = {{{MidiControlKind::panic, {}}, {0xB0, 15, 120}}};
    return all;
  }

  static std::string wholeText() { return encodeSetlist(setlist()).value(); }

  void open() {
    setlistFiles.loadSetlist(gig);
    settleAll();
  }

  void settleAll() {
    settle();
    while (videos.answerSearch()) {
    }
    settle();
    videos.finishLoads();
    settle();
  }

  const std::filesystem::path gig = "/home/me/gig.vrel";
  simulation::SimulatedAudioFiles audioFiles;
  simulation::SimulatedVideos videos;
  std::shared_ptr<AudioEngine> mediaEngine = AudioEngine::make(
      {nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, &audioFiles, &videos});
  SessionOn session{*mediaEngine, mainQueue, clock, console};
  AppState& state = session.state;
  simulation::SimulatedFileManager& files = session.files;
  simulation::ScriptedDesktop desktop;
  SetlistCopies copies{files, console, "/home/me/copies"};
  SetlistFiles setlistFiles{{state, *mediaEngine, session.songSwitch, files, desktop, console, copies}};
};

TEST_F(MissingMedia, TheSetlistOpensWithEveryStripAndItsStatus) {
  open();
  EXPECT_EQ(state.songs.get().size(), 3U);
  ASSERT_EQ(mediaEngine->channels().size(), 4U);
  EXPECT_EQ(mediaEngine->channels()[0]->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(mediaEngine->channels()[1]->status.get(), ChannelStatus::loadFailed);
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_TRUE(desktop.alerts.empty());
  EXPECT_THAT(console.lines, Contains(StartsWith("Failed to load plugin: ")));
  EXPECT_THAT(console.lines, Contains("Failed to load playback file: no such file: /gone/click.wav"));
}

TEST_F(MissingMedia, ASaveLosesNothingOfTheSongOnStage) {
  open();
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(files.files[gig], wholeText());
}

TEST_F(MissingMedia, EverySongThatWasOnStageKeepsItsInstrumentsEffectsFilesAndClips) {
  open();
  session.songSwitch.applySong(1);
  settleAll();
  session.songSwitch.applySong(2);
  settleAll();
  EXPECT_TRUE(setlistFiles.saveSetlist());
  EXPECT_EQ(files.files[gig], wholeText());
}

TEST_F(MissingMedia, SavingAgainAndAgainLosesNothing) {
  open();
  for (int time = 0; time < 3; ++time) {
    setlistFiles.saveSetlist();
    setlistFiles.loadSetlist(gig);
    settleAll();
  }
  EXPECT_EQ(files.files[gig], wholeText());
}

TEST_F(MissingMedia, AStripThatWasEmptiedDoesNotGetTheMissingPluginBack) {
  open();
  mediaEngine->instruments().unloadInstrument(*mediaEngine->channels()[0]);
  EXPECT_TRUE(setlistFiles.saveSetlist());
  auto emptied = setlist();
  emptied.songs[0].channels[0].pluginPath = "";
  emptied.songs[0].channels[0].pluginStateBase64.reset();
  EXPECT_EQ(files.files[gig], encodeSetlist(emptied).value());
}

TEST_F(MissingMedia, APluginThatNeverAnswersIsClosedAfterHalfAMinuteAndTheSetlistIsThere) {
  state.scannedPlugins.set({piano});
  open();
  mainQueue.advance(29.999);
  settleAll();
  EXPECT_TRUE(state.songSwitchInProgress.get());
  EXPECT_TRUE(state.showLoadingModal.get());
  console.lines.clear();
  mainQueue.advance(0.001);
  settleAll();
  EXPECT_EQ(console.lines,
            (Lines{"Audio unit loading timed out after 30 seconds", "Song switch timed out after 30 seconds"}));
  EXPECT_FALSE(state.songSwitchInProgress.get());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_EQ(state.songSwitchElapsedMs.get(), 30000);
  EXPECT_TRUE(setlistFiles.saveSetlist());
  auto saved = setlist();
  saved.songs[0].channels[0].pluginPath = "";
  saved.songs[0].channels[0].pluginStateBase64.reset();
  EXPECT_EQ(files.files[gig], encodeSetlist(saved).value()) << "what had not arrived is not there to be stored";
}

}  // namespace
}  // namespace vrel
