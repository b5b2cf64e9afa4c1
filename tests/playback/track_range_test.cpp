// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/track_range.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace vrel {
namespace {

using testing::ElementsAre;

TEST(TrackTime, IsMinutesAndRoundedSeconds) {
  EXPECT_EQ(trackTimeText(0), "0:00.00");
  EXPECT_EQ(trackTimeText(83.5), "1:23.50");
  EXPECT_EQ(trackTimeText(59.999), "0:60.00");
  EXPECT_EQ(trackTimeText(-3), "0:00.00");
  EXPECT_EQ(trackTimeText(10800.25), "180:00.25");
  EXPECT_EQ(trackTimeText(std::numeric_limits<double>::quiet_NaN()), "0:00.00");
}

TEST(TrackRangeLaws, TheHeldPointHasPriority) {
  EXPECT_EQ(normalisedTrackRange({5, 2}, 10, TrackPoint::entry), (TrackRange{5, 5.05}));
  EXPECT_EQ(normalisedTrackRange({5, 2}, 10, TrackPoint::exit), (TrackRange{1.95, 2}));
  EXPECT_EQ(normalisedTrackRange({-1, 20}, 10, TrackPoint::exit), (TrackRange{0, 10}));
}

TEST(TrackRangeLaws, AFileOfNoLengthHasNoRange) {
  EXPECT_EQ(normalisedTrackRange({3, 4}, 0, TrackPoint::entry), (TrackRange{0, 0}));
  EXPECT_EQ(normalisedTrackRange({3, 4}, 0, TrackPoint::exit), (TrackRange{0, 0}));
}

TEST(TrackRangeLaws, AValueThatIsNotANumberIsBroughtIntoTheFile) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(normalisedTrackRange({none, none}, 10, TrackPoint::entry), (TrackRange{0, 0.05}));
  EXPECT_EQ(openedTrackRange({none, none}, {none, none}, 10), (TrackRange{0, 10}));
}

TEST(TrackRangeLaws, AFreshRangeIsTheWholeFileAndAnOldOneStays) {
  EXPECT_EQ(openedTrackRange({0, 0}, {0, 0}, 10), (TrackRange{0, 10}));
  EXPECT_EQ(openedTrackRange({10, 0}, {10, 0}, 20), (TrackRange{10, 20}));
  EXPECT_EQ(openedTrackRange({2, 5}, {0, 0}, 10), (TrackRange{2, 5}));
}

TEST(TrackGrid, TheExitIsAtLeastOneBeatBehindTheEntry) {
  EXPECT_DOUBLE_EQ(snappedExitTime(2.2, 1, 120, 10), 2.0);
  EXPECT_DOUBLE_EQ(snappedExitTime(1.1, 1, 120, 10), 1.5);
  EXPECT_DOUBLE_EQ(snappedExitTime(0, 1, 120, 10), 1.5);
  EXPECT_DOUBLE_EQ(snappedExitTime(9.9, 1, 7, 10), 9.571428571428571);
  EXPECT_DOUBLE_EQ(snappedExitTime(9.9, 9.8, 120, 10), 10);
}

TEST(TrackGrid, ATempoOfZeroCountsAsOne) {
  EXPECT_EQ(beatSeconds(0), 60);
  EXPECT_EQ(beatSeconds(1), 60);
}

TEST(TrackGrid, MarkersBeginAtTheEntryAndAreLimited) {
  EXPECT_THAT(beatMarkers(1, 3, 60), ElementsAre(1, 2, 3));
  EXPECT_TRUE(beatMarkers(3, 3, 60).empty());
  EXPECT_EQ(beatMarkers(0, 100000, 300).size(), 513U);
}

TEST(TrackDrag, ATieGoesToTheEntry) {
  EXPECT_EQ(nearestTrackPoint(4, {2, 6}), TrackPoint::entry);
  EXPECT_EQ(nearestTrackPoint(4.01, {2, 6}), TrackPoint::exit);
  EXPECT_EQ(nearestTrackPoint(9, {2, 6}), TrackPoint::exit);
}

}  // namespace
}  // namespace vrel
