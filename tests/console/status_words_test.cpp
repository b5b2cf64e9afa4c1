// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include <gtest/gtest.h>

#include "channel/audio_channel.h"
#include "document/app_state.h"
#include "text/text.h"

namespace vrel {
namespace {

TEST(StatusWords, RunningAndCrashedAreTranslatedAndAllOthersStandAsTheyAre) {
  EXPECT_EQ(stripStatusText(channel_status::crashed, Language::english), "CRASHED");
  EXPECT_EQ(stripStatusText(channel_status::running, Language::english), "RUNNING");
  EXPECT_EQ(stripStatusText(channel_status::running, Language::german), "AKTIV");
  for (const auto language : allLanguages) {
    EXPECT_EQ(stripStatusText("Missing plugin", language), "Missing plugin");
    EXPECT_EQ(stripStatusText("", language), "");
  }
}

TEST(StatusWords, ACrashIsRedWhatRunsIsGreenAndTheRestIsGrey) {
  const auto crashed = stripStatusColor(channel_status::crashed);
  const auto running = stripStatusColor(channel_status::running);
  const auto other = stripStatusColor("Loading");
  ASSERT_EQ(crashed.size(), 3U);
  ASSERT_EQ(running.size(), 3U);
  ASSERT_EQ(other.size(), 3U);
  EXPECT_GT(crashed[0], 2 * crashed[1]);
  EXPECT_GT(running[1], 1.5F * running[0]);
  EXPECT_EQ(other[0], other[1]);
  EXPECT_EQ(other[1], other[2]);
}

TEST(StatusWords, WhatStandsForNoPortIsNoMidiPort) {
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
