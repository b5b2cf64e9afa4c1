// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/value_scales.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vrel {
namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

TEST(FaderScale, IsClosedAtTheBottom) {
  for (const float position : {0.0F, 0.0001F, -0.0F, -3.0F}) {
    EXPECT_EQ(ChannelFaderScale::text(position), "-inf dB") << position;
    EXPECT_EQ(ChannelFaderScale::linearGain(position), 0.0F) << position;
    EXPECT_FALSE(ChannelFaderScale::decibels(position).has_value()) << position;
  }
}

TEST(FaderScale, BeginsAHairAboveMinusSixty) {
  EXPECT_EQ(ChannelFaderScale::text(0.00011F), "-60.0 dB");
  EXPECT_GT(*ChannelFaderScale::decibels(0.00011F), -60.0);
  EXPECT_GT(ChannelFaderScale::linearGain(0.00011F), 0.001F);
  EXPECT_TRUE(ChannelFaderScale::decibels(std::nextafter(0.0001F, 1.0F)).has_value());
}

TEST(FaderScale, UnityIsAtThreeQuarters) {
  EXPECT_EQ(ChannelFaderScale::text(0.75F), "0.0 dB");
  EXPECT_EQ(ChannelFaderScale::linearGain(0.75F), 1.0F);
}

TEST(FaderScale, TheTopIsPlusSixWithoutASign) {
  EXPECT_EQ(ChannelFaderScale::text(1.0F), "6.0 dB");
  EXPECT_EQ(ChannelFaderScale::text(7.0F), "6.0 dB");
  EXPECT_EQ(*ChannelFaderScale::decibels(1.0F), 6.0);
  EXPECT_EQ(ChannelFaderScale::linearGain(std::numeric_limits<float>::infinity()), ChannelFaderScale::linearGain(1.0F));
}

TEST(FaderScale, HalfWayIsMinusSix) {
  EXPECT_EQ(ChannelFaderScale::text(0.5F), "-6.0 dB");
}

TEST(FaderScale, EveryBreakpointIsHitExactly) {
  const struct {
    float position;
    double decibels;
  } points[] = {{0.03F, -48.0}, {0.1F, -30.0}, {0.22F, -18.0}, {0.35F, -12.0},
                {0.5F, -6.0},   {0.65F, -3.0}, {0.75F, 0.0},   {1.0F, 6.0}};
  for (const auto& point : points) {
    EXPECT_EQ(ChannelFaderScale::decibels(point.position), point.decibels) << point.position;
    EXPECT_EQ(ChannelFaderScale::linearGain(point.position), static_cast<float>(std::pow(10.0, point.decibels / 20.0)));
  }
}

TEST(FaderScale, BetweenBreakpointsTheProportionIsSinglePrecision) {
  const float proportion = (0.85F - 0.75F) / (1.0F - 0.75F);
  EXPECT_EQ(*ChannelFaderScale::decibels(0.85F), 6.0 * static_cast<double>(proportion));
  EXPECT_EQ(ChannelFaderScale::text(0.85F), "2.4 dB");
  EXPECT_NEAR(*ChannelFaderScale::decibels(0.16F), -24.0, 1e-5);
  EXPECT_NEAR(*ChannelFaderScale::decibels(0.015F), -54.0, 1e-5);
}

TEST(FaderScale, NeverFallsAsItRises) {
  float last = 0.0F;
  for (int step = 0; step <= 10'000; ++step) {
    const float gain = ChannelFaderScale::linearGain(static_cast<float>(step) / 10'000.0F);
    EXPECT_GE(gain, last) << step;
    last = gain;
  }
}

TEST(GainScale, ReadsWithASignExceptAroundZero) {
  EXPECT_EQ(ChannelGainScale::text(0.5F), "0.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.501F), "0.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.499F), "0.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.50105F), "+0.1 dB");
  EXPECT_EQ(ChannelGainScale::text(0.49895F), "-0.1 dB");
  EXPECT_EQ(ChannelGainScale::text(1.0F), "+24.0 dB");
  EXPECT_EQ(ChannelGainScale::text(0.0F), "-24.0 dB");
}

TEST(GainScale, IsStraightInDecibelsAndLimited) {
  EXPECT_EQ(ChannelGainScale::decibels(0.25F), -12.0);
  EXPECT_EQ(ChannelGainScale::decibels(-1.0F), ChannelGainScale::minimumDecibels);
  EXPECT_EQ(ChannelGainScale::decibels(2.0F), ChannelGainScale::maximumDecibels);
  EXPECT_EQ(ChannelGainScale::decibels(0.3F), static_cast<double>(0.3F) * 48.0 + -24.0);
  EXPECT_EQ(ChannelGainScale::linearGain(0.5F), 1.0F);
  EXPECT_EQ(ChannelGainScale::linearGain(1.0F), static_cast<float>(std::pow(10.0, 24.0 / 20.0)));
}

TEST(ReverbScale, ReadsInWholePercent) {
  EXPECT_EQ(ChannelReverbScale::text(0.0F), "0%");
  EXPECT_EQ(ChannelReverbScale::text(0.004F), "0%");
  EXPECT_EQ(ChannelReverbScale::text(0.005F), "1%");
  EXPECT_EQ(ChannelReverbScale::text(0.5F), "50%");
  EXPECT_EQ(ChannelReverbScale::text(1.0F), "100%");
  EXPECT_EQ(ChannelReverbScale::text(-4.0F), "0%");
  EXPECT_EQ(ChannelReverbScale::text(4.0F), "100%");
}

TEST(Scales, APositionThatIsNotANumberIsTheBottom) {
  EXPECT_EQ(ChannelFaderScale::linearGain(notANumber), 0.0F);
  EXPECT_EQ(ChannelGainScale::decibels(notANumber), -24.0);
  EXPECT_EQ(ChannelReverbScale::text(notANumber), "0%");
}

}  // namespace
}  // namespace vrel
