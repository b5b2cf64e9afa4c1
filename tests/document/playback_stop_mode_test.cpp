// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/playback_stop_mode.h"

#include <gtest/gtest.h>

#include <string>

namespace vrel {
namespace {

TEST(PlaybackStopModeText, TheKnownModesHaveTheirTexts) {
  EXPECT_EQ(PlaybackStopMode().mode(), StopMode::toggle);
  EXPECT_EQ(PlaybackStopMode(StopMode::toggle).text(), "toggle");
  EXPECT_EQ(PlaybackStopMode(StopMode::rangeEnd).text(), "rangeEnd");
  EXPECT_EQ(PlaybackStopMode::fromText("toggle"), StopMode::toggle);
  EXPECT_EQ(PlaybackStopMode::fromText("rangeEnd"), StopMode::rangeEnd);
}

TEST(PlaybackStopModeText, AnUnknownTextIsKept) {
  for (const std::string text : {"", "Toggle", "rangeend", "toggle ", "fade\n\"out\""}) {
    const auto mode = PlaybackStopMode::fromText(text);
    EXPECT_EQ(mode.mode(), StopMode::unknown) << text;
    EXPECT_EQ(mode.text(), text);
  }
  EXPECT_NE(PlaybackStopMode::fromText("fade"), PlaybackStopMode::fromText("hold"));
}

}  // namespace
}  // namespace vrel
