// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_steps.h"

#include <gtest/gtest.h>

#include <vector>

#include "console/window/console_stage.h"

namespace vrel {
namespace {

/// A song on stage, with a piano on the first of two strips.
class StepsAndLearnedControls : public window::ConsoleStage {
 protected:
  StepsAndLearnedControls() {
    addSong("One", {record("A", pianoKey), record("B", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
  }

  void undo() {
    content.editHistory().undo();
    answerAll();
  }
  void redo() {
    content.editHistory().redo();
    answerAll();
  }
  void setLive(bool isLive) { content.liveMode().setLiveMode(isLive); }
};

TEST_F(StepsAndLearnedControls, WhatWasLearnedInLiveModeStaysWhenAnEarlierStepIsTakenBack) {
  auto& learn = content.midiLearn();
  const PluginControlTarget cutoff{.channelIndex = 0, .slotIndex = {}, .pluginPath = pianoKey, .control = "cutoff"};
  auto voices = cutoff;
  voices.control = "voices";
  learn.savePluginControl({cutoff, {0xB0, 0, 74}, "Cutoff"});
  learn.saveMidiAssignment({MidiControlKind::channelVolume, 0}, {0xB0, 0, 7});
  learn.saveMidiAssignment({MidiControlKind::panic, {}}, {0x90, 0, 60});
  setLive(true);
  learn.savePluginControl({voices, {0xB0, 0, 75}, "Voices"});
  learn.saveMidiAssignment({MidiControlKind::channelVolume, 1}, {0xB0, 0, 8});
  learn.saveMidiAssignment({MidiControlKind::tapTempo, {}}, {0x90, 0, 61});
  setLive(false);
  const auto ofSong = song(0);
  const auto ofAll = state.globalMidiControlAssignments.get();
  for (int step = 0; step < 3; ++step) {
    undo();
  }
  const PluginControlAssignment liveControl{voices, {0xB0, 0, 75}, "Voices"};
  const MidiControlAssignment liveVolume{{MidiControlKind::channelVolume, 1}, {0xB0, 0, 8}};
  const MidiControlAssignment liveTempo{{MidiControlKind::tapTempo, {}}, {0x90, 0, 61}};
  EXPECT_EQ(song(0).pluginControlAssignments, std::vector{liveControl});
  EXPECT_EQ(song(0).midiControlAssignments, std::vector{liveTempo});
  EXPECT_EQ(state.globalMidiControlAssignments.get(), std::vector{liveVolume});
  for (int step = 0; step < 3; ++step) {
    redo();
  }
  EXPECT_EQ(song(0).pluginControlAssignments, ofSong.pluginControlAssignments);
  EXPECT_EQ(song(0).midiControlAssignments, ofSong.midiControlAssignments);
  EXPECT_EQ(state.globalMidiControlAssignments.get(), ofAll);
}

TEST_F(StepsAndLearnedControls, AControlThatWasLearnedAgainInLiveModeKeepsItsNewHardware) {
  content.midiLearn().saveMidiAssignment({MidiControlKind::channelMute, 0}, {0xB0, 0, 7});
  setLive(true);
  content.midiLearn().saveMidiAssignment({MidiControlKind::channelMute, 0}, {0xB0, 0, 20});
  setLive(false);
  undo();
  ASSERT_EQ(song(0).midiControlAssignments.size(), 1U);
  EXPECT_EQ(song(0).midiControlAssignments[0].binding.number, 20);
  redo();
  ASSERT_EQ(song(0).midiControlAssignments.size(), 1U);
  EXPECT_EQ(song(0).midiControlAssignments[0].binding.number, 20);
}

TEST_F(StepsAndLearnedControls, WhatWasLearnedInLiveModeFollowsItsEffectThroughTheStepsOfTheRack) {
  EffectRack& rack = content.effectRack();
  rack.toggle(strip(0));
  for (int effect = 0; effect < 2; ++effect) {
    rack.pick(chorusKey);
    answerAll();
  }
  rack.moveUp(strip(0).effectSlots.get()[1].id);
  PluginControlTarget depth{.channelIndex = 0, .slotIndex = 0, .pluginPath = chorusKey, .control = "depth"};
  setLive(true);
  content.midiLearn().savePluginControl({depth, {0xB0, 0, 20}, "Depth"});
  setLive(false);
  const auto learned = song(0).pluginControlAssignments;
  undo();
  ASSERT_EQ(song(0).pluginControlAssignments.size(), 1U);
  EXPECT_EQ(song(0).pluginControlAssignments[0].target.slotIndex, 1) << "where the effect is back";
  undo();
  EXPECT_TRUE(song(0).pluginControlAssignments.empty()) << "it went with its effect";
  redo();
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U) << "and comes back with it";
  redo();
  EXPECT_EQ(song(0).pluginControlAssignments, learned);
}

}  // namespace
}  // namespace vrel
