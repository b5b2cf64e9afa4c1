// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/edit_history.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/window/console_stage.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;

/// Two songs, the first on stage with a piano on its first strip.
class History : public window::ConsoleStage {
 protected:
  History() {
    addSong("One", {record("A", pianoKey), record("B", "")});
    addSong("Two", {record("C", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
  }

  [[nodiscard]] EditHistory& history() { return content.editHistory(); }
  void undo() {
    history().undo();
    answerAll();
  }
  void redo() {
    history().redo();
    answerAll();
  }

  [[nodiscard]] Names strips() {
    Names names;
    for (const auto& channel : engine->channels()) {
      names.push_back(channel->name.get());
    }
    return names;
  }
  [[nodiscard]] Names songNames() {
    Names names;
    for (const auto& each : state.songs.get()) {
      names.push_back(each.name);
    }
    return names;
  }
  static Names effects(const AudioChannel& channel) {
    Names names;
    for (const auto& slot : channel.effectSlots.get()) {
      names.push_back(slot.pluginName);
    }
    return names;
  }
  static simulation::ScriptedUnitCore& coreOf(AudioChannel& channel) {
    return dynamic_cast<simulation::ScriptedInstrument&>(*channel.instrumentNode.get()).core;
  }
  static PropertyListDictionary sound(std::int64_t value) { return {{"cutoff", PropertyListValue{value}}}; }
};

TEST_F(History, BeginsWithNothingToTakeBack) {
  EXPECT_EQ(history().undoCount(), 0U);
  EXPECT_EQ(state.undoTitle.get(), "");
  history().undo();
  history().redo();
  EXPECT_EQ(strips(), (Names{"A", "B"}));
}

TEST_F(History, ValuesOfAStripGoBackAndForth) {
  content.stripControls().toggleMute(strip(0));
  EXPECT_EQ(state.undoTitle.get(), "Undo: MUTE");
  content.stripControls().setName(strip(1), "Bass");
  EXPECT_EQ(state.undoTitle.get(), "Undo: Rename strip");
  content.stripControls().setVolume(strip(1), 0.25F);
  EXPECT_EQ(state.undoTitle.get(), "Undo: Volume");
  undo();
  EXPECT_EQ(strip(1).volume.get(), 0.85F);
  EXPECT_EQ(state.redoTitle.get(), "Redo: Volume");
  undo();
  EXPECT_EQ(strip(1).name.get(), "B");
  EXPECT_TRUE(strip(0).mute.get());
  undo();
  EXPECT_FALSE(strip(0).mute.get());
  EXPECT_TRUE(state.isDirty.get());
  redo();
  redo();
  redo();
  EXPECT_TRUE(strip(0).mute.get());
  EXPECT_EQ(strip(1).name.get(), "Bass");
  EXPECT_EQ(strip(1).volume.get(), 0.25F);
  EXPECT_EQ(state.redoTitle.get(), "");
}

TEST_F(History, OneStrokeOfAFaderOrOneWordTypedIsOneStep) {
  for (const auto* name : {"L", "Le", "Lea", "Lead"}) {
    content.stripControls().setName(strip(0), name);
    mainQueue.advance(0.2);
  }
  EXPECT_EQ(history().undoCount(), 1U);
  mainQueue.advance(2);
  content.stripControls().setName(strip(0), "Lead 2");
  EXPECT_EQ(history().undoCount(), 2U);
  undo();
  EXPECT_EQ(strip(0).name.get(), "Lead");
  undo();
  EXPECT_EQ(strip(0).name.get(), "A");
}

TEST_F(History, ANewEditEndsWhatCouldBeDoneAgain) {
  content.stripControls().toggleMute(strip(0));
  undo();
  content.stripControls().toggleSolo(strip(0));
  EXPECT_EQ(history().redoCount(), 0U);
  redo();
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(History, WhatIsBesideTheEditStaysAsItIs) {
  content.stripControls().toggleMute(strip(0));
  strip(0).volume.set(0.1F);  // by no hand
  undo();
  EXPECT_FALSE(strip(0).mute.get());
  EXPECT_EQ(strip(0).volume.get(), 0.1F);
}

TEST_F(History, ADeletedStripComesBackInItsPlaceWithItsSound) {
  coreOf(strip(0)).documentState = sound(7);
  content.channelOperations().removeChannelFromConsole(strip(0));
  EXPECT_EQ(strips(), Names{"B"});
  undo();
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(coreOf(strip(0)).documentState, std::optional(sound(7)));
  coreOf(strip(0)).documentState = sound(8);
  redo();
  EXPECT_EQ(strips(), Names{"B"});
  undo();
  EXPECT_EQ(coreOf(strip(0)).documentState, std::optional(sound(8)));
}

TEST_F(History, AddedPastedAndMovedStripsAreTakenBack) {
  content.channelOperations().addChannelFromButton();
  content.channelOperations().copyChannel(strip(0));
  content.channelOperations().pasteChannel(strip(0).id);
  answerAll();
  content.channelOperations().moveChannels({3}, 0);
  const Names moved{"Instrument 3", "A", "A", "B"};
  ASSERT_EQ(strips(), moved);
  undo();
  EXPECT_EQ(strips(), (Names{"A", "A", "B", "Instrument 3"}));
  undo();
  EXPECT_EQ(strips(), (Names{"A", "B", "Instrument 3"}));
  undo();
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  redo();
  redo();
  redo();
  EXPECT_EQ(strips(), moved);
  EXPECT_EQ(strip(1).pluginPath.get(), pianoKey);
  EXPECT_EQ(strip(2).pluginPath.get(), pianoKey);
}

TEST_F(History, AnotherInstrumentAndNoneAreTakenBackWithTheSoundOfTheOldOne) {
  coreOf(strip(0)).documentState = sound(7);
  content.instrumentSelector().open(strip(0));
  content.instrumentSelector().pick(organKey);
  answerAll();
  EXPECT_EQ(state.undoTitle.get(), "Undo: Change Instrument");
  content.instrumentSelector().removeInstrument(strip(0));
  EXPECT_EQ(state.undoTitle.get(), "Undo: Remove Instrument");
  undo();
  EXPECT_EQ(strip(0).pluginPath.get(), organKey);
  undo();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  EXPECT_EQ(coreOf(strip(0)).documentState, std::optional(sound(7)));
  redo();
  EXPECT_EQ(strip(0).pluginPath.get(), organKey);
  redo();
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

TEST_F(History, ATrialIsNoStep) {
  content.instrumentSelector().open(strip(0));
  content.instrumentSelector().tryOut(organKey);
  answerAll();
  content.instrumentSelector().cancel();
  answerAll();
  EXPECT_EQ(history().undoCount(), 0U);
}

TEST_F(History, EffectsThatAreAddedMovedAndRemovedAreTakenBack) {
  const auto rackIsTakenBack = [this](AudioChannel& channel) {
    EffectRack& rack = content.effectRack();
    rack.toggle(channel);
    rack.pick(chorusKey);
    answerAll();
    rack.pick(chorusKey);
    answerAll();
    const auto slots = channel.effectSlots.get();
    ASSERT_EQ(slots.size(), 2U);
    rack.moveUp(slots[1].id);
    rack.remove(slots[0].id);
    ASSERT_EQ(channel.effectSlots.get().size(), 1U);
    const auto ids = [&channel] {
      std::vector<Uuid> all;
      for (const auto& slot : channel.effectSlots.get()) {
        all.push_back(slot.id);
      }
      return all;
    };
    undo();
    EXPECT_EQ(ids(), (std::vector{slots[1].id, slots[0].id}));
    undo();
    EXPECT_EQ(ids(), (std::vector{slots[0].id, slots[1].id}));
    EXPECT_EQ(channel.effectNodes.get().size(), 2U);
    undo();
    EXPECT_EQ(ids(), std::vector{slots[0].id});
    undo();
    EXPECT_TRUE(ids().empty());
    redo();
    EXPECT_EQ(effects(channel), Names{"Chorus"});
  };
  rackIsTakenBack(strip(0));
  rackIsTakenBack(*engine->masterChannel());
}

TEST_F(History, AStripThatGoesIsAskedForAllItsStatesBeforeTheFirstIsWaitedFor) {
  EffectRack& rack = content.effectRack();
  rack.toggle(strip(0));
  for (int effect = 0; effect < 2; ++effect) {
    rack.pick(chorusKey);
    answerAll();
  }
  const auto allAreAskedFirstWhen = [this](const std::function<void()>& goes) {
    std::vector<std::shared_ptr<AVAudioNode>> kept{strip(1).instrumentNode.get()};
    std::vector cores{&coreOf(strip(1))};
    for (const auto& [slot, effect] : strip(1).effectNodes.get()) {
      kept.push_back(effect);
      cores.push_back(&dynamic_cast<simulation::ScriptedUnit&>(*effect).core);
    }
    ASSERT_EQ(cores.size(), 3U);
    for (auto* const core : cores) {
      core->stateRequests = core->documentStateReads = 0;
      core->stateRead = [&cores] {
        for (const auto* const each : cores) {
          EXPECT_EQ(each->stateRequests, 1);
        }
      };
    }
    goes();
    for (auto* const core : cores) {
      EXPECT_EQ(core->documentStateReads, 1);
      core->stateRead = nullptr;
    }
  };
  content.channelOperations().copyChannel(strip(0));
  content.channelOperations().pasteChannel(strip(0).id);
  answerAll();
  allAreAskedFirstWhen([this] { undo(); });
  ASSERT_EQ(strips(), (Names{"A", "B"}));
  redo();
  allAreAskedFirstWhen([this] { content.channelOperations().removeChannelFromConsole(strip(1)); });
  EXPECT_EQ(strips(), (Names{"A", "B"}));
}

TEST_F(History, SongsThatAreAddedMovedRenamedAndDeletedAreTakenBack) {
  state.newSongName.set("Three");
  content.songList().addSong();
  content.songList().moveSongs({2}, 0);
  content.songList().beginSongRename(state.songs.get()[0].id);
  content.songList().editingSongNameDraft.set("Encore");
  content.songList().commitSongRename();
  content.songList().deleteSong(state.songs.get()[2].id);
  ASSERT_EQ(songNames(), (Names{"Encore", "One"}));
  undo();
  EXPECT_EQ(songNames(), (Names{"Encore", "One", "Two"}));
  undo();
  EXPECT_EQ(songNames(), (Names{"03. Three", "One", "Two"}));
  undo();
  EXPECT_EQ(songNames(), (Names{"One", "Two", "03. Three"}));
  undo();
  EXPECT_EQ(songNames(), (Names{"One", "Two"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U) << "the song on stage stays there";
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  for (int step = 0; step < 4; ++step) {
    redo();
  }
  EXPECT_EQ(songNames(), (Names{"Encore", "One"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
}

TEST_F(History, ASongThatIsDeletedOnStageComesBackThereAsItSounded) {
  coreOf(strip(0)).documentState = sound(9);
  content.stripControls().setName(strip(1), "Bass");
  state.tempoBpm.set(97);
  state.markEdited();
  content.songList().deleteSong(state.songs.get()[0].id);
  answerAll();
  ASSERT_EQ(strips(), Names{"C"});
  undo();
  EXPECT_EQ(songNames(), (Names{"One", "Two"}));
  EXPECT_EQ(strips(), (Names{"A", "Bass"}));
  EXPECT_EQ(state.tempoBpm.get(), 97U);
  EXPECT_EQ(coreOf(strip(0)).documentState, std::optional(sound(9)));
}

TEST_F(History, LearnedControlsAreTakenBackAndLearnedAgain) {
  auto& learn = content.midiLearn();
  const PluginControlTarget cutoff{.channelIndex = 0, .slotIndex = {}, .pluginPath = pianoKey, .control = "cutoff"};
  learn.savePluginControl({cutoff, {0xB0, 0, 74}, "Cutoff"});
  learn.saveMidiAssignment({MidiControlKind::channelVolume, 0}, {0xB0, 0, 7});
  learn.saveMidiAssignment({MidiControlKind::panic, {}}, {0x90, 0, 60});
  const auto ofSong = song(0);
  const auto ofAll = state.globalMidiControlAssignments.get();
  content.stripControls().setName(strip(1), "Bass");
  learn.clearAllMidiLearn();
  undo();
  EXPECT_EQ(song(0).midiControlAssignments, ofSong.midiControlAssignments);
  EXPECT_EQ(song(0).pluginControlAssignments, ofSong.pluginControlAssignments);
  EXPECT_EQ(state.globalMidiControlAssignments.get(), ofAll);
  EXPECT_EQ(strips(), (Names{"A", "Bass"}));
  redo();
  EXPECT_TRUE(song(0).pluginControlAssignments.empty());
  EXPECT_TRUE(state.globalMidiControlAssignments.get().empty());
  for (int step = 0; step < 5; ++step) {
    undo();
  }
  EXPECT_TRUE(song(0).pluginControlAssignments.empty()) << "before the first was learned";
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  EXPECT_EQ(history().undoCount(), 0U);
}

TEST_F(History, ASongThatIsDeletedComesBackWithItsLearnedControls) {
  const PluginControlTarget cutoff{.channelIndex = 0, .slotIndex = {}, .pluginPath = pianoKey, .control = "cutoff"};
  content.midiLearn().savePluginControl({cutoff, {0xB0, 0, 74}, "Cutoff"});
  content.songList().deleteSong(state.songs.get()[0].id);
  answerAll();
  undo();
  ASSERT_EQ(song(0).pluginControlAssignments.size(), 1U);
  EXPECT_EQ(song(0).pluginControlAssignments[0].target, cutoff);
}

TEST_F(History, AStepOfAnotherSongBringsThatSongOnStage) {
  content.stripControls().setName(strip(0), "Lead");
  content.songSwitch().applySong(1);
  answerAll();
  content.stripControls().setName(strip(0), "Choir");
  undo();
  EXPECT_EQ(strips(), Names{"C"});
  undo();
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  redo();
  redo();
  EXPECT_EQ(strips(), Names{"Choir"});
}

TEST_F(History, AChangeOfTheStageIsNoStep) {
  content.songSwitch().applySong(1);
  answerAll();
  content.songSwitch().applySong(0);
  answerAll();
  EXPECT_EQ(history().undoCount(), 0U);
}

TEST_F(History, AnotherSetlistEndsAllSteps) {
  content.stripControls().toggleMute(strip(0));
  state.isDirty.set(false);
  content.setlistFiles().newSetlist(false);
  EXPECT_EQ(history().undoCount(), 0U);
  EXPECT_EQ(state.undoTitle.get(), "");
}

TEST_F(History, InLiveModeNothingIsTakenBackAndNothingIsAStep) {
  content.stripControls().toggleMute(strip(0));
  content.liveMode().setLiveMode(true);
  undo();
  EXPECT_TRUE(strip(0).mute.get());
  content.stripControls().toggleSolo(strip(0));
  EXPECT_EQ(history().undoCount(), 1U);
  content.liveMode().setLiveMode(false);
  undo();
  EXPECT_FALSE(strip(0).mute.get());
  EXPECT_TRUE(strip(0).solo.get());
}

TEST_F(History, SongsThatAreMovedInLiveModeEndTheStepsBefore) {
  content.stripControls().toggleMute(strip(0));
  content.liveMode().setLiveMode(true);
  content.songList().moveSongs({0}, 2);
  EXPECT_EQ(history().undoCount(), 0U);
}

TEST_F(History, AHundredStepsAndMoreAreKeptAndNotWithoutEnd) {
  for (int edit = 0; edit < 300; ++edit) {
    content.stripControls().toggleMute(strip(0));
    mainQueue.advance(2);
  }
  EXPECT_EQ(history().undoCount(), EditHistory::mostSteps);
  static_assert(EditHistory::mostSteps >= 100);
  while (history().undoCount() > 0) {
    undo();
  }
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(History, AStormOfPressesChangesNothingThatCannotBeTakenBack) {
  for (int press = 0; press < 50; ++press) {
    content.stripControls().toggleMute(strip(0));
    content.channelOperations().duplicateChannel(strip(0));
    mainQueue.advance(2);
  }
  answerAll();
  for (int press = 0; press < 200; ++press) {
    history().undo();
  }
  answerAll();
  EXPECT_EQ(strips(), (Names{"A", "B"}));
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(History, AStripWhosePluginIsMissingComesBackWithItAndItsState) {
  auto gone = record("Gone", "aucd:1635085685:77:78");
  gone.pluginStateBase64 = "QUJD";
  addSong("Three", {gone});
  content.songSwitch().applySong(2);
  answerAll();
  const auto expectKept = [&] {
    content.songSwitch().captureCurrentSong();
    ASSERT_EQ(song(2).channels.size(), 1U);
    EXPECT_EQ(song(2).channels[0].pluginPath, gone.pluginPath);
    EXPECT_EQ(song(2).channels[0].pluginStateBase64, gone.pluginStateBase64);
  };
  content.channelOperations().removeChannelFromConsole(strip(0));
  undo();
  expectKept();
  redo();
  EXPECT_EQ(strips(), Names{});
  undo();
  expectKept();
  content.songList().deleteSong(song(2).id);
  answerAll();
  EXPECT_EQ(songNames(), (Names{"One", "Two"}));
  undo();
  expectKept();
}

TEST_F(History, ItsNamesFollowTheLanguage) {
  content.stripControls().toggleMute(strip(0));
  content.setLanguage(Language::german);
  EXPECT_EQ(state.undoTitle.get(), "Rückgängig: MUTE");
}

}  // namespace
}  // namespace vrel
