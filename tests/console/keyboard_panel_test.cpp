// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/keyboard_panel.h"

#include <set>

#include "console/control_laws.h"
#include "console/played_now.h"
#include "document/app_state.h"
#include "midi/midi_input.h"
#include "simulation/simulated_midi_service.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

using Notes = std::set<std::uint8_t>;

class KeyboardOfTheWindow : public SimulatedSession {
 protected:
  KeyboardPanel panel{state, *engine};
};

TEST_F(KeyboardOfTheWindow, AKeyPlaysAsMidiWouldAndIsShownAsHeld) {
  const auto strip = addStrip("Piano");
  strip.instrument->events.clear();
  panel.pressNote(60);
  EXPECT_EQ(state.pressedNotes.get(), Notes{60});
  ASSERT_EQ(strip.instrument->events.size(), 1U);
  EXPECT_EQ(strip.instrument->events[0], (simulation::RecordedEvent{0x90, 60, 100}));
  panel.releaseNote(60);
  EXPECT_TRUE(state.pressedNotes.get().empty());
  ASSERT_EQ(strip.instrument->events.size(), 2U);
  EXPECT_EQ(strip.instrument->events[1], (simulation::RecordedEvent{0x80, 60, 0}));
}

TEST_F(KeyboardOfTheWindow, AKeyAboveTheLastMidiNoteReachesNoStrip) {
  const auto strip = addStrip("Piano");
  strip.instrument->events.clear();
  panel.pressNote(130);
  panel.releaseNote(130);
  EXPECT_TRUE(strip.instrument->events.empty());
  EXPECT_TRUE(state.pressedNotes.get().empty());
}

TEST_F(KeyboardOfTheWindow, TwoStripsThatTakeANoteBothSound) {
  const auto first = addStrip("Piano");
  const auto second = addStrip("Organ", organKey);
  first.instrument->events.clear();
  second.instrument->events.clear();
  panel.pressNote(60);
  EXPECT_EQ(first.instrument->events.size(), 1U);
  EXPECT_EQ(second.instrument->events.size(), 1U);
}

TEST_F(KeyboardOfTheWindow, TheEndsOfASplitRestOnEachOther) {
  const auto channel = engine->addChannel("Piano");
  channel->minNote.set(40);
  channel->maxNote.set(60);
  panel.setSplitMin(*channel, 100);
  EXPECT_EQ(channel->minNote.get(), 60);
  panel.setSplitMin(*channel, 50);
  panel.setSplitMax(*channel, 10);
  EXPECT_EQ(channel->maxNote.get(), 50);
  panel.setSplitMax(*channel, 300);
  EXPECT_EQ(channel->maxNote.get(), 127);
  panel.setSplitMin(*channel, -5);
  EXPECT_EQ(channel->minNote.get(), 0);
}

TEST_F(KeyboardOfTheWindow, TheNumberOfKeysIsLimitedAndAnEdit) {
  state.isDirty.set(false);
  panel.setKeyCount(61);
  EXPECT_EQ(state.keyboardKeyCount.get(), 61);
  EXPECT_TRUE(state.isDirty.get());
  panel.setKeyCount(1000);
  EXPECT_EQ(state.keyboardKeyCount.get(), 88);
  panel.setKeyCount(-1);
  EXPECT_EQ(state.keyboardKeyCount.get(), 12);
}

TEST_F(KeyboardOfTheWindow, TheStartNoteIsAPitchNameInAnOctave) {
  EXPECT_EQ(state.keyboardStartNote.get(), 21);  // A0
  EXPECT_EQ(octaveOf(21), 0);
  state.isDirty.set(false);
  panel.setStartPitchClass(0);
  EXPECT_EQ(state.keyboardStartNote.get(), 12);
  EXPECT_TRUE(state.isDirty.get());
  panel.stepStartOctave(1);
  EXPECT_EQ(state.keyboardStartNote.get(), 24);
}

TEST_F(KeyboardOfTheWindow, TheOctaveEndsAtZeroAndAtEight) {
  state.isDirty.set(false);
  panel.stepStartOctave(-1);
  EXPECT_EQ(state.keyboardStartNote.get(), 21);
  EXPECT_FALSE(state.isDirty.get());
  for (int step = 0; step < 20; ++step) {
    panel.stepStartOctave(1);
  }
  EXPECT_EQ(state.keyboardStartNote.get(), 9 * 12 + 9);
}

TEST_F(KeyboardOfTheWindow, AStartNoteBelowOctaveZeroCanBeLeft) {
  state.keyboardStartNote.set(3);
  panel.stepStartOctave(-1);
  EXPECT_EQ(state.keyboardStartNote.get(), 3);
  panel.stepStartOctave(1);
  EXPECT_EQ(state.keyboardStartNote.get(), 15);
}

TEST_F(KeyboardOfTheWindow, KeyCountAndStartNoteAreNotCoupled) {
  panel.setKeyCount(88);
  for (int step = 0; step < 8; ++step) {
    panel.stepStartOctave(1);
  }
  EXPECT_EQ(state.keyboardKeyCount.get(), 88);
  EXPECT_EQ(state.keyboardStartNote.get(), 117);
}

class Played : public SimulatedSession {
 protected:
  [[nodiscard]] bool isHeld(int note) const {
    return (played->notes[static_cast<std::size_t>(note / 64)].load() >> (note % 64) & 1U) != 0;
  }

  std::shared_ptr<PlayedNow> played = std::make_shared<PlayedNow>();
};

TEST_F(Played, NotesAndValuesFollowTheSession) {
  state.pressedNotes.set({7});
  const PlayedNowSource source(state, played);
  EXPECT_TRUE(isHeld(7));
  state.pressedNotes.set({0, 63, 64, 127, 255});
  for (const int note : {0, 63, 64, 127, 255}) {
    EXPECT_TRUE(isHeld(note)) << note;
  }
  EXPECT_FALSE(isHeld(7));
  state.pitchBendValue.set(-0.5F);
  state.modulationValue.set(0.25F);
  state.sustainPedalValue.set(1);
  state.expressionValue.set(0.75F);
  EXPECT_EQ(played->pitchBend.load(), -0.5F);
  EXPECT_EQ(played->modulation.load(), 0.25F);
  EXPECT_EQ(played->sustain.load(), 1.0F);
  EXPECT_EQ(played->expression.load(), 0.75F);
}

TEST(PerformanceItems, PitchBendIsAtRestInTheMiddle) {
  EXPECT_EQ(PerformanceItem::pitchPlace(0), 0.5);
  EXPECT_EQ(PerformanceItem::pitchPlace(-1), 0);
  EXPECT_EQ(PerformanceItem::pitchPlace(1), 1);
}

TEST(PerformanceItems, SustainIsActiveFromOneHalf) {
  EXPECT_FALSE(PerformanceItem::isSustainActive(0.49));
  EXPECT_TRUE(PerformanceItem::isSustainActive(0.5));
}

TEST(PerformanceItems, AnyExpressionIsActive) {
  EXPECT_FALSE(PerformanceItem::isExpressionActive(0.01));
  EXPECT_TRUE(PerformanceItem::isExpressionActive(0.011));
}

TEST(PerformanceItems, AnActiveLineCanAlwaysBeSeenAndAnotherNever) {
  EXPECT_EQ(PerformanceItem::fill(0.02, true), 0.12);
  EXPECT_EQ(PerformanceItem::fill(0.5, true), 0.5);
  EXPECT_EQ(PerformanceItem::fill(0.49, false), 0);
}

TEST_F(Played, MessagesOfTheSourcesAreCountedAndThePointersNotesAreNot) {
  simulation::SimulatedMIDIService service;
  MidiInput input(service, mainQueue, console, [](MidiMessage, bool) {});
  input.setupMIDI();
  PlayedNowSource source(state, played);
  source.follow(input);
  service.send({{0x90, 60, 100}, {0x80, 60, 0}});
  state.noteActivity(62, true);
  settle();
  EXPECT_EQ(played->messages.load(), 2U);
}

}  // namespace
}  // namespace vrel
