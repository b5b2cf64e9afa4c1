// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/piano_layout.h"

#include <gtest/gtest.h>

namespace vrel {
namespace {

constexpr int c4 = 60;

TEST(PianoLayout, EightyEightKeysFromA0FillTheViewWith52WhiteOnes) {
  const PianoLayout layout(21, 88, 1040);
  EXPECT_EQ(layout.whites().size(), 52U);
  EXPECT_EQ(layout.blacks().size(), 36U);
  EXPECT_DOUBLE_EQ(layout.whiteWidth(), 20);
  EXPECT_DOUBLE_EQ(layout.width(), 1040);
}

TEST(PianoLayout, InANarrowViewTheKeysKeepTheirWidthAndOverflow) {
  const PianoLayout layout(21, 88, 400);
  EXPECT_DOUBLE_EQ(layout.whiteWidth(), 12);
  EXPECT_DOUBLE_EQ(layout.width(), 624);
}

TEST(PianoLayout, InAWideViewTheKeysStayNarrowEnough) {
  const PianoLayout layout(c4, 12, 1000);
  EXPECT_EQ(layout.whites().size(), 7U);
  EXPECT_DOUBLE_EQ(layout.whiteWidth(), 35);
  EXPECT_DOUBLE_EQ(layout.width(), 245);
}

TEST(PianoLayout, AWhiteNoteLiesInTheMiddleOfItsKeyAndABlackOneAtTheJoint) {
  const PianoLayout layout(c4, 12, 140);
  EXPECT_DOUBLE_EQ(layout.keyX(c4), 10);
  EXPECT_DOUBLE_EQ(layout.keyX(c4 + 1), 20);
  EXPECT_DOUBLE_EQ(layout.keyX(c4 + 2), 30);
  EXPECT_DOUBLE_EQ(layout.keyX(c4 + 10), 120);
}

TEST(PianoLayout, ANoteOffTheKeyboardLiesAtTheLeftEdge) {
  const PianoLayout layout(21, 88, 1040);
  EXPECT_EQ(layout.keyX(0), 0);
  EXPECT_EQ(layout.keyX(127), 0);
  EXPECT_FALSE(layout.has(0));
  EXPECT_FALSE(layout.has(109));
  EXPECT_TRUE(layout.has(21));
  EXPECT_TRUE(layout.has(108));
}

TEST(PianoLayout, ABlackNoteWhoseLowerNeighbourIsNotThereLiesAtTheLeftEdge) {
  const PianoLayout layout(c4 + 1, 12, 140);
  EXPECT_EQ(layout.keyX(c4 + 1), 0);
}

TEST(PianoLayout, ABlackKeyIsNarrowerAndShorterAndCentredOnTheJoint) {
  const PianoLayout layout(c4, 12, 140);
  const KeyRect black = layout.keyRect(c4 + 1);
  EXPECT_DOUBLE_EQ(black.x, 20 - 6.5);
  EXPECT_DOUBLE_EQ(black.width, 13);
  EXPECT_DOUBLE_EQ(black.height, 51);
  const KeyRect white = layout.keyRect(c4 + 2);
  EXPECT_DOUBLE_EQ(white.x, 20);
  EXPECT_DOUBLE_EQ(white.width, 20);
  EXPECT_DOUBLE_EQ(white.height, 85);
}

TEST(PianoLayout, ABlackKeyIsHitBeforeTheWhiteOnesBelow) {
  const PianoLayout layout(c4, 12, 140);
  EXPECT_EQ(layout.noteAt(20, 10), c4 + 1);
  EXPECT_EQ(layout.noteAt(13.5, 10), c4 + 1);
  EXPECT_EQ(layout.noteAt(13.4, 10), c4);
  EXPECT_EQ(layout.noteAt(139.9, 84), c4 + 11);
}

TEST(PianoLayout, BelowABlackKeyTheWhiteOneIsHit) {
  const PianoLayout layout(c4, 12, 140);
  EXPECT_EQ(layout.noteAt(19.9, 51), c4);
  EXPECT_EQ(layout.noteAt(20, 51), c4 + 2);
}

TEST(PianoLayout, BesideTheKeysNothingIsHit) {
  const PianoLayout layout(c4, 12, 140);
  EXPECT_EQ(layout.noteAt(140, 80), std::nullopt);
  EXPECT_EQ(PianoLayout(c4, 0, 140).noteAt(1, 1), std::nullopt);
}

TEST(PianoLayout, KeysAboveTheLastMidiNoteAreThere) {
  const PianoLayout layout(119, 88, 1040);
  EXPECT_TRUE(layout.has(206));
  EXPECT_EQ(layout.whites().size() + layout.blacks().size(), 88U);
  EXPECT_GT(layout.noteAt(layout.width() - 1, 84), 127);
}

TEST(PianoLayout, TheNearestOfTwoNotesAsNearIsTheLower) {
  const PianoLayout layout(c4, 12, 140);
  EXPECT_EQ(layout.nearestNote(15), c4);  // between C at 10 and C sharp at 20
  EXPECT_EQ(layout.nearestNote(15.1), c4 + 1);
  EXPECT_EQ(layout.nearestNote(-100), c4);
  EXPECT_EQ(layout.nearestNote(1000), c4 + 11);
  EXPECT_EQ(PianoLayout().nearestNote(1), std::nullopt);
}

TEST(PianoKeys, TheFirstStripThatTakesANoteGivesItsColour) {
  const std::vector<SplitBar> bars{{0, 59}, {48, 127}, {0, 127}};
  EXPECT_EQ(claimant(bars, 40), 0U);
  EXPECT_EQ(claimant(bars, 48), 0U);
  EXPECT_EQ(claimant(bars, 60), 1U);
  EXPECT_EQ(claimant(bars, 200), std::nullopt);
  EXPECT_EQ(claimant({}, 60), std::nullopt);
}

TEST(SplitBand, IsAsHighAsItsRowsNeed) {
  EXPECT_EQ(split_band::height(0), 16);
  EXPECT_EQ(split_band::height(1), 16);
  EXPECT_EQ(split_band::height(2), 24);
  EXPECT_EQ(split_band::height(11), 96);
}

TEST(SplitBand, ABarReachesFromItsLowestToItsHighestNote) {
  const PianoLayout layout(c4, 24, 280);
  const KeyRect bar = split_band::bar(layout, {c4, c4 + 12}, 2);
  EXPECT_DOUBLE_EQ(bar.x, 10);
  EXPECT_DOUBLE_EQ(bar.width, 140);
  EXPECT_DOUBLE_EQ(bar.y, 6 + 16);
  EXPECT_DOUBLE_EQ(bar.height, 4);
  const KeyRect frame = split_band::frame(layout, {c4, c4 + 12}, 2);
  EXPECT_DOUBLE_EQ(frame.y, 21);
  EXPECT_DOUBLE_EQ(frame.height, 6);
}

TEST(SplitBand, ASplitBeyondBothEndsOfTheKeyboardIsAShortBarAtTheLeftEdge) {
  const PianoLayout layout(21, 88, 1040);
  const KeyRect bar = split_band::bar(layout, {0, 127}, 0);
  EXPECT_EQ(bar.x, 0);
  EXPECT_EQ(bar.width, 4);
}

TEST(SplitBand, ASplitWhoseUpperEndIsOffTheKeyboardIsAShortBarAtItsLowerEnd) {
  const PianoLayout layout(21, 88, 1040);
  const KeyRect bar = split_band::bar(layout, {c4, 127}, 0);
  EXPECT_EQ(bar.x, layout.keyX(c4));
  EXPECT_EQ(bar.width, 4);
}

TEST(SplitBand, ARowIsEightPointsHighAndTheLastOnesReachToTheEdges) {
  EXPECT_EQ(split_band::rowAt(0, 3), 0U);
  EXPECT_EQ(split_band::rowAt(9.9, 3), 0U);
  EXPECT_EQ(split_band::rowAt(10, 3), 1U);
  EXPECT_EQ(split_band::rowAt(18, 3), 2U);
  EXPECT_EQ(split_band::rowAt(500, 3), 2U);
  EXPECT_EQ(split_band::rowAt(-5, 3), 0U);
  EXPECT_EQ(split_band::rowAt(8, 0), std::nullopt);
}

}  // namespace
}  // namespace vrel
