// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include "performance/midi_learn_stage.h"

namespace vrel {
namespace {

class Dispatch : public MidiLearnStage {
 protected:
  /// Assigns without a visit to learn mode; the setlist counts as saved.
  void assign(const MidiControlTarget& target, const MidiControlBinding& binding) {
    learn.saveMidiAssignment(target, binding);
    state.isDirty.set(false);
  }

  /// Whether carrying out the target marks the setlist as edited.
  bool marksEdited(const MidiControlTarget& target, bool isPressed, float value) {
    state.isDirty.set(false);
    learn.performMidiControl(target, isPressed, value);
    return state.isDirty.get();
  }
};

constexpr MidiControlBinding knob{0xB0, 0, 20};

TEST_F(Dispatch, AControllerFiresOnceOnItsWayUp) {
  assign(onChannel(Kind::channelMute, 0), knob);
  play({0xB0, 20, 70});
  play({0xB0, 20, 90});
  EXPECT_TRUE(strip(0).mute.get());
  play({0xB0, 20, 10});
  EXPECT_TRUE(strip(0).mute.get());
  play({0xB0, 20, 70});
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(Dispatch, AControllerFiresFromSixtyFourOn) {
  assign(onChannel(Kind::channelMute, 0), knob);
  play({0xB0, 20, 63});
  EXPECT_FALSE(strip(0).mute.get());
  play({0xB0, 20, 64});
  EXPECT_TRUE(strip(0).mute.get());
  play({0xB0, 20, 63});
  play({0xB0, 20, 64});
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(Dispatch, AJumpWithinTheUpperHalfFiresNothing) {
  assign(onChannel(Kind::channelMute, 0), knob);
  play({0xB0, 20, 100});
  play({0xB0, 20, 120});
  EXPECT_TRUE(strip(0).mute.get());
}

TEST_F(Dispatch, AllTargetsOfAControllerFireAtTheSamePress) {
  assign(onChannel(Kind::channelMute, 0), knob);
  assign(onChannel(Kind::channelMute, 1), knob);
  assign(onChannel(Kind::channelSolo, 2), knob);
  play({0xB0, 20, 127});
  EXPECT_TRUE(strip(0).mute.get());
  EXPECT_TRUE(strip(1).mute.get());
  EXPECT_TRUE(strip(2).solo.get());
}

TEST_F(Dispatch, ControllersAreHeldEachForItself) {
  assign(onChannel(Kind::channelMute, 0), knob);
  assign(onChannel(Kind::channelMute, 1), {0xB1, 1, 20});
  assign(onChannel(Kind::channelMute, 1), {0xB0, 1, 20});
  assign(onChannel(Kind::channelMute, 2), {0xB0, 0, 21});
  play({0xB0, 20, 127});
  play({0xB1, 20, 127});
  play({0xB0, 21, 127});
  EXPECT_TRUE(strip(0).mute.get());
  EXPECT_TRUE(strip(1).mute.get());
  EXPECT_TRUE(strip(2).mute.get());
  EXPECT_EQ(learn.activeMidiTriggerBindings().size(), 3U);
}

TEST_F(Dispatch, AControllerThatIsAssignedToNothingIsNotHeld) {
  play({0xB0, 20, 127});
  EXPECT_TRUE(learn.activeMidiTriggerBindings().empty());
  assign(onChannel(Kind::channelMute, 0), knob);
  play({0xB0, 20, 127});
  EXPECT_TRUE(strip(0).mute.get());
}

TEST_F(Dispatch, AFaderThatSharesAControllerHoldsItForTheTriggers) {
  assign(onChannel(Kind::channelVolume, 0), knob);
  play({0xB0, 20, 100});
  assign(onChannel(Kind::channelMute, 0), knob);
  play({0xB0, 20, 101});
  EXPECT_FALSE(strip(0).mute.get());
}

TEST_F(Dispatch, ANoteTogglesASoloAndItsReleaseDoesNot) {
  assign(onChannel(Kind::channelSolo, 1), {0x90, 0, 36});
  assign(onChannel(Kind::channelSolo, 2), {0x80, 0, 36});
  play({0x90, 36, 1});
  EXPECT_TRUE(strip(1).solo.get());
  play({0x90, 36, 0});
  play({0x80, 36, 64});
  EXPECT_TRUE(strip(1).solo.get());
  EXPECT_FALSE(strip(2).solo.get());
  play({0x90, 36, 127});
  EXPECT_FALSE(strip(1).solo.get()) << "a key fires each time it goes down";
}

TEST_F(Dispatch, ABendNeverToggles) {
  assign(onChannel(Kind::channelMute, 0), {0xE0, 0, 0});
  play({0xE0, 0, 0});
  play({0xE0, 127, 127});
  EXPECT_FALSE(strip(0).mute.get());
  EXPECT_TRUE(learn.activeMidiTriggerBindings().empty());
}

TEST_F(Dispatch, AControllerSetsAVolumeFromEndToEnd) {
  assign(onChannel(Kind::channelVolume, 1), knob);
  play({0xB0, 20, 127});
  EXPECT_EQ(strip(1).volume.get(), 1.0F);
  play({0xB0, 20, 0});
  EXPECT_EQ(strip(1).volume.get(), 0.0F);
  play({0xB0, 20, 64});
  EXPECT_EQ(strip(1).volume.get(), 64.0F / 127.0F);
}

TEST_F(Dispatch, TheVelocityOfANoteSetsAFader) {
  assign(onChannel(Kind::channelGain, 1), {0x90, 2, 36});
  play({0x92, 36, 32});
  EXPECT_EQ(strip(1).gain.get(), 32.0F / 127.0F);
  play({0x92, 36, 0});
  EXPECT_EQ(strip(1).gain.get(), 0.0F);
}

TEST_F(Dispatch, ABendSetsAFaderWithAllItsFourteenBits) {
  assign(onConsole(Kind::masterVolume), {0xE0, 0, 0});
  play({0xE0, 1, 64});
  EXPECT_EQ(engine->masterChannel()->volume.get(), 8193.0F / 16383.0F);
}

TEST_F(Dispatch, ABendOfRawBytesIsLimitedToTheTop) {
  assign(onConsole(Kind::masterVolume), {0xE0, 0, 0});
  play({0xE0, 255, 255});
  EXPECT_EQ(engine->masterChannel()->volume.get(), 1.0F);
}

TEST_F(Dispatch, OneControllerMovesAllItsTargets) {
  assign(onChannel(Kind::channelVolume, 0), knob);
  assign(onChannel(Kind::channelReverb, 2), knob);
  play({0xB0, 20, 127});
  EXPECT_EQ(strip(0).volume.get(), 1.0F);
  EXPECT_EQ(strip(2).reverb.get(), 1.0F);
}

TEST_F(Dispatch, AnotherMidiChannelNumberOrTypeDoesNotMatch) {
  assign(onChannel(Kind::channelVolume, 0), knob);
  const float before = strip(0).volume.get();
  play({0xB1, 20, 0});
  play({0xB0, 21, 0});
  play({0x90, 20, 0});
  EXPECT_EQ(strip(0).volume.get(), before);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Dispatch, AGlobalAssignmentActsOnTheSamePlaceInEachSong) {
  assign(onChannel(Kind::channelVolume, 2), knob);
  songSwitch.applySong(1);
  play({0xB0, 20, 0});
  EXPECT_EQ(strip(2).volume.get(), 0.0F);
  EXPECT_EQ(strip(2).name.get(), "F");
}

TEST_F(Dispatch, ATargetPastTheLastStripIsIgnoredAndKept) {
  const std::vector<MidiControlTarget> stale{onChannel(Kind::channelVolume, 3), onChannel(Kind::channelMute, 3),
                                             onChannel(Kind::channelSolo, -1), onConsole(Kind::channelGain)};
  for (const auto& target : stale) {
    assign(target, knob);
  }
  play({0xB0, 20, 127});
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_EQ(learn.effectiveMidiAssignments().size(), stale.size());
}

TEST_F(Dispatch, PanicClearsTheDisplayAndSilencesTheInstruments) {
  const auto added = addStrip("Piano");
  state.pressedNotes.set({60});
  state.modulationValue.set(0.5F);
  EXPECT_FALSE(marksEdited(onConsole(Kind::panic), false, 1));
  EXPECT_TRUE(added.instrument->events.empty());
  EXPECT_FALSE(marksEdited(onConsole(Kind::panic), true, 1));
  EXPECT_TRUE(state.pressedNotes.get().empty());
  EXPECT_EQ(state.modulationValue.get(), 0.0F);
  EXPECT_EQ(added.instrument->events.size(), 192U);
}

TEST_F(Dispatch, TwoPressesTapTheTempo) {
  EXPECT_FALSE(marksEdited(onConsole(Kind::tapTempo), false, 1));
  EXPECT_FALSE(marksEdited(onConsole(Kind::tapTempo), true, 1)) << "the first tap only starts the count";
  clock.setNanoseconds(clock.AudioGetCurrentHostTime() + 400'000'000);
  EXPECT_TRUE(marksEdited(onConsole(Kind::tapTempo), true, 1));
  EXPECT_EQ(state.tempoBpm.get(), 150U);
}

TEST_F(Dispatch, FadersTakeTheValueAsItIsPressedOrNot) {
  const std::vector<std::pair<MidiControlTarget, Observable<float>*>> faders{
      {onChannel(Kind::channelVolume, 1), &strip(1).volume},
      {onChannel(Kind::channelGain, 1), &strip(1).gain},
      {onChannel(Kind::channelReverb, 1), &strip(1).reverb},
      {onConsole(Kind::masterVolume), &engine->masterChannel()->volume}};
  for (const auto& [target, fader] : faders) {
    EXPECT_TRUE(marksEdited(target, false, 0.25F));
    EXPECT_EQ(fader->get(), 0.25F);
    EXPECT_TRUE(marksEdited(target, true, 0.75F));
    EXPECT_EQ(fader->get(), 0.75F);
  }
}

TEST_F(Dispatch, ButtonsToggleWhenPressedOnly) {
  const std::vector<std::pair<MidiControlTarget, Observable<bool>*>> buttons{
      {onChannel(Kind::channelMute, 1), &strip(1).mute},
      {onChannel(Kind::channelSolo, 1), &strip(1).solo},
      {onConsole(Kind::masterMute), &engine->masterChannel()->mute}};
  for (const auto& [target, button] : buttons) {
    EXPECT_FALSE(marksEdited(target, false, 1));
    EXPECT_FALSE(button->get());
    EXPECT_TRUE(marksEdited(target, true, 0));
    EXPECT_TRUE(button->get());
    EXPECT_TRUE(marksEdited(target, true, 1));
    EXPECT_FALSE(button->get());
  }
}

TEST_F(Dispatch, ASoloIsNotExclusiveAndIsHeardAtOnce) {
  strip(0).solo.set(true);
  learn.performMidiControl(onChannel(Kind::channelSolo, 1), true, 1);
  EXPECT_TRUE(strip(0).solo.get());
  EXPECT_GT(meterOf(strip(1)).outputVolume(), 0.0F);
  EXPECT_EQ(meterOf(strip(2)).outputVolume(), 0.0F);
}

TEST_F(Dispatch, MasterMuteIsHeardAtOnce) {
  learn.performMidiControl(onConsole(Kind::masterMute), true, 1);
  EXPECT_EQ(graph().mainMixer().outputVolume(), 0.0F);
}

TEST_F(Dispatch, ABendIsSentOnTheFirstMidiChannelWithItsCentreAtOneHalf) {
  const auto added = addStrip("Piano");
  EXPECT_FALSE(marksEdited(onConsole(Kind::performancePitchBend), false, 0.0F));
  EXPECT_EQ(state.pitchBendValue.get(), -1.0F);
  learn.performMidiControl(onConsole(Kind::performancePitchBend), false, 0.5F);
  EXPECT_EQ(state.pitchBendValue.get(), 0.0F);
  learn.performMidiControl(onConsole(Kind::performancePitchBend), false, 1.0F);
  EXPECT_EQ(state.pitchBendValue.get(), 8191.0F / 8192.0F);
  learn.performMidiControl(onConsole(Kind::performancePitchBend), false, 7.0F);
  learn.performMidiControl(onConsole(Kind::performancePitchBend), false, -7.0F);
  EXPECT_EQ(added.instrument->events,
            (Events{{0xE0, 0, 0}, {0xE0, 0, 64}, {0xE0, 127, 127}, {0xE0, 127, 127}, {0xE0, 0, 0}}));
}

TEST_F(Dispatch, EveryPositionOfALearnedWheelArrivesAsItself) {
  assign(onConsole(Kind::performancePitchBend), {0xE0, 9, 0});
  const auto added = addStrip("Piano");
  for (int position = 0; position < 16384; ++position) {
    const auto low = static_cast<std::uint8_t>(position & 0x7F);
    const auto high = static_cast<std::uint8_t>(position >> 7);
    added.instrument->events.clear();
    learn.handleMidiControlMessage(0xE9, low, high);
    ASSERT_EQ(added.instrument->events, (Events{{0xE0, low, high}}));
  }
}

TEST_F(Dispatch, PerformanceControllersAreSentAndShown) {
  const auto added = addStrip("Piano");
  const std::vector<std::tuple<Kind, int, Observable<float>*>> controls{
      {Kind::performanceModulation, 1, &state.modulationValue},
      {Kind::performanceSustain, 64, &state.sustainPedalValue},
      {Kind::performanceExpression, 11, &state.expressionValue}};
  for (const auto& [kind, controller, display] : controls) {
    added.instrument->events.clear();
    EXPECT_FALSE(marksEdited(onConsole(kind), false, 0.5F));
    EXPECT_EQ(display->get(), 64.0F / 127.0F) << "63.5 goes away from zero";
    learn.performMidiControl(onConsole(kind), true, 2.0F);
    EXPECT_EQ(display->get(), 1.0F);
    learn.performMidiControl(onConsole(kind), true, -2.0F);
    EXPECT_EQ(display->get(), 0.0F);
    EXPECT_EQ(added.instrument->events,
              (Events{{0xB0, controller, 64}, {0xB0, controller, 127}, {0xB0, controller, 0}}));
  }
}

TEST_F(Dispatch, AKindThatDoesNotExistDoesNothing) {
  EXPECT_FALSE(marksEdited(onConsole(static_cast<Kind>(99)), true, 1));
}

TEST_F(Dispatch, TheBlackoutIsPassedOnWhenPressedAndIsNoEdit) {
  int pressed = 0;
  const auto listening = learn.projectionBlackoutPressed.connect([&] { ++pressed; });
  EXPECT_FALSE(marksEdited(onConsole(Kind::projectionBlackout), true, 1));
  EXPECT_FALSE(marksEdited(onConsole(Kind::projectionBlackout), false, 0));
  EXPECT_EQ(pressed, 1);
}

TEST_F(Dispatch, ThePositionOfTheNotesIsPassedOnAndIsNoEdit) {
  std::vector<float> positions;
  const auto listening = learn.notesMoved.connect([&](float position) { positions.push_back(position); });
  EXPECT_FALSE(marksEdited(onConsole(Kind::notesPosition), false, 0.25F));
  EXPECT_FALSE(marksEdited(onConsole(Kind::notesPosition), true, 1));
  EXPECT_EQ(positions, (std::vector{0.25F, 1.0F}));
}

TEST_F(Dispatch, AControllerMarksTheSetlistAsEditedWhileAPluginIsInTheSession) {
  const auto isMarkedBy = [this](MidiMessage message) {
    state.isDirty.set(false);
    play(message);
    return state.isDirty.get();
  };
  EXPECT_FALSE(isMarkedBy({0xB0, 7, 1})) << "nothing is loaded";
  strip(0).pluginPath.set("internal:playback");
  EXPECT_FALSE(isMarkedBy({0xB0, 7, 1})) << "nor in a session that only plays files";
  strip(0).pluginPath.set("internal:visual");
  EXPECT_TRUE(isMarkedBy({0xB0, 7, 1}));
  strip(0).pluginPath.set(pianoKey);
  EXPECT_TRUE(isMarkedBy({0xBF, 0, 0}));
  EXPECT_FALSE(isMarkedBy({0x90, 60, 1}));
  EXPECT_FALSE(isMarkedBy({0xE0, 0, 64}));
}

TEST_F(Dispatch, AnEffectOfAStripMakesAControllerCount) {
  strip(2).pluginPath.set("internal:playback");
  addEmptySlot(strip(2), "");
  play({0xB0, 7, 1});
  EXPECT_FALSE(state.isDirty.get()) << "an empty slot is not an effect";
  addEmptySlot(strip(2), chorusKey);
  play({0xB0, 7, 1});
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Dispatch, AnEffectOfTheMasterMakesAControllerCount) {
  addEmptySlot(*engine->masterChannel(), chorusKey);
  play({0xB0, 7, 1});
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Dispatch, ACapturedControllerCountsAsTheAssignmentItMakes) {
  state.selectedSongIndex.set(std::nullopt);
  strip(0).pluginPath.set(pianoKey);
  state.isDirty.set(false);
  waitFor(onConsole(Kind::panic));
  play({0xB0, 7, 1});
  EXPECT_FALSE(state.isDirty.get()) << "it was meant for learning, though no song could take it";
}

TEST_F(Dispatch, LiveModeLeavesLearnedControlsAlone) {
  assign(onChannel(Kind::channelMute, 0), knob);
  state.isLiveModeEnabled.set(true);
  play({0xB0, 20, 127});
  EXPECT_TRUE(strip(0).mute.get());
}

TEST_F(Dispatch, AStoppedEngineCarriesNothingOut) {
  assign(onChannel(Kind::channelVolume, 0), knob);
  const float before = strip(0).volume.get();
  graph().stop();
  play({0xB0, 20, 0});
  EXPECT_EQ(strip(0).volume.get(), before);
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Dispatch, EachControlIsReportedBeforeItActs) {
  assign(onChannel(Kind::channelVolume, 1), knob);
  assign(onChannel(Kind::channelMute, 2), knob);
  strip(1).volume.set(0.5F);
  std::vector<std::tuple<MidiControlTarget, bool, float>> reported;
  std::vector<float> volumes;
  const auto connection =
      learn.controlWillAct.connect([&](const MidiControlTarget& target, bool isPressed, float value) {
        reported.emplace_back(target, isPressed, value);
        volumes.push_back(strip(1).volume.get());
      });
  play({0xB0, 20, 127});
  play({0xB0, 21, 127});
  EXPECT_EQ(reported,
            (std::vector<std::tuple<MidiControlTarget, bool, float>>{{onChannel(Kind::channelVolume, 1), true, 1.0F},
                                                                     {onChannel(Kind::channelMute, 2), true, 1.0F}}));
  EXPECT_EQ(volumes, (std::vector{0.5F, 1.0F}));
}

TEST_F(Dispatch, WhatDoesNotActIsNotReported) {
  assign(onChannel(Kind::channelVolume, 99), knob);
  assign(onChannel(Kind::channelMute, 0), knob);
  int reports = 0;
  const auto connection = learn.controlWillAct.connect([&](const MidiControlTarget&, bool, float) { ++reports; });
  play({0xB0, 20, 3});
  EXPECT_EQ(reports, 0) << "there is no such strip, and nothing was pressed";
  play({0xB0, 20, 127});
  EXPECT_EQ(reports, 1) << "of the button";
}

}  // namespace
}  // namespace vrel
