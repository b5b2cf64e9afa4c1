// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_plugin_controls.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "console/window/console_stage.h"
#include "platform/message_parameters.h"

namespace vrel {
namespace {

/// An instrument on the first strip and an effect behind it, each with controls of several kinds.
class LearnedPlugInControls : public window::ConsoleStage {
 protected:
  LearnedPlugInControls() {
    addSong("One", {});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
    strip_ = addStrip("Keys");
    effect_ = addEffect(*strip_.channel, "Hall");
    for (auto* core : {&strip_.instrument->core, &effect_->core}) {
      core->parameters = std::make_shared<const AUParameterTree>(tree());
    }
    state.isDirty.set(false);
  }

  static AUParameterTree tree() {
    AUParameter cutoff;
    cutoff.address = 1;
    cutoff.identifier = "cutoff";
    cutoff.displayName = "Cutoff";
    cutoff.minValue = 20;
    cutoff.maxValue = 20000;
    cutoff.isLogarithmic = true;
    AUParameter voices;
    voices.address = 2;
    voices.identifier = "voices";
    voices.minValue = 1;
    voices.maxValue = 9;
    voices.isInteger = true;
    AUParameter on;
    on.address = 3;
    on.identifier = "on";
    on.isToggle = true;
    AUParameter shape;
    shape.address = 4;
    shape.identifier = "shape";
    shape.maxValue = 2;
    shape.isEnumeration = true;
    shape.valueNames = {{0, "Sine"}, {1, "Saw"}, {2, "Square"}};
    AUParameter sync;
    sync.address = 5;
    sync.identifier = "sync";
    sync.isTrigger = true;
    AUParameter meter;
    meter.address = 6;
    meter.identifier = "meter";
    meter.isOutput = true;
    AUParameter room;
    room.address = 7;
    room.identifier = "room";
    room.changesAtEndOfDrag = true;
    AUParameterTree all;
    all.allParameters = {cutoff, voices, on, shape, sync, meter, room};
    return all;
  }

  /// The whole visit to learn mode: the control of this plug-in, and the hardware that is to move it.
  void learn(const std::shared_ptr<AVAudioUnit>& unit, std::size_t control, MidiMessage message) {
    content.midiLearn().toggleMidiLearnMode();
    content.learnedPluginControls().select(unit, tree().allParameters[control]);
    play(message);
    mainQueue.runAll();
    state.isDirty.set(false);
  }
  void play(MidiMessage message) {
    engine->routeMIDI(message.status, message.data1, message.data2);
    mainQueue.runAll();
  }
  /// The first message asks for the controls.
  void warmUp() {
    play({0xB0, 20, 0});
    core().parameterSets.clear();
    core().parameterValues.clear();
  }

  [[nodiscard]] simulation::ScriptedUnitCore& core() { return strip_.instrument->core; }

  /// Another effect like the first, at the end of the rack.
  std::shared_ptr<simulation::ScriptedUnit> addTwin() {
    auto twin = addEffect(*strip_.channel, "Hall");
    twin->core.parameters = effect_->core.parameters;
    return twin;
  }
  /// The rack, open at the strip.
  [[nodiscard]] EffectRack& rack() {
    if (content.effectRack().channel() != strip_.channel) {
      content.effectRack().toggle(*strip_.channel);
    }
    return content.effectRack();
  }
  [[nodiscard]] Uuid slotId(std::size_t index) { return strip_.channel->effectSlots.get()[index].id; }

  void expectMoved(std::uint8_t controller, simulation::ScriptedUnit& moved, simulation::ScriptedUnit& still) {
    play({0xB0, controller, 1});
    still.core.parameterSets.clear();
    play({0xB0, controller, 127});
    EXPECT_EQ(moved.core.parameterValues[2], 9.0F);
    EXPECT_TRUE(still.core.parameterSets.empty());
  }

  Strip strip_;
  std::shared_ptr<simulation::ScriptedUnit> effect_;
};

TEST_F(LearnedPlugInControls, AKnobMovesAControlAlongItsOwnTravel) {
  learn(strip_.instrument, 0, {0xB0, 20, 1});
  warmUp();
  play({0xB0, 20, 127});
  play({0xB0, 20, 0});
  ASSERT_EQ(core().parameterSets.size(), 2U);
  EXPECT_FLOAT_EQ(core().parameterSets[0].second, 20000);
  EXPECT_FLOAT_EQ(core().parameterSets[1].second, 20);
  EXPECT_TRUE(state.isDirty.get());
  play({0xB0, 20, 64});
  EXPECT_NEAR(core().parameterValues[1], 650, 30) << "by octaves";
}

TEST_F(LearnedPlugInControls, WholeNumbersSwitchesAndNamesTakeTheirNearestValue) {
  learn(strip_.instrument, 1, {0xB0, 20, 1});
  learn(strip_.instrument, 2, {0xB0, 20, 1});
  learn(strip_.instrument, 3, {0xB0, 20, 1});
  warmUp();
  play({0xB0, 20, 65});
  EXPECT_EQ(core().parameterValues[2], 5.0F);
  EXPECT_EQ(core().parameterValues[3], 1.0F);
  EXPECT_EQ(core().parameterValues[4], 1.0F);
}

TEST_F(LearnedPlugInControls, AKeyFlipsASwitchAndPressesATrigger) {
  learn(strip_.instrument, 2, {0x90, 60, 1});
  learn(strip_.instrument, 4, {0x90, 61, 1});
  play({0x90, 60, 100});
  play({0x90, 60, 0});
  EXPECT_EQ(core().parameterValues[3], 1.0F) << "at the first press, and its release does nothing";
  play({0x90, 60, 20});
  EXPECT_EQ(core().parameterValues[3], 0.0F) << "however softly";
  play({0x90, 61, 100});
  EXPECT_EQ(core().parameterValues[5], 1.0F);
  mainQueue.advance(0.2);
  EXPECT_EQ(core().parameterValues[5], 0.0F);
}

TEST_F(LearnedPlugInControls, AnEffectOfAStripAndOneOfTheMasterAreFound) {
  const auto onMaster = addEffect(*engine->masterChannel(), "Limiter");
  onMaster->core.parameters = std::make_shared<const AUParameterTree>(tree());
  learn(effect_, 1, {0xB0, 20, 1});
  learn(onMaster, 1, {0xB0, 20, 1});
  warmUp();
  play({0xB0, 20, 127});
  EXPECT_EQ(effect_->core.parameterValues[2], 9.0F);
  EXPECT_EQ(onMaster->core.parameterValues[2], 9.0F);
  EXPECT_TRUE(core().parameterSets.empty());
}

TEST_F(LearnedPlugInControls, ACostlyControlMovesOnceTheHandRests) {
  learn(strip_.instrument, 6, {0xB0, 20, 1});
  warmUp();
  mainQueue.advance(1);
  core().parameterSets.clear();
  for (std::uint8_t value = 1; value <= 127; ++value) {
    play({0xB0, 20, value});
  }
  EXPECT_TRUE(core().parameterSets.empty());
  mainQueue.advance(1);
  EXPECT_EQ(core().parameterSets, (std::vector<std::pair<AUParameterAddress, float>>{{7, 1.0F}}));
}

TEST_F(LearnedPlugInControls, AnEffectThatMovesWithinItsRackKeepsItsControls) {
  learn(effect_, 1, {0xB0, 20, 1});
  addEmptySlot(*strip_.channel, chorusKey);
  rack().moveDown(slotId(0));
  play({0xB0, 20, 127});
  EXPECT_EQ(effect_->core.parameterValues[2], 9.0F);
  learn(effect_, 1, {0xB0, 21, 1});
  ASSERT_EQ(song(0).pluginControlAssignments.size(), 1U) << "the earlier one is replaced";
  EXPECT_EQ(song(0).pluginControlAssignments[0].binding.number, 21);
}

TEST_F(LearnedPlugInControls, OfTwoEqualEffectsThatChangePlacesEachKeepsItsOwn) {
  const auto twin = addTwin();
  learn(effect_, 1, {0xB0, 20, 1});
  learn(twin, 1, {0xB0, 21, 1});
  rack().moveUp(slotId(1));
  expectMoved(20, *effect_, *twin);
  expectMoved(21, *twin, *effect_);
  EXPECT_EQ(state.undoTitle.get(), "Undo: EFFECTS") << "one step, of the rack";
}

TEST_F(LearnedPlugInControls, AnEffectInFrontOfTwoEqualOnesDoesNotMixThemUp) {
  const auto twin = addTwin();
  learn(twin, 1, {0xB0, 21, 1});
  const auto third = addTwin();
  rack().moveUp(slotId(2));
  EXPECT_EQ(song(0).pluginControlAssignments[0].target.slotIndex, 2);
  expectMoved(21, *twin, *third);
  expectMoved(21, *twin, *effect_);
}

TEST_F(LearnedPlugInControls, ARemovedEffectTakesItsControlsAndLeavesItsTwinIts) {
  const auto twin = addTwin();
  learn(effect_, 1, {0xB0, 20, 1});
  learn(twin, 1, {0xB0, 21, 1});
  learn(strip_.instrument, 1, {0xB0, 22, 1});
  const auto learned = song(0).pluginControlAssignments;
  const auto steps = content.editHistory().undoCount();
  rack().remove(slotId(0));
  ASSERT_EQ(song(0).pluginControlAssignments.size(), 2U);
  twin->core.parameterSets.clear();
  play({0xB0, 20, 127});
  EXPECT_TRUE(twin->core.parameterSets.empty());
  play({0xB0, 21, 127});
  EXPECT_EQ(twin->core.parameterValues[2], 9.0F);
  EXPECT_EQ(content.editHistory().undoCount(), steps + 1);
  content.editHistory().undo();
  EXPECT_EQ(song(0).pluginControlAssignments, learned);
  content.editHistory().redo();
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 2U);
}

TEST_F(LearnedPlugInControls, AnEffectThatReplacesOneOfTwoEqualOnesLeavesTheOtherAlone) {
  const auto twin = addTwin();
  learn(effect_, 1, {0xB0, 20, 1});
  strip_.channel->effectSlots.modify([](auto& slots) { slots[0].pluginPath = chorusKey + "0"; });
  play({0xB0, 20, 127});
  EXPECT_TRUE(twin->core.parameterSets.empty());
  EXPECT_TRUE(effect_->core.parameterSets.empty());
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U);
}

TEST_F(LearnedPlugInControls, ASongThatComesKnowsItsControlsBeforeTheHardwareMoves) {
  addSong("Two", {record("Keys", organKey)});
  changeSong(1, [](SongConfig& song) {
    song.pluginControlAssignments = {
        {{.channelIndex = 0, .pluginPath = organKey, .control = "voices"}, {0xB0, 0, 20}, ""}};
  });
  content.songSwitch().applySong(1);
  settle();
  EXPECT_TRUE(content.learnedPluginControls().areControlsKnown()) << "nothing is on stage yet";
  while (!units.requests.empty()) {
    units.answerWithInstrument();
  }
  while (state.songSwitchInProgress.get()) {
    ASSERT_TRUE(mainQueue.runOne() || poolQueue().runOne());
  }
  EXPECT_FALSE(content.learnedPluginControls().areControlsKnown());
  mainQueue.runAll();
  EXPECT_TRUE(content.learnedPluginControls().areControlsKnown());
}

TEST_F(LearnedPlugInControls, LiveModeLearnsAndMovesThemAndRemovesNone) {
  content.liveMode().setLiveMode(true);
  learn(strip_.instrument, 1, {0xB0, 20, 1});
  play({0xB0, 20, 127});
  EXPECT_EQ(core().parameterValues[2], 9.0F);
  content.learnedControls().remove(content.learnedControls().all()[0].id);
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U);
}

TEST_F(LearnedPlugInControls, ASavedSetlistThatIsOpenedHasThemAgain) {
  learn(strip_.instrument, 1, {0xB0, 20, 1});
  const auto learned = song(0).pluginControlAssignments;
  files.placeDirectory("/gigs");
  ASSERT_TRUE(content.setlistFiles().writeSetlist("/gigs/a.vrel"));
  changeSong(0, [](SongConfig& song) { song.pluginControlAssignments.clear(); });
  content.setlistFiles().loadSetlist("/gigs/a.vrel");
  answerAll();
  EXPECT_EQ(song(0).pluginControlAssignments, learned);
}

TEST_F(LearnedPlugInControls, AnotherPlugInInThatPlaceIsNotMovedAndTheBindingStays) {
  learn(strip_.instrument, 0, {0xB0, 20, 1});
  strip_.channel->pluginPath.set(organKey);
  warmUp();
  play({0xB0, 20, 127});
  EXPECT_TRUE(core().parameterSets.empty());
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U);
  strip_.channel->pluginPath.set(pianoKey);
  play({0xB0, 20, 1});
  play({0xB0, 20, 127});
  EXPECT_FALSE(core().parameterSets.empty());
}

TEST_F(LearnedPlugInControls, AControlAStripOrASlotThatIsGoneDoesNothingAndAMeterIsNotLearned) {
  const std::string path = strip_.channel->pluginPath.get();
  changeSong(0, [&](SongConfig& song) {
    const MidiControlBinding knob{0xB0, 0, 20};
    song.pluginControlAssignments = {
        {{.channelIndex = 0, .pluginPath = path, .control = "nosuch"}, knob, ""},
        {{.channelIndex = 9, .pluginPath = path, .control = "cutoff"}, knob, ""},
        {{.channelIndex = -1, .pluginPath = path, .control = "cutoff"}, knob, ""},
        {{.channelIndex = 0, .slotIndex = -1, .pluginPath = path, .control = "on"}, knob, ""},
        {{.channelIndex = 0, .slotIndex = 7, .pluginPath = path, .control = "on"}, knob, ""},
        {{.channelIndex = 0, .pluginPath = path, .control = "meter"}, knob, ""}};
  });
  warmUp();
  play({0xB0, 20, 127});
  EXPECT_TRUE(core().parameterSets.empty());
  EXPECT_TRUE(effect_->core.parameterSets.empty());
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 6U);
  content.midiLearn().toggleMidiLearnMode();
  content.learnedPluginControls().select(strip_.instrument, tree().allParameters[5]);
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get(), std::nullopt);
}

TEST_F(LearnedPlugInControls, ASongSwitchDropsWhatHasNotReachedItsPlugIn) {
  learn(strip_.instrument, 6, {0xB0, 20, 1});
  warmUp();
  mainQueue.advance(1);
  core().parameterSets.clear();
  addSong("Two", {});
  play({0xB0, 20, 127});
  content.songSwitch().applySong(1);
  answerAll();
  mainQueue.advance(1);
  EXPECT_TRUE(core().parameterSets.empty()) << "the plug-in may be the next song's";
}

TEST_F(LearnedPlugInControls, WhatComesBeforeTheControlsAreKnownDoesNotMoveTheNextSong) {
  for (const char* const name : {"Two", "Three"}) {
    addSong(name, {record("Keys", organKey)});
  }
  content.songSwitch().applySong(1);
  answerAll();
  const auto unit = std::dynamic_pointer_cast<simulation::ScriptedInstrument>(strip(0).instrumentNode.get());
  changeSong(1, [](SongConfig& song) {
    song.pluginControlAssignments = {
        {{.channelIndex = 0, .pluginPath = organKey, .control = "voices"}, {0xB0, 0, 20}, ""}};
  });
  unit->core.parameters = std::make_shared<const AUParameterTree>(tree());
  engine->routeMIDI(0xB0, 20, 127);
  while (content.learnedPluginControls().areControlsKnown()) {
    ASSERT_TRUE(mainQueue.runOne());
  }
  content.songSwitch().applySong(2);
  answerAll();
  EXPECT_TRUE(unit->core.parameterSets.empty());
  const auto next = std::dynamic_pointer_cast<simulation::ScriptedInstrument>(strip(0).instrumentNode.get());
  EXPECT_TRUE(next->core.parameterSets.empty());
}

TEST_F(LearnedPlugInControls, OneThatIsTurnedInItsOwnEditorIsTheTargetWhileOneIsSought) {
  auto& learned = content.learnedPluginControls();
  learned.touch(strip_.instrument, 2);
  mainQueue.runAll();
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get(), std::nullopt) << "nothing is learned";
  content.midiLearn().toggleMidiLearnMode();
  learned.touch(strip_.instrument, 2);
  mainQueue.runAll();
  ASSERT_TRUE(content.midiLearn().pendingPluginControl.get());
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get()->target.control, "voices");
  learned.touch(effect_, 1);
  mainQueue.runAll();
  learned.touch(effect_, 6);
  learned.touch(effect_, 99);
  mainQueue.runAll();
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get()->target.control, "cutoff") << "neither meters nor others";
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get()->target.slotIndex, 0);
  play({0xB0, 20, 1});
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U);
}

TEST_F(LearnedPlugInControls, OneWithoutBoundsHasNoTravelForHardware) {
  AUParameter seed = tree().allParameters[0];
  seed.isUnbounded = true;
  content.midiLearn().toggleMidiLearnMode();
  content.learnedPluginControls().select(strip_.instrument, seed);
  EXPECT_EQ(content.midiLearn().pendingPluginControl.get(), std::nullopt);
}

/// An effect whose switch and knob have no ports.
class MessagesCore final : public simulation::ScriptedUnitCore, public MessageParameters {
 public:
  void watchMessageParameters(bool isWatched) override { watchers += isWatched ? 1 : -1; }
  [[nodiscard]] std::string parameterText(AUParameterAddress /*address*/) override { return {}; }
  void setParameterText(AUParameterAddress /*address*/, const std::string& /*text*/) override {}

  int watchers = 0;
};

class MessagesUnit final : public simulation::SimulatedNodeOf<AVAudioUnit> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  AUAudioUnit& auAudioUnit() override { return core; }
  void reset() override {}

  MessagesCore core;
};

TEST_F(LearnedPlugInControls, OneWithoutAPortIsSetWhateverWasReportedAndReportsWhileItsSongIsOnStage) {
  const auto unit = std::make_shared<MessagesUnit>("sampler");
  AUParameterTree controls = tree();
  for (AUParameter& each : controls.allParameters) {
    each.address += firstMessageParameter;
  }
  unit->core.parameters = std::make_shared<const AUParameterTree>(controls);
  effect_->core.parameters = nullptr;
  strip_.channel->effectNodes.modify([&](auto& all) { all.begin()->second = unit; });
  learn(unit, 1, {0xB0, 20, 1});
  unit->core.parameterValues[firstMessageParameter + 2] = 9;  // as it was in an earlier song
  play({0xB0, 20, 127});
  EXPECT_EQ(unit->core.parameterSets,
            (std::vector<std::pair<AUParameterAddress, float>>{{firstMessageParameter + 2, 9.0F}}));
  play({0xB0, 20, 126});
  EXPECT_EQ(unit->core.watchers, 1);
  addSong("Two", {});
  content.songSwitch().applySong(1);
  answerAll();
  EXPECT_EQ(unit->core.watchers, 0);
}

}  // namespace
}  // namespace vrel
