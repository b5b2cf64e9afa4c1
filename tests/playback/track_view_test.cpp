// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/track_view.h"

#include <gtest/gtest.h>

#include <limits>

namespace vrel {
namespace {

TEST(TrackViewLaws, ZoomKeepsWhatIsUnderThePointer) {
  const auto zoomed = zoomedTrackView(wholeTrackView(100), 4, 0.25, 0.01, 100);
  EXPECT_DOUBLE_EQ(zoomed.length, 25);
  EXPECT_DOUBLE_EQ(zoomed.from + 0.25 * zoomed.length, 25);
}

TEST(TrackViewLaws, ZoomStaysWithinTheFileAndAboveSingleFrames) {
  EXPECT_EQ(zoomedTrackView({90, 10}, 0.5, 1, 0.01, 100), (TrackView{80, 20}));
  EXPECT_EQ(zoomedTrackView({90, 10}, 0.001, 1, 0.01, 100), (TrackView{0, 100}));
  EXPECT_DOUBLE_EQ(zoomedTrackView({90, 10}, 1e9, 1, 0.01, 100).length, 0.01);
  EXPECT_DOUBLE_EQ(zoomedTrackView({0, 0.005}, 2, 0.5, 0.01, 0.005).length, 0.005);
}

TEST(TrackViewLaws, SenselessNumbersChangeNothing) {
  const TrackView view{10, 20};
  const double none = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(zoomedTrackView(view, none, 0.5, 0.01, 100), view);
  EXPECT_EQ(zoomedTrackView(view, -1, 0.5, 0.01, 100), view);
  EXPECT_EQ(zoomedTrackView(view, 2, none, 0.01, 100), view);
  EXPECT_EQ(scrolledTrackView(view, none, 100), view);
}

TEST(TrackViewLaws, ScrollStopsAtTheEndsOfTheFile) {
  EXPECT_EQ(scrolledTrackView({10, 20}, 0.5, 100), (TrackView{20, 20}));
  EXPECT_EQ(scrolledTrackView({10, 20}, -9, 100), (TrackView{0, 20}));
  EXPECT_EQ(scrolledTrackView({10, 20}, 9, 100), (TrackView{80, 20}));
}

}  // namespace
}  // namespace vrel
