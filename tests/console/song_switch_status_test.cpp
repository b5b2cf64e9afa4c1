// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/song_switch_status.h"

#include <gtest/gtest.h>

#include "support/simulated_session.h"

namespace vrel {
namespace {

using Status = SimulatedSession;
using Dot = SongSwitchStatus::Dot;

TEST_F(Status, BeforeTheFirstSwitchThereIsNoTime) {
  EXPECT_EQ(songSwitchStatus(state), (SongSwitchStatus{Dot::green, "Switch: --"}));
}

TEST_F(Status, ASongWithNoPluginsIsThereAtOnce) {
  addSong("Free", {record("Free", "")});
  songSwitch.applySong(0);
  EXPECT_EQ(songSwitchStatus(state), (SongSwitchStatus{Dot::green, "Switch: 0 ms"}));
}

TEST_F(Status, ASwitchUnderWayIsYellowAndShowsItsTimeAtTheEnd) {
  addSong("One", {record("Piano", pianoKey)});
  songSwitch.applySong(0);
  EXPECT_EQ(songSwitchStatus(state), (SongSwitchStatus{Dot::yellow, "Switching..."}));
  mainQueue.advance(1.2347);
  answerAll();
  EXPECT_EQ(songSwitchStatus(state), (SongSwitchStatus{Dot::green, "Switch: 1235 ms"}));
}

}  // namespace
}  // namespace vrel
