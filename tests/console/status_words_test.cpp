// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/status_words.h"

#include <gtest/gtest.h>

#include "channel/channel_status.h"
#include "document/app_state.h"
#include "support/simulated_session.h"
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

using SongSwitchText = SimulatedSession;

TEST_F(SongSwitchText, BeforeTheFirstSwitchThereIsNoTime) {
  EXPECT_EQ(songSwitchText(state), "Switch: --");
}

TEST_F(SongSwitchText, ASongWithNoPluginsIsThereAtOnce) {
  addSong("Free", {record("Free", "")});
  songSwitch.applySong(0);
  EXPECT_EQ(songSwitchText(state), "Switch: 0 ms");
}

TEST_F(SongSwitchText, ASwitchUnderWayShowsItsTimeAtTheEnd) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  EXPECT_EQ(songSwitchText(state), "Switching...");
  mainQueue.advance(1.2347);
  answerAll();
  EXPECT_EQ(songSwitchText(state), "Switch: 1235 ms");
}

TEST(StatusWords, AnInstrumentIsThereWhileItLoadsAndHasFailedWithOrWithoutAnother) {
  EXPECT_EQ(instrumentState(ChannelStatus::noPlugin, false), InstrumentState::empty);
  EXPECT_EQ(instrumentState(ChannelStatus::noPlugin, true), InstrumentState::present);
  EXPECT_EQ(instrumentState(ChannelStatus::running, true), InstrumentState::present);
  for (const bool hasInstrument : {false, true}) {
    EXPECT_EQ(instrumentState(ChannelStatus::loading, hasInstrument), InstrumentState::present);
    EXPECT_EQ(instrumentState(ChannelStatus::loadFailed, hasInstrument), InstrumentState::failed);
    EXPECT_EQ(instrumentState(ChannelStatus::crashed, hasInstrument), InstrumentState::failed);
  }
}

}  // namespace
}  // namespace vrel
