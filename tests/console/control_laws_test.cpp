// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/control_laws.h"

#include <gtest/gtest.h>

#include <optional>

#include "document/note_name.h"
#include "document/value_scales.h"

namespace vrel {
namespace {

TEST(FaderScale, IsClosedUpToItsSmallestPosition) {
  for (const float closed : {-1.0F, 0.0F, 0.0001F}) {
    EXPECT_EQ(ChannelFaderScale::text(closed), "-inf dB");
    EXPECT_EQ(ChannelFaderScale::linearGain(closed), 0.0F);
  }
  EXPECT_EQ(ChannelFaderScale::text(0.00011F), "-60.0 dB");
}

TEST(FaderScale, ReadsUnityAtThreeQuartersOfTheTravel) {
  EXPECT_EQ(ChannelFaderScale::text(0.75F), "0.0 dB");
  EXPECT_EQ(ChannelFaderScale::linearGain(0.75F), 1.0F);
  EXPECT_EQ(ChannelFaderScale::text(1.0F), "6.0 dB");
  EXPECT_EQ(ChannelFaderScale::text(0.5F), "-6.0 dB");
}

TEST(GainScale, ReadsZeroAroundTheMiddle) {
  EXPECT_EQ(ChannelGainScale::text(0.5F), "0.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.501F), "0.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.5011F), "+0.1 dB");
  EXPECT_EQ(ChannelGainScale::text(1.0F), "+24.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.0F), "-24.0 dB");
}

TEST(ReverbScale, ReadsWholePercents) {
  EXPECT_EQ(ChannelReverbScale::text(0.004F), "0%");
  EXPECT_EQ(ChannelReverbScale::text(0.005F), "1%");
  EXPECT_EQ(ChannelReverbScale::text(1.0F), "100%");
}

TEST(Fader, TakesThePlaceOfThePointer) {
  EXPECT_EQ(faderPosition(0, 100, 0.3), 1.0);
  EXPECT_EQ(faderPosition(25, 100, 0.3), 0.75);
  EXPECT_EQ(faderPosition(140, 100, 0.3), 0.0);
  EXPECT_EQ(faderPosition(-20, 100, 0.3), 1.0);
  EXPECT_EQ(faderPosition(25, 0, 0.3), 0.3) << "without a height";
}

TEST(Knob, IsSweptByAHundredAndSixtyPointsAndThenRests) {
  EXPECT_EQ(knobChange(0.5F, draggedKnob(0, 0, -160)), 1.0F);
  EXPECT_EQ(knobChange(1.0F, draggedKnob(0, 0, -300)), std::nullopt);
  EXPECT_EQ(knobChange(0.0F, draggedKnob(1, -200, 0)), std::nullopt);
}

TEST(Knob, AddsTheWayToTheRightAndTheWayUp) {
  EXPECT_DOUBLE_EQ(draggedKnob(0, 80, -80), 1.0);
  EXPECT_DOUBLE_EQ(draggedKnob(0.4, 80, 80), 0.4);
  EXPECT_DOUBLE_EQ(draggedKnob(0.5, 40, 0), 0.75);
}

TEST(Knob, DoesNotChangeByATenThousandthOrLess) {
  EXPECT_EQ(knobChange(0.0F, 0.0001), std::nullopt);
  EXPECT_EQ(knobChange(0.0F, 0.00011), std::optional(0.00011F));
}

TEST(Knob, AtItsDefaultADoubleClickChangesNothing) {
  EXPECT_EQ(knobChange(0.5F, gainKnobDefault), std::nullopt);
  EXPECT_EQ(knobChange(0.0F, reverbKnobDefault), std::nullopt);
  EXPECT_EQ(knobChange(0.7F, gainKnobDefault), 0.5F);
  EXPECT_EQ(knobChange(0.7F, reverbKnobDefault), 0.0F);
}

TEST(Knob, GainIsDrawnFromTheTopToBothEnds) {
  EXPECT_DOUBLE_EQ(gainKnobArc(1).from, 0.5);
  EXPECT_DOUBLE_EQ(gainKnobArc(1).to, 0.875);
  EXPECT_DOUBLE_EQ(gainKnobArc(0).from, 0.125);
  EXPECT_DOUBLE_EQ(gainKnobArc(0).to, 0.5);
  EXPECT_DOUBLE_EQ(gainKnobArc(0.5).to - gainKnobArc(0.5).from, 0);
  EXPECT_DOUBLE_EQ(gainKnobArc(1.5).to, 0.875);
  EXPECT_DOUBLE_EQ(gainKnobArc(-1).from, 0.125);
}

TEST(Knob, ReverbIsDrawnFromTheBeginningOfItsTravel) {
  EXPECT_DOUBLE_EQ(reverbKnobArc(0).to, 0.125);
  EXPECT_DOUBLE_EQ(reverbKnobArc(1).to, 0.875);
  EXPECT_DOUBLE_EQ(reverbKnobArc(2).to, 0.875);
  EXPECT_DOUBLE_EQ(reverbKnobArc(0.5).to, 0.5);
}

TEST(Knob, PointsFromLowLeftOverTheTopToLowRight) {
  EXPECT_DOUBLE_EQ(knobPointerDegrees(0), -135);
  EXPECT_DOUBLE_EQ(knobPointerDegrees(0.5), 0);
  EXPECT_DOUBLE_EQ(knobPointerDegrees(1), 135);
}

TEST(Badge, KeepsItsValueWhenTheDraftIsNoWholeNumber) {
  for (const auto* draft : {"", "  \n", "abc", "+", "-", "1.5", "1 2", "--3", "+-3", "0x10", "9223372036854775808",
                            "-9223372036854775809", "\xd9\xa1"}) {
    EXPECT_EQ(badgeCommit(draft, 7, -48, 48), std::nullopt) << draft;
  }
}

TEST(Badge, TakesANumberWithBlanksAroundItAndOneSign) {
  EXPECT_EQ(badgeCommit("  12\n", 7, -48, 48), 12);
  EXPECT_EQ(badgeCommit("+12", 7, -48, 48), 12);
  EXPECT_EQ(badgeCommit("-12", 7, -48, 48), -12);
  EXPECT_EQ(badgeCommit("007", 1, -48, 48), 7);
}

TEST(Badge, LimitsTheNumberToItsRange) {
  EXPECT_EQ(badgeCommit("999", 7, -48, 48), 48);
  EXPECT_EQ(badgeCommit("-9223372036854775808", 7, -48, 48), -48);
  EXPECT_EQ(badgeCommit("999", 48, -48, 48), std::nullopt) << "it has that value already";
  EXPECT_EQ(badgeCommit("7", 7, -48, 48), std::nullopt);
}

TEST(Transpose, ReadsASignForEveryValue) {
  EXPECT_EQ(transposeText(0), "+0");
  EXPECT_EQ(transposeText(12), "+12");
  EXPECT_EQ(transposeText(-12), "-12");
}

TEST(Bar, TakesTheNearestWholeNumberAtThePointer) {
  EXPECT_EQ(barValue(0, 96, lowestTranspose, highestTranspose), -48);
  EXPECT_EQ(barValue(48, 96, lowestTranspose, highestTranspose), 0);
  EXPECT_EQ(barValue(49.4, 96, lowestTranspose, highestTranspose), 1);
  EXPECT_EQ(barValue(500, 96, lowestTranspose, highestTranspose), 48);
  EXPECT_EQ(barValue(-5, 96, 0, highestNote), 0);
  EXPECT_EQ(barValue(50, 0, 0, highestNote), 0) << "without a width";
}

TEST(Bar, ShowsAnEmptyRangeInTheMiddle) {
  EXPECT_DOUBLE_EQ(barMarker(-48, lowestTranspose, highestTranspose), 0);
  EXPECT_DOUBLE_EQ(barMarker(48, lowestTranspose, highestTranspose), 1);
  EXPECT_DOUBLE_EQ(barMarker(3, 3, 3), 0.5);
}

TEST(Split, ItsEndsRestOnEachOther) {
  EXPECT_EQ(lowSplitNote(100, 60), 60);
  EXPECT_EQ(noteName(60), "C4") << "where both handles are then";
  EXPECT_EQ(highSplitNote(20, 60), 60);
  EXPECT_EQ(lowSplitNote(40, 60), 40);
  EXPECT_EQ(highSplitNote(80, 60), 80);
}

TEST(NoteNames, AreSharpsWithTheirOctave) {
  EXPECT_EQ(noteName(0), "C-1");
  EXPECT_EQ(noteName(61), "C#4");
  EXPECT_EQ(noteName(127), "G9");
}

TEST(ControlLaws, TheFirstKeyIsNudgedByOctavesBetweenZeroAndEight) {
  EXPECT_EQ(nudgedStartNote(21, 1), 33);
  EXPECT_EQ(nudgedStartNote(33, -1), 21);
  EXPECT_EQ(nudgedStartNote(21, -1), 21);
  EXPECT_EQ(nudgedStartNote(117, 1), 117);
  EXPECT_EQ(nudgedStartNote(60, 0), 60);
  EXPECT_EQ(nudgedStartNote(60, 100), 108);
  EXPECT_EQ(nudgedStartNote(60, -100), 12);
  EXPECT_EQ(nudgedStartNote(3, 1), 15) << "from below the range";
  EXPECT_EQ(nudgedStartNote(3, -1), 3);
}

}  // namespace
}  // namespace vrel
