// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/dropped_events.h"

#include "engine/strips.h"
#include "simulation/simulated_midi_service.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Dropped : public SimulatedStage {
 protected:
  Dropped() {
    strips.channels = {addStrip("Upper").channel, addStrip("Lower").channel};
    console.lines.clear();
  }
  [[nodiscard]] simulation::ScriptedInstrument& instrument(std::size_t index) {
    return dynamic_cast<simulation::ScriptedInstrument&>(*strips.channels[index]->instrumentNode.get());
  }

  Strips strips;
  simulation::SimulatedMIDIService midi;
  DroppedEvents dropped{strips, &midi, console};
};

TEST_F(Dropped, EventsOfAnInstrumentAreLoggedWithTheNumberOfItsStripWheneverTheyBecomeMore) {
  dropped.report();
  EXPECT_TRUE(console.lines.empty());
  instrument(1).dropped = 12;
  dropped.report();
  dropped.report();
  instrument(1).dropped = 15;
  dropped.report();
  EXPECT_EQ(console.lines, (Lines{"Strip 2 (Lower): 12 MIDI events dropped, its plug-in does not keep up",
                                  "Strip 2 (Lower): 3 MIDI events dropped, its plug-in does not keep up"}));
}

TEST_F(Dropped, MessagesOfTheInputAreLoggedWheneverTheyBecomeMore) {
  midi.dropped = 3;
  dropped.report();
  dropped.report();
  EXPECT_EQ(console.lines, Lines{"MIDI input: 3 messages dropped"});
}

TEST_F(Dropped, WhatALeavingStripDroppedIsLoggedWithItsNumber) {
  instrument(1).dropped = 4;
  engine->removeChannel(*strips.channels[1]);
  EXPECT_EQ(console.lines, Lines{"Strip 2 (Lower): 4 MIDI events dropped, its plug-in does not keep up"});
  instrument(0).dropped = 2;
  engine->removeAllChannels();
  ASSERT_EQ(console.lines.size(), 2U);
  EXPECT_EQ(console.lines[1], "Strip 1 (Upper): 2 MIDI events dropped, its plug-in does not keep up");
}

TEST_F(Dropped, APooledInstrumentBringsNoOldCount) {
  auto& upper = instrument(0);
  upper.dropped = 7;
  engine->removeChannel(*strips.channels[0]);
  settle();
  const auto pooled = engine->pluginPool().take(pianoKey);
  ASSERT_EQ(pooled.get(), static_cast<AVAudioUnit*>(&upper));
  const auto next = engine->addChannel("Next");
  engine->instruments().installInstrumentNode(*next, pooled, pianoKey, "Piano", std::nullopt);
  console.lines.clear();
  engine->reportDroppedEvents();
  EXPECT_EQ(console.lines, Lines());
  upper.dropped = 9;
  engine->reportDroppedEvents();
  EXPECT_EQ(console.lines, Lines{"Strip 2 (Next): 2 MIDI events dropped, its plug-in does not keep up"});
}

TEST_F(Dropped, AnotherInstrumentOnTheStripIsCountedForItself) {
  instrument(0).dropped = 5;
  dropped.report();
  const auto next = std::make_shared<simulation::ScriptedInstrument>("next");
  next->dropped = 1;
  strips.channels[0]->instrumentNode.set(next);
  dropped.report();
  ASSERT_EQ(console.lines.size(), 2U);
  EXPECT_EQ(console.lines[1], "Strip 1 (Upper): 1 MIDI events dropped, its plug-in does not keep up");
}

}  // namespace
}  // namespace vrel
