// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/midi_learn.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "performance/midi_learn_stage.h"

namespace vrel {
namespace {

using Learning = MidiLearnStage;

constexpr MidiMessage knobTurn{0xB0, 20, 70};

TEST_F(Learning, TheButtonArmsAndDisarms) {
  EXPECT_FALSE(state.isMidiLearnMode.get());
  learn.toggleMidiLearnMode();
  EXPECT_TRUE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  learn.toggleMidiLearnMode();
  EXPECT_FALSE(state.isMidiLearnMode.get());
}

TEST_F(Learning, AClickOnAControlCountsInLearnModeOnly) {
  learn.selectMidiLearnTarget(onConsole(Kind::panic));
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  waitFor(onConsole(Kind::panic));
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onConsole(Kind::panic));
}

TEST_F(Learning, AClickOnAnotherControlMovesTheWaitThere) {
  waitFor(onConsole(Kind::panic));
  learn.selectMidiLearnTarget(onChannel(Kind::channelGain, 2));
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onChannel(Kind::channelGain, 2));
  EXPECT_TRUE(state.isMidiLearnMode.get());
}

TEST_F(Learning, TheButtonEndsAWait) {
  waitFor(onConsole(Kind::panic));
  learn.toggleMidiLearnMode();
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  play(knobTurn);
  EXPECT_TRUE(assignmentsOf(0).empty());
}

const PluginControlTarget cutoff{.channelIndex = 1, .slotIndex = 0, .pluginPath = "aucd:1:2:3", .control = "cutoff"};

TEST_F(Learning, AControlOfAPlugInIsLearnedForItsSongInAListOfItsOwn) {
  learn.selectPluginControl(cutoff, "Cutoff");
  EXPECT_EQ(learn.pendingPluginControl.get(), std::nullopt) << "outside learn mode";
  waitFor(onConsole(Kind::panic));
  learn.selectPluginControl(cutoff, "Cutoff");
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  play(knobTurn);
  EXPECT_EQ(song(0).pluginControlAssignments,
            (std::vector<PluginControlAssignment>{{cutoff, {0xB0, 0, 20}, "Cutoff"}}));
  EXPECT_TRUE(assignmentsOf(0).empty());
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_TRUE(state.isDirty.get());
  learn.toggleMidiLearnMode();
  learn.selectPluginControl(cutoff, "Cutoff");
  play({0xE3, 0, 64});
  EXPECT_EQ(song(0).pluginControlAssignments, (std::vector<PluginControlAssignment>{{cutoff, {0xE0, 3, 0}, "Cutoff"}}))
      << "in place of the earlier one";
}

TEST_F(Learning, ALearnedControlOfAPlugInMovesInItsSongOnlyBesideThoseOfTheConsole) {
  std::vector<std::pair<std::string, float>> moved;
  const auto connection =
      learn.pluginControlMoved.connect([&](const PluginControlAssignment& control, bool, float value) {
        moved.emplace_back(control.controlName, value);
      });
  changeSong(0, [](SongConfig& song) {
    song.pluginControlAssignments = {{cutoff, {0xB0, 0, 20}, "Cutoff"}};
    song.midiControlAssignments = {{{MidiControlKind::masterVolume, std::nullopt}, {0xB0, 0, 20}}};
  });
  play({0xB0, 20, 127});
  EXPECT_EQ(moved, (std::vector<std::pair<std::string, float>>{{"Cutoff", 1.0F}}));
  EXPECT_EQ(engine->masterChannel()->volume.get(), 1.0F);
  play({0xB1, 20, 0});
  songSwitch.applySong(1);
  settle();
  play({0xB0, 20, 0});
  EXPECT_EQ(moved.size(), 1U);
}

TEST_F(Learning, ClearingForgetsTheControlsOfPlugInsToo) {
  changeSong(1, [](SongConfig& song) { song.pluginControlAssignments = {{cutoff, {0xB0, 0, 20}, "Cutoff"}}; });
  learn.clearAllMidiLearn();
  EXPECT_TRUE(song(1).pluginControlAssignments.empty());
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Learning, TheButtonEndsTheWaitOfAControlOfAPlugIn) {
  learn.toggleMidiLearnMode();
  learn.selectPluginControl(cutoff, "Cutoff");
  learn.toggleMidiLearnMode();
  play(knobTurn);
  EXPECT_TRUE(song(0).pluginControlAssignments.empty());
}

TEST_F(Learning, TheFirstMessageIsBoundAndEndsLearnMode) {
  waitFor(onConsole(Kind::panic));
  play({0xB5, 20, 70});
  EXPECT_EQ(assignmentsOf(0), (Assignments{{onConsole(Kind::panic), {0xB0, 5, 20}}}));
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
  play({0xB5, 21, 70});
  EXPECT_EQ(assignmentsOf(0).size(), 1U) << "one binding per visit";
}

TEST_F(Learning, ACapturedMessageIsNotCarriedOut) {
  learnOn(onChannel(Kind::channelMute, 0), knobTurn);
  waitFor(onChannel(Kind::channelMute, 1));
  play(knobTurn);
  EXPECT_FALSE(strip(0).mute.get());
  EXPECT_FALSE(strip(1).mute.get());
  EXPECT_TRUE(learn.activeMidiTriggerBindings().empty());
}

TEST_F(Learning, ACapturedMessageReachesTheInstrumentsAllTheSame) {
  const auto added = addStrip("Piano");
  waitFor(onConsole(Kind::panic));
  play({0x90, 60, 100});
  EXPECT_EQ(added.instrument->events, (Events{{0x90, 60, 100}}));
}

TEST_F(Learning, ABendIsBoundUnderNumberZeroAndAnyBendOfItsMidiChannelMatches) {
  learnOn(onConsole(Kind::masterVolume), {0xE3, 17, 64});
  EXPECT_EQ(assignmentsOf(0), (Assignments{{onConsole(Kind::masterVolume), {0xE0, 3, 0}}}));
  play({0xE3, 127, 127});
  EXPECT_EQ(engine->masterChannel()->volume.get(), 1.0F);
  play({0xE3, 0, 0});
  EXPECT_EQ(engine->masterChannel()->volume.get(), 0.0F);
  play({0xE4, 127, 127});
  EXPECT_EQ(engine->masterChannel()->volume.get(), 0.0F) << "another MIDI channel";
}

TEST_F(Learning, AKeyThatIsReleasedAfterTheClickIsBoundAsItsRelease) {
  learnOn(onChannel(Kind::channelVolume, 0), {0x81, 60, 40});
  EXPECT_EQ(globals(), (Assignments{{onChannel(Kind::channelVolume, 0), {0x80, 1, 60}}}));
  play({0x81, 60, 127});
  EXPECT_EQ(strip(0).volume.get(), 1.0F);
}

TEST_F(Learning, AReleaseOfAKeyPressesNothing) {
  learnOn(onChannel(Kind::channelMute, 0), {0x80, 60, 40});
  play({0x80, 60, 127});
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(Learning, AftertouchProgramsPressureAndSystemMessagesBindNothing) {
  waitFor(onConsole(Kind::panic));
  for (const std::uint8_t status : std::initializer_list<std::uint8_t>{0xA0, 0xC0, 0xD0, 0xF0, 0xF8, 0x00}) {
    play({status, 1, 2});
    learn.handleMidiControlMessage(status, 1, 2);
  }
  EXPECT_TRUE(assignmentsOf(0).empty());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onConsole(Kind::panic));
}

TEST_F(Learning, WithAStoppedEngineAMovedControlTeachesNothing) {
  waitFor(onConsole(Kind::panic));
  graph().stop();
  play(knobTurn);
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onConsole(Kind::panic));
  EXPECT_TRUE(assignmentsOf(0).empty());
  ASSERT_FALSE(graph().start()) << "no failure";
  play(knobTurn);
  EXPECT_EQ(assignmentsOf(0).size(), 1U);
}

TEST_F(Learning, WithoutAPendingTargetAssignedControlsKeepWorking) {
  learnOn(onChannel(Kind::channelMute, 1), knobTurn);
  learn.toggleMidiLearnMode();
  play(knobTurn);
  EXPECT_TRUE(strip(1).mute.get());
  EXPECT_TRUE(state.isMidiLearnMode.get());
}

TEST_F(Learning, EachKindGoesToItsList) {
  const std::vector<std::pair<MidiControlTarget, bool>> isGlobal{
      {onConsole(Kind::panic), false},
      {onConsole(Kind::tapTempo), false},
      {onChannel(Kind::channelVolume, 0), true},
      {onChannel(Kind::channelGain, 0), true},
      {onChannel(Kind::channelReverb, 0), false},
      {onChannel(Kind::channelMute, 0), false},
      {onChannel(Kind::channelSolo, 0), false},
      {onConsole(Kind::masterVolume), false},
      {onConsole(Kind::masterMute), false},
      {onConsole(Kind::performancePitchBend), true},
      {onConsole(Kind::performanceModulation), true},
      {onConsole(Kind::performanceSustain), true},
      {onConsole(Kind::performanceExpression), true},
      {onConsole(Kind::projectionBlackout), true},
      {onConsole(Kind::nextSong), true},
      {onConsole(Kind::previousSong), true},
      {onConsole(Kind::notesPosition), true},
      {onConsole(static_cast<Kind>(99)), false},
      {onConsole(static_cast<Kind>(-1)), false},
  };
  for (const auto& [target, belongsToAll] : isGlobal) {
    learn.clearAllMidiLearn();
    learnOn(target, knobTurn);
    EXPECT_EQ(globals().size(), belongsToAll ? 1U : 0U) << static_cast<int>(target.kind);
    EXPECT_EQ(assignmentsOf(0).size(), belongsToAll ? 0U : 1U) << static_cast<int>(target.kind);
    EXPECT_TRUE(assignmentsOf(1).empty());
  }
}

TEST_F(Learning, AVolumeLearnedAgainReplacesTheOneOfAnotherSong) {
  learnOn(onChannel(Kind::channelVolume, 2), knobTurn);
  songSwitch.applySong(1);
  learnOn(onChannel(Kind::channelVolume, 2), {0xB0, 30, 1});
  EXPECT_EQ(globals(), (Assignments{{onChannel(Kind::channelVolume, 2), {0xB0, 0, 30}}}));
}

TEST_F(Learning, AMuteIsLearnedForTheSongOnStageOnly) {
  songSwitch.applySong(1);
  learnOn(onChannel(Kind::channelMute, 2), knobTurn);
  EXPECT_TRUE(assignmentsOf(0).empty());
  EXPECT_EQ(assignmentsOf(1), (Assignments{{onChannel(Kind::channelMute, 2), {0xB0, 0, 20}}}));
}

TEST_F(Learning, ATargetLearnedAgainMovesToTheEndAndTheOthersStay) {
  learnOn(onChannel(Kind::channelMute, 0), knobTurn);
  learnOn(onChannel(Kind::channelMute, 1), knobTurn);
  learnOn(onChannel(Kind::channelSolo, 0), knobTurn);
  learnOn(onChannel(Kind::channelMute, 0), {0x90, 36, 1});
  EXPECT_EQ(assignmentsOf(0), (Assignments{{onChannel(Kind::channelMute, 1), {0xB0, 0, 20}},
                                           {onChannel(Kind::channelSolo, 0), {0xB0, 0, 20}},
                                           {onChannel(Kind::channelMute, 0), {0x90, 0, 36}}}));
}

TEST_F(Learning, WithNoSongOnStageASongsKindKeepsWaiting) {
  state.selectedSongIndex.set(std::nullopt);
  state.isDirty.set(false);
  waitFor(onConsole(Kind::masterMute));
  play(knobTurn);
  EXPECT_TRUE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onConsole(Kind::masterMute));
  EXPECT_FALSE(state.isDirty.get());
  state.selectedSongIndex.set(9);
  play(knobTurn);
  EXPECT_TRUE(state.isMidiLearnMode.get());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Learning, WithNoSongOnStageAGlobalKindIsLearnedAndLiesIdle) {
  state.selectedSongIndex.set(std::nullopt);
  learnOn(onChannel(Kind::channelVolume, 0), knobTurn);
  EXPECT_EQ(globals().size(), 1U);
  EXPECT_TRUE(learn.effectiveMidiAssignments().empty());
  const float before = strip(0).volume.get();
  play({0xB0, 20, 3});
  EXPECT_EQ(strip(0).volume.get(), before);
}

TEST_F(Learning, TheSetlistsAssignmentsComeBeforeTheSongs) {
  learnOn(onChannel(Kind::channelMute, 0), knobTurn);
  learnOn(onChannel(Kind::channelGain, 0), knobTurn);
  const auto effective = learn.effectiveMidiAssignments();
  ASSERT_EQ(effective.size(), 2U);
  EXPECT_EQ(effective[0].target.kind, Kind::channelGain);
  EXPECT_EQ(effective[1].target.kind, Kind::channelMute);
  state.selectedSongIndex.set(2);
  EXPECT_TRUE(learn.effectiveMidiAssignments().empty()) << "a selection past the last song is none";
}

TEST_F(Learning, ClearingWithNothingAssignedChangesNotEvenLearnMode) {
  waitFor(onConsole(Kind::panic));
  state.isDirty.set(false);
  learn.clearAllMidiLearn();
  EXPECT_TRUE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), onConsole(Kind::panic));
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Learning, ClearingForgetsEveryAssignmentAndWhatIsHeld) {
  learnOn(onChannel(Kind::channelVolume, 0), knobTurn);
  songSwitch.applySong(1);
  learnOn(onChannel(Kind::channelMute, 0), knobTurn);
  songSwitch.applySong(0);
  play(knobTurn);
  ASSERT_EQ(learn.activeMidiTriggerBindings().size(), 1U);
  waitFor(onConsole(Kind::panic));
  state.isDirty.set(false);
  learn.clearAllMidiLearn();
  EXPECT_TRUE(globals().empty());
  EXPECT_TRUE(assignmentsOf(1).empty());
  EXPECT_TRUE(learn.activeMidiTriggerBindings().empty());
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Learning, ASongSwitchEndsLearnModeAndReleasesWhatIsHeld) {
  learnOn(onChannel(Kind::channelVolume, 0), knobTurn);
  play(knobTurn);
  waitFor(onConsole(Kind::panic));
  songSwitch.applySong(1);
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(learn.pendingMidiLearnTarget.get(), std::nullopt);
  EXPECT_TRUE(learn.activeMidiTriggerBindings().empty());
  EXPECT_EQ(globals().size(), 1U) << "what is assigned stays";
}

TEST_F(Learning, APedalHeldAcrossASwitchIsPressedAgainByItsNextMessage) {
  changeSong(1, [](SongConfig& song) { song.midiControlAssignments = {{{Kind::channelMute, 0}, {0xB0, 0, 20}}}; });
  learnOn(onChannel(Kind::channelMute, 0), knobTurn);
  play(knobTurn);
  songSwitch.applySong(1);
  play({0xB0, 20, 80});
  EXPECT_TRUE(strip(0).mute.get());
}

TEST_F(Learning, TheButtonAsksToMoveTheHardwareInEachLanguage) {
  const std::vector<std::pair<Language, std::string>> labels{{Language::english, "Move MIDI"},
                                                             {Language::spanish, "Mueve MIDI"},
                                                             {Language::french, "Bougez MIDI"},
                                                             {Language::italian, "Muovi MIDI"},
                                                             {Language::german, "MIDI bewegen"}};
  for (const auto& [language, label] : labels) {
    EXPECT_EQ(midiLearnButtonLabel(language, true), label);
    EXPECT_EQ(midiLearnButtonLabel(language, false), "Learn");
  }
}

TEST_F(Learning, AMessageAfterTheEndOfTheLearnerDoesNothing) {
  {
    MidiLearn other(state, *engine, tempo);
    other.listenToEngine();
  }
  state.isMidiLearnMode.set(true);
  play(knobTurn);
  EXPECT_TRUE(state.isMidiLearnMode.get());
}

}  // namespace
}  // namespace vrel
