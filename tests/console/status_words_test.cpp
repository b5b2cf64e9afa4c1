// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include <gtest/gtest.h>

#include "channel/channel_status.h"
#include "document/app_state.h"
#include "text/text.h"

namespace vrel {
namespace {

TEST(StatusWords, RunningAndCrashedAreTranslatedAndAllOthersAreNot) {
  EXPECT_EQ(stripStatusText(ChannelStatus::crashed, Language::english), "CRASHED");
  EXPECT_EQ(stripStatusText(ChannelStatus::running, Language::english), "RUNNING");
  EXPECT_EQ(stripStatusText(ChannelStatus::running, Language::german), "AKTIV");
  for (const auto language : allLanguages) {
    EXPECT_EQ(stripStatusText(ChannelStatus::noPlugin, language), "No plugin");
    EXPECT_EQ(stripStatusText(ChannelStatus::loading, language), "Loading...");
    EXPECT_EQ(stripStatusText(ChannelStatus::loadFailed, language), "Load failed");
  }
}

TEST(StatusWords, ACrashIsRedWhatRunsIsGreenAndTheRestIsGrey) {
  const auto crashed = stripStatusColor(ChannelStatus::crashed);
  const auto running = stripStatusColor(ChannelStatus::running);
  const auto other = stripStatusColor(ChannelStatus::loading);
  ASSERT_EQ(crashed.size(), 3U);
  ASSERT_EQ(running.size(), 3U);
  ASSERT_EQ(other.size(), 3U);
  EXPECT_GT(crashed[0], 2 * crashed[1]);
  EXPECT_GT(running[1], 1.5F * running[0]);
  EXPECT_EQ(other[0], other[1]);
  EXPECT_EQ(other[1], other[2]);
  EXPECT_EQ(stripStatusColor(ChannelStatus::noPlugin), other);
  EXPECT_EQ(stripStatusColor(ChannelStatus::loadFailed), other);
}

TEST(StatusWords, DisconnectedIsNotTheNameOfAPort) {
  EXPECT_FALSE(isMidiPort("Disconnected"));
  EXPECT_TRUE(isMidiPort("Keystation 88"));
}

TEST(StatusWords, HowMuchIsLoadedIsAProportionOfTheSession) {
  EXPECT_EQ(loadingProgress(4, 4), 0.0);
  EXPECT_EQ(loadingProgress(4, 1), 0.75);
  EXPECT_EQ(loadingProgress(4, 0), 1.0);
  EXPECT_EQ(loadingProgress(0, 0), std::nullopt);
}

}  // namespace
}  // namespace vrel
