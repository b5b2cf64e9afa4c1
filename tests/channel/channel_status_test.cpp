// SPDX-License-Identifier: GPL-3.0-or-later
#include "channel/channel_status.h"

#include <gtest/gtest.h>

namespace vrel {
namespace {

TEST(ChannelStatusTexts, EachStatusHasItsText) {
  EXPECT_EQ(statusText(ChannelStatus::noPlugin), "No plugin");
  EXPECT_EQ(statusText(ChannelStatus::loading), "Loading...");
  EXPECT_EQ(statusText(ChannelStatus::loadFailed), "Load failed");
  EXPECT_EQ(statusText(ChannelStatus::running), "RUNNING");
  EXPECT_EQ(statusText(ChannelStatus::crashed), "CRASHED");
  EXPECT_EQ(channelStatusTexts.size(), 5U);
}

TEST(EnumTables, ATableWithAGapARepeatedCaseOrASharedTextIsIncomplete) {
  enum class Fruit { apple, pear };
  using Table = EnumTexts<Fruit, 2>;
  EXPECT_TRUE(isComplete(Table{{{Fruit::apple, "apple"}, {Fruit::pear, "pear"}}}));
  EXPECT_FALSE(isComplete(Table{{{Fruit::pear, "pear"}, {Fruit::apple, "apple"}}}));
  EXPECT_FALSE(isComplete(Table{{{Fruit::apple, "apple"}, {Fruit::apple, "pear"}}}));
  EXPECT_FALSE(isComplete(Table{{{Fruit::apple, "fruit"}, {Fruit::pear, "fruit"}}}));
  EXPECT_FALSE(isComplete(EnumTexts<Fruit, 1>{{{Fruit::pear, "pear"}}}));
}

TEST(EnumTables, ATextIsComparedExactly) {
  EXPECT_EQ(caseOf(channelStatusTexts, "RUNNING"), ChannelStatus::running);
  EXPECT_EQ(caseOf(channelStatusTexts, "running"), std::nullopt);
  EXPECT_EQ(caseOf(channelStatusTexts, ""), std::nullopt);
}

}  // namespace
}  // namespace vrel
