// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/strip_controls.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

class Controls : public SimulatedSession {
 protected:
  Controls() : channel(*engine->addChannel("Keys")) {
    settle();
    state.isDirty.set(false);
  }

  [[nodiscard]] bool wasMarked() {
    const bool marked = state.isDirty.get();
    state.isDirty.set(false);
    return marked;
  }

  StripControls controls{state, *engine};
  AudioChannel& channel;
};

TEST_F(Controls, AKnobAtItsDefaultIsNotChangedByADoubleClick) {
  int changes = 0;
  const auto watch = channel.gain.changed.connect([&](float) { ++changes; });
  controls.setGain(channel, 0.5);
  controls.setReverb(channel, 0.0);
  EXPECT_EQ(changes, 0);
  EXPECT_FALSE(wasMarked());
}

TEST_F(Controls, AKnobStopsAtItsEndsAndIsNotChangedThereAgain) {
  controls.setGain(channel, 1.7);
  EXPECT_EQ(channel.gain.get(), 1.0F);
  EXPECT_TRUE(wasMarked());
  controls.setGain(channel, 1.9);
  EXPECT_FALSE(wasMarked());
  controls.setReverb(channel, 0.25);
  EXPECT_EQ(channel.reverb.get(), 0.25F);
  EXPECT_TRUE(wasMarked());
  controls.setReverb(channel, -1);
  EXPECT_EQ(channel.reverb.get(), 0.0F);
}

TEST_F(Controls, TransposeIsLimitedAndMarkedOnlyWhenItChanges) {
  controls.setTranspose(channel, 99);
  EXPECT_EQ(channel.transpose.get(), 48);
  EXPECT_TRUE(wasMarked());
  controls.enterTranspose(channel, "999");
  EXPECT_FALSE(wasMarked());
  controls.enterTranspose(channel, " -12 ");
  EXPECT_EQ(channel.transpose.get(), -12);
  EXPECT_TRUE(wasMarked());
  controls.enterTranspose(channel, "twelve");
  EXPECT_EQ(channel.transpose.get(), -12);
  EXPECT_FALSE(wasMarked());
}

TEST_F(Controls, TheNotesOfASplitRestOnEachOther) {
  controls.setMaxNote(channel, 60);
  controls.enterMinNote(channel, "100");
  EXPECT_EQ(channel.minNote.get(), 60);
  EXPECT_EQ(channel.maxNote.get(), 60);
  controls.enterMaxNote(channel, "10");
  EXPECT_EQ(channel.maxNote.get(), 60);
  controls.setMaxNote(channel, 500);
  EXPECT_EQ(channel.maxNote.get(), 127);
  controls.setMinNote(channel, -5);
  EXPECT_EQ(channel.minNote.get(), 0);
  EXPECT_TRUE(wasMarked());
  controls.setMinNote(channel, 0);
  EXPECT_FALSE(wasMarked());
}

TEST_F(Controls, EachSendIsToggledByItself) {
  controls.toggleSendSustain(channel);
  EXPECT_FALSE(channel.sendSustain.get());
  EXPECT_TRUE(channel.sendExpression.get());
  EXPECT_TRUE(wasMarked());
  controls.toggleSendExpression(channel);
  EXPECT_FALSE(channel.sendExpression.get());
  controls.toggleSustainControlsRotor(channel);
  EXPECT_TRUE(channel.sustainControlsRotor.get());
  controls.toggleSendSustain(channel);
  EXPECT_TRUE(channel.sendSustain.get());
}

TEST_F(Controls, AColourIsStoredInItsThreeParts) {
  controls.setColor(channel, {0.25F, 0.5F, 1.0F});
  EXPECT_EQ(channel.color.get(), (std::vector<float>{0.25F, 0.5F, 1.0F}));
  EXPECT_TRUE(wasMarked());
}

}  // namespace
}  // namespace vrel
