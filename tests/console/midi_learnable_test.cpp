// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/midi_learnable.h"

#include <gtest/gtest.h>

#include <optional>

namespace vrel {
namespace {

TEST(MidiLearnable, ShowsNothingOutsideLearnMode) {
  EXPECT_EQ((MidiLearnableModifier{false, false}.overlay()), std::nullopt);
  EXPECT_EQ((MidiLearnableModifier{false, true}.overlay()), std::nullopt);
}

TEST(MidiLearnable, AControlThatCanBeClickedIsDashedInOrange) {
  const auto overlay = MidiLearnableModifier{true, false}.overlay();
  ASSERT_TRUE(overlay);
  EXPECT_EQ(*overlay, (MidiLearnableOverlay{MidiLearnableModifier::orange, 1.5, 4, 3, 0.35, 3}));
}

TEST(MidiLearnable, TheControlThatWaitsIsOutlinedInCyan) {
  const auto overlay = MidiLearnableModifier{true, true}.overlay();
  ASSERT_TRUE(overlay);
  EXPECT_EQ(*overlay, (MidiLearnableOverlay{MidiLearnableModifier::cyan, 2, 0, 0, 0.55, 6}));
  EXPECT_EQ(MidiLearnableOverlay::cornerRadius, 4);
}

}  // namespace
}  // namespace vrel
