// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_bar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vrel {
namespace {

double levelOf(double decibels) {
  return std::pow(10.0, decibels / 20);
}

void tick(MeterBar& bar, double level) {
  bar.sample(level);
  bar.advance();
}

TEST(MeterScale, RunsFromMinus48DecibelsToFullScale) {
  EXPECT_EQ(meterProportion(levelOf(-48.0001)), 0);
  EXPECT_NEAR(meterProportion(levelOf(-47.9999)), 0, 1e-4);
  EXPECT_EQ(meterProportion(1), 1);
}

TEST(MeterScale, IsALittleTallerThanLinearInDecibelsBelow) {
  EXPECT_NEAR(meterProportion(levelOf(-24)), std::pow(0.5, 0.9), 1e-12);
  EXPECT_NEAR(meterProportion(levelOf(-36)), std::pow(0.25, 0.9), 1e-12);
}

TEST(MeterScale, ALevelAboveFullScaleIsShownAsFullScale) {
  EXPECT_EQ(meterProportion(1.0001), 1);
  EXPECT_EQ(meterProportion(1e30), 1);
  EXPECT_EQ(meterProportion(std::numeric_limits<double>::infinity()), 1);
}

TEST(MeterScale, SilenceAndWhatIsNotANumberAreAtTheBottom) {
  for (const double level : {0.0, 0.000001, -0.5, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(meterProportion(level), 0) << level;
  }
}

TEST(MeterScale, CalibrationIsAddedInDecibels) {
  EXPECT_NEAR(meterProportion(levelOf(-30), 6), meterProportion(levelOf(-24)), 1e-12);
  EXPECT_EQ(meterProportion(levelOf(-3), 6), 1);
  EXPECT_EQ(meterProportion(levelOf(-45), -6), 0);
}

TEST(MeterScale, APlaceOfTheScaleReadsInDecibels) {
  for (const double decibels : {-48.0, -47.0, -24.0, -6.0, 0.0}) {
    EXPECT_NEAR(meterDecibels(meterProportion(levelOf(decibels) * 1.0000001)), decibels, 1e-4);
  }
}

TEST(MeterBar, SilenceShowsNothing) {
  MeterBar bar;
  for (int ticks = 0; ticks < 10; ++ticks) {
    tick(bar, 0);
  }
  EXPECT_EQ(bar.target(), 0);
  EXPECT_EQ(bar.displayed(), 0);
  EXPECT_EQ(bar.hold(), 0);
  EXPECT_FALSE(isMeterHoldShown(bar.hold()));
}

TEST(MeterBar, AFullScalePeakIsTheTargetAtOnceAndShownAlmostAtOnce) {
  MeterBar bar;
  tick(bar, 1);
  EXPECT_EQ(bar.target(), 1);
  EXPECT_DOUBLE_EQ(bar.displayed(), 0.98);
  EXPECT_EQ(bar.hold(), bar.displayed());
  tick(bar, 1);
  EXPECT_DOUBLE_EQ(bar.displayed(), 0.9996);
}

TEST(MeterBar, TheFirstVisibleLevelIsAboveTheGate) {
  MeterBar bar;
  tick(bar, levelOf(-48));
  EXPECT_EQ(bar.displayed(), 0);
  tick(bar, levelOf(-47.39));  // on the scale, below the gate
  EXPECT_EQ(bar.displayed(), 0);
  tick(bar, levelOf(-47.37));
  EXPECT_GT(bar.displayed(), 0.019);
}

TEST(MeterBar, TheTargetFallsAThirdOfTheWayATick) {
  MeterBar bar;
  bar.sample(1);
  bar.sample(levelOf(-24));
  const double low = meterProportion(levelOf(-24));
  EXPECT_DOUBLE_EQ(bar.target(), 1 + (low - 1) * 0.34);
  bar.sample(0);
  EXPECT_DOUBLE_EQ(bar.target(), (1 + (low - 1) * 0.34) * 0.66);
}

TEST(MeterBar, TheTargetRisesAtOnceAtEveryTick) {
  MeterBar bar;
  bar.sample(levelOf(-24));
  bar.sample(levelOf(-12));
  EXPECT_EQ(bar.target(), meterProportion(levelOf(-12)));
}

TEST(MeterBar, ReleaseIsSlowerThanAttack) {
  MeterBar bar;
  tick(bar, 1);
  bar.sample(0);
  const double before = bar.displayed();
  bar.advance();
  EXPECT_DOUBLE_EQ(bar.displayed(), before + (bar.target() - before) * 0.24);
  // About a tenth of a second for most of the way.
  for (int ticks = 0; ticks < 12; ++ticks) {
    tick(bar, 0);
  }
  EXPECT_LT(bar.displayed(), 0.15);
  EXPECT_GT(bar.displayed(), 0);
}

TEST(MeterBar, ThePeakIsHeldForATimeThenFallsAndRestsOnTheBar) {
  MeterBar bar;
  tick(bar, 1);
  int held = 0;
  while (bar.hold() == 0.98) {
    tick(bar, 0);
    ++held;
  }
  EXPECT_NEAR(held / MeterBar::refreshRate, 0.22, 0.02);
  EXPECT_DOUBLE_EQ(bar.hold(), 0.98 - 0.055);
  int falling = 1;
  while (bar.hold() > bar.displayed()) {
    tick(bar, 0);
    ++falling;
  }
  EXPECT_EQ(falling, 18);  // the whole scale
  EXPECT_EQ(bar.hold(), bar.displayed());
}

TEST(MeterBar, AHigherPeakTakesTheMarkerUpAndHoldsItAgain) {
  MeterBar bar;
  tick(bar, levelOf(-20));
  for (int ticks = 0; ticks < 20; ++ticks) {
    tick(bar, 0);
  }
  tick(bar, 1);
  EXPECT_EQ(bar.hold(), bar.displayed());
  const double high = bar.hold();
  for (int ticks = 0; ticks < 26; ++ticks) {
    tick(bar, 0);
  }
  EXPECT_EQ(bar.hold(), high);
}

TEST(MeterBar, WithoutPeakHoldTheMarkerIsTheBar) {
  MeterBar bar(false);
  tick(bar, 1);
  EXPECT_EQ(bar.hold(), bar.displayed());
  tick(bar, 0);
  EXPECT_EQ(bar.hold(), bar.displayed());
}

TEST(MeterSegments, TwoOfTwentyTwoAreRedAndFiveYellow) {
  constexpr MeterSegments segments;
  for (std::size_t segment = 0; segment < segments.count; ++segment) {
    const MeterZone expected = segment >= 20 ? MeterZone::over : segment >= 15 ? MeterZone::hot : MeterZone::safe;
    EXPECT_EQ(segments.zone(segment), expected) << segment;
  }
}

TEST(MeterSegments, ASegmentIsLitFromItsUpperEnd) {
  constexpr MeterSegments segments;
  EXPECT_EQ(segments.lit(0), 0U);
  EXPECT_EQ(segments.lit(1.0 / 22), 1U);
  EXPECT_EQ(segments.lit(2.0 / 22 - 0.0001), 1U);
  EXPECT_EQ(segments.lit(0.98), 21U);
  EXPECT_EQ(segments.lit(1), 22U);
}

TEST(MeterSegments, TheColumnIsFilledWithGapsOfAPoint) {
  constexpr MeterSegments segments;
  EXPECT_DOUBLE_EQ(segments.height(100) * 22 + 21, 100);
  EXPECT_EQ(segments.height(30), 1);
}

}  // namespace
}  // namespace vrel
