// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/smoothed_gain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace vrel::audio {
namespace {

constexpr std::uint32_t rampFrames = 240;  // 5 ms at 48 kHz

/// What becomes of `count` samples of `value`.
std::vector<float> applied(SmoothedGain& gain, std::uint32_t count, float value = 1.0F) {
  std::vector<float> samples(count, value);
  const AudioThreadScope block;
  gain.apply({{samples.data(), nullptr}, 1}, count);
  return samples;
}

TEST(SmoothedGain, BeginsAtItsLevelWithoutARamp) {
  SmoothedGain gain;
  gain.set(0.25F);
  EXPECT_EQ(applied(gain, 4), std::vector<float>(4, 0.25F));
}

TEST(SmoothedGain, ARampEndsAtTheLevelExactlyWhicheverItIs) {
  for (const float level : {0.0F, 1.0F, 0.1F, 0.7F, 31.6F, -1.0F}) {
    for (const double sampleRate : {44100.0, 48000.0, 96000.0}) {
      SmoothedGain gain(1.0F / 3);
      gain.prepare(sampleRate);
      applied(gain, 1);
      gain.set(level);
      const auto frames = static_cast<std::uint32_t>(sampleRate * 0.005 + 0.5);
      EXPECT_EQ(applied(gain, frames).back(), level) << sampleRate;
      EXPECT_EQ(applied(gain, 1).front(), level) << sampleRate;
    }
  }
}

TEST(SmoothedGain, ARampNeverPassesItsLevel) {
  SmoothedGain gain(0.5F);
  applied(gain, 1);
  gain.set(0.0F);
  const auto falling = applied(gain, 2 * rampFrames);
  for (std::size_t frame = 1; frame < falling.size(); ++frame) {
    ASSERT_LE(falling[frame], falling[frame - 1]);
    ASSERT_GE(falling[frame], 0.0F);
  }
}

TEST(SmoothedGain, AFactorOfOneLeavesEverySampleAsItIsAndZeroMakesZero) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  SmoothedGain gain;
  EXPECT_EQ(applied(gain, 2, infinity), std::vector<float>(2, infinity));
  gain.set(0.0F);
  applied(gain, rampFrames);
  EXPECT_EQ(applied(gain, 2, infinity), std::vector<float>(2, 0.0F));
}

TEST(SmoothedGain, ALevelThatIsNotFiniteIsSilentAndReadBackAsSet) {
  SmoothedGain gain;
  gain.set(std::numeric_limits<float>::infinity());
  EXPECT_EQ(applied(gain, 2), std::vector<float>(2, 0.0F));
  EXPECT_EQ(gain.get(), std::numeric_limits<float>::infinity());
}

TEST(SmoothedGain, RestsAtZeroOnlyOnceItHasArrivedThere) {
  SmoothedGain gain;
  applied(gain, 1);
  gain.set(0.0F);
  const auto rests = [&gain] {
    const AudioThreadScope block;
    return gain.restsAtZero();
  };
  EXPECT_FALSE(rests());
  applied(gain, rampFrames - 1);
  EXPECT_FALSE(rests());
  applied(gain, 1);
  EXPECT_TRUE(rests());
}

}  // namespace
}  // namespace vrel::audio
