// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/block_pacer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace vrel::audio::test {
namespace {

constexpr std::uint64_t startTime = 5'000'000'000'000;
constexpr std::uint32_t pacedFrames = 1024;
constexpr double pacedRate = 48000;

std::uint64_t timeOfBlock(int block, double clockRate = pacedRate) {
  return startTime + static_cast<std::uint64_t>(std::llround(1e9 * block * pacedFrames / clockRate));
}

double millisecondsBetween(std::uint64_t a, std::uint64_t b) {
  return (static_cast<double>(a) - static_cast<double>(b)) * 1e-6;
}

TEST(BlockPacer, BlocksThatAreAskedForInTimeBeginThen) {
  BlockPacer pacer;
  for (int block = 0; block < 1000; ++block) {
    EXPECT_NEAR(millisecondsBetween(pacer.begin(timeOfBlock(block), pacedFrames, pacedRate), timeOfBlock(block)), 0,
                1e-3);
  }
}

TEST(BlockPacer, ADeviceThatAsksForSeveralBlocksAtOnceMovesNoneByAMillisecond) {
  BlockPacer pacer;
  constexpr int settled = 500;
  double meanMilliseconds = 0;
  std::uint64_t before = 0;
  for (int block = 0; block < 2000; ++block) {
    // Three at a time, as a sound server does.
    const auto start = pacer.begin(timeOfBlock(block - block % 3), pacedFrames, pacedRate);
    if (block > settled) {
      EXPECT_NEAR(millisecondsBetween(start, before), 1e3 * pacedFrames / pacedRate, 0.5) << block;
      meanMilliseconds += millisecondsBetween(start, timeOfBlock(block)) / (2000 - settled);
    }
    before = start;
  }
  EXPECT_NEAR(meanMilliseconds, -1e3 * pacedFrames / pacedRate, 1) << "one block early in the mean, as it was asked";
}

TEST(BlockPacer, AClockThatRunsFastIsFollowed) {
  BlockPacer pacer;
  constexpr double fast = pacedRate * 1.0002;
  for (int block = 0; block < 5000; ++block) {
    const auto start = pacer.begin(timeOfBlock(block, fast), pacedFrames, pacedRate);
    EXPECT_NEAR(millisecondsBetween(start, timeOfBlock(block, fast)), 0, 0.5) << block;
  }
}

TEST(BlockPacer, AfterAGapItStartsAgain) {
  BlockPacer pacer;
  (void)pacer.begin(timeOfBlock(0), pacedFrames, pacedRate);
  EXPECT_EQ(pacer.begin(timeOfBlock(100), pacedFrames, pacedRate), timeOfBlock(100));
}

}  // namespace
}  // namespace vrel::audio::test
