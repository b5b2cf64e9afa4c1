// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <optional>

#include "vrel-render/renderer.h"

namespace vrel::render {
namespace {

TEST(ShowLength, TheTailIsRenderedInWholeBlocks) {
  EXPECT_EQ((ShowLength{48000, 128, std::nullopt, 2}).blockCount(), 750U);
  EXPECT_EQ((ShowLength{48000, 128, std::nullopt, 2.0001}).blockCount(), 751U);
  EXPECT_EQ((ShowLength{48000, 128, 1.0, 1}).blockCount(), 750U);
}

TEST(ShowLength, AnEmptyShowHasNoBlock) {
  EXPECT_EQ((ShowLength{48000, 128, std::nullopt, 0}).blockCount(), 0U);
}

TEST(ShowLength, TheBlockOfTheLastStepIsAlwaysThere) {
  EXPECT_EQ((ShowLength{48000, 128, 0.0, 0}).blockCount(), 1U);
  // A step at the very end of a block belongs to the next one.
  EXPECT_EQ((ShowLength{48000, 128, 128.0 / 48000, 0}).blockCount(), 2U);
  EXPECT_EQ((ShowLength{48000, 128, std::nextafter(128.0 / 48000, 0), 0}).blockCount(), 1U);
}

TEST(ShowLength, RoundingMovesNoStepOutOfTheShow) {
  for (const int rate : {8000, 11025, 44100, 48000, 96000, 192000}) {
    for (const std::uint32_t block : {32U, 128U, 1024U}) {
      for (std::uint64_t index = 0; index < 5000; index += 7) {
        ShowLength length{rate, block, std::nullopt, 0};
        length.lastStep = length.blockEnd(index);  // the first moment of the next block
        const std::uint64_t count = length.blockCount();
        ASSERT_EQ(count, index + 2) << rate << " " << block;
      }
    }
  }
}

TEST(ShowLength, BlocksFollowEachOtherWithoutDrift) {
  const ShowLength length{44100, 128, std::nullopt, 0};
  EXPECT_EQ(length.blockEnd(0), 128.0 / 44100);
  EXPECT_EQ(length.blockEnd(44'099'999), 128'000);
}

}  // namespace
}  // namespace vrel::render
