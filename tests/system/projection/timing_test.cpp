// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "foundation/uuid.h"
#include "system/projection/layer_fades.h"
#include "system/projection/refresh_clock.h"

namespace vrel::system {
namespace {

ProjectionLayer layerOf(const Uuid& key, double opacity) {
  ProjectionLayer layer;
  layer.key = key;
  layer.opacity = opacity;
  return layer;
}

TEST(LayerFading, IsLinearFromTheInstantOfTheChange) {
  const auto key = Uuid::fresh();
  LayerFades fades;
  fades.follow({layerOf(key, 1)}, 10, false);
  EXPECT_DOUBLE_EQ(fades.opacity(key, 10), 0);
  EXPECT_NEAR(fades.opacity(key, 10.04), 0.25, 1e-9);
  EXPECT_TRUE(fades.isMoving(10.1));
  EXPECT_DOUBLE_EQ(fades.opacity(key, 10.17), 1);
  EXPECT_FALSE(fades.isMoving(10.17));
  EXPECT_DOUBLE_EQ(fades.opacity(Uuid::fresh(), 10.1), 0);
}

TEST(LayerFading, TurnsBackFromWhatIsSeen) {
  const auto key = Uuid::fresh();
  LayerFades fades;
  fades.follow({layerOf(key, 1)}, 0, true);
  EXPECT_DOUBLE_EQ(fades.opacity(key, 0), 1) << "there from the first";
  fades.follow({layerOf(key, 0)}, 5, false);
  EXPECT_NEAR(fades.opacity(key, 5.08), 0.5, 1e-9);
  fades.follow({layerOf(key, 1)}, 5.08, false);
  EXPECT_NEAR(fades.opacity(key, 5.16), 0.75, 1e-9);
  EXPECT_DOUBLE_EQ(fades.opacity(key, 5.25), 1);
}

TEST(LayerFading, AnotherSceneWithTheSameOpacityChangesNoFade) {
  const auto key = Uuid::fresh();
  const auto other = Uuid::fresh();
  LayerFades fades;
  fades.follow({layerOf(key, 1)}, 0, false);
  fades.follow({layerOf(key, 1), layerOf(other, 1)}, 0.04, false);
  EXPECT_NEAR(fades.opacity(key, 0.08), 0.5, 1e-9);
  EXPECT_NEAR(fades.opacity(other, 0.08), 0.25, 1e-9);
  fades.follow({layerOf(other, 1)}, 0.08, false);
  EXPECT_DOUBLE_EQ(fades.opacity(key, 0.08), 0) << "a layer that is gone is not faded";
}

TEST(RefreshClocks, SmoothWhatAThreadIsEarlyOrLate) {
  for (const double rate : {24.0, 50.0, 60.0, 144.0}) {
    RefreshClock clock(rate);
    double last = clock.next(100);
    for (int refresh = 1; refresh < 1000; ++refresh) {
      const double late = 0.3 / rate * std::abs(std::sin(refresh * 12.9898));
      const double instant = clock.next(100 + refresh / rate + late);
      EXPECT_NEAR(instant - last, 1 / rate, 0.04 / rate) << refresh;
      last = instant;
    }
    EXPECT_NEAR(last, 100 + 999 / rate, 0.31 / rate);
  }
}

TEST(RefreshClocks, FollowAScreenThatIsNotQuiteAtItsRate) {
  RefreshClock clock(60);
  double now = 0;
  for (int refresh = 0; refresh < 2000; ++refresh, now += 1 / 59.94) {
    EXPECT_NEAR(clock.next(now), now, 0.2 / 60);
  }
}

TEST(RefreshClocks, CountRefreshesThatWereMissed) {
  RefreshClock clock(60);
  (void)clock.next(1);
  EXPECT_NEAR(clock.next(1 + 3.2 / 60), 1 + 3 / 60.0, 0.03 / 60);
  EXPECT_DOUBLE_EQ(clock.next(5), 5) << "after a rest it begins again";
  clock.rest();
  EXPECT_DOUBLE_EQ(clock.next(5.001), 5.001);
}

TEST(RefreshClocks, HoldAThreadBackThatNoScreenHoldsBack) {
  RefreshClock clock(50);
  EXPECT_DOUBLE_EQ(clock.untilNext(1), 0);
  (void)clock.next(1);
  EXPECT_NEAR(clock.untilNext(1.001), 0.019, 1e-9);
  EXPECT_DOUBLE_EQ(clock.untilNext(1.019), 0) << "this one waited for the screen";
  EXPECT_DOUBLE_EQ(RefreshClock(0).period(), 1.0 / 60) << "an impossible rate";
}

}  // namespace
}  // namespace vrel::system
