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
    (void)clock.next(100 - 1 / rate, true);
    double last = clock.next(100, true);
    for (int refresh = 1; refresh < 1000; ++refresh) {
      const double late = 0.3 / rate * std::abs(std::sin(refresh * 12.9898));
      const double instant = clock.next(100 + refresh / rate + late, true);
      EXPECT_NEAR(instant - last, 1 / rate, 0.04 / rate) << refresh;
      last = instant;
    }
    EXPECT_NEAR(last, 100 + 999 / rate, 0.31 / rate);
  }
}

TEST(RefreshClocks, FollowAScreenThatIsNotQuiteAtItsRate) {
  for (const double rate : {59.94, 60.06}) {
    RefreshClock clock(60);
    double now = 0;
    for (int refresh = 0; refresh < 2000; ++refresh, now += 1 / rate) {
      EXPECT_EQ(clock.untilNext(now, false), 0);
      EXPECT_NEAR(clock.next(now, false), now, 0.2 / 60);
    }
  }
}

TEST(RefreshClocks, TakeTheirPhaseFromTheFirstSwapAfterARest) {
  RefreshClock clock(50);
  EXPECT_DOUBLE_EQ(clock.next(1.013, false), 1.013) << "drawn when it was asked for";
  EXPECT_FALSE(clock.isRunning());
  EXPECT_DOUBLE_EQ(clock.next(1.02, true), 1.02) << "the screen's next refresh";
  EXPECT_TRUE(clock.isRunning());
  EXPECT_NEAR(clock.next(1.04, true), 1.04, 1e-9);
  clock.rest();
  EXPECT_FALSE(clock.isRunning());
  EXPECT_DOUBLE_EQ(clock.next(1.05, true), 1.05);
}

TEST(RefreshClocks, ExpectedTooLateAreMovedByASwapThatWaited) {
  RefreshClock clock(50);
  (void)clock.next(1, false);
  (void)clock.next(1.028, false);  // long after the refresh that it is taken for, at 1.02
  double instant = 0;
  for (int refresh = 2; refresh < 60; ++refresh) {
    EXPECT_EQ(clock.untilNext(1 + refresh * 0.02, true), 0);
    instant = clock.next(1 + refresh * 0.02, true);
  }
  EXPECT_NEAR(instant, 1 + 59 * 0.02, 0.001);
}

TEST(RefreshClocks, CountRefreshesThatWereMissed) {
  RefreshClock clock(60);
  (void)clock.next(1, true);
  (void)clock.next(1 + 1 / 60.0, true);
  EXPECT_NEAR(clock.next(1 + 4.2 / 60, true), 1 + 4 / 60.0, 0.03 / 60);
  EXPECT_DOUBLE_EQ(clock.next(5, true), 5) << "after a rest it begins again";
  clock.rest();
  EXPECT_DOUBLE_EQ(clock.next(5.001, true), 5.001);
}

TEST(RefreshClocks, HoldAThreadBackThatNoScreenHoldsBack) {
  RefreshClock clock(50);
  EXPECT_DOUBLE_EQ(clock.untilNext(1, false), 0);
  (void)clock.next(0.98, false);
  EXPECT_DOUBLE_EQ(clock.untilNext(0.981, false), 0) << "its refreshes are not known yet";
  (void)clock.next(1, false);
  EXPECT_NEAR(clock.untilNext(1.001, false), 0.019, 1e-9);
  EXPECT_NEAR(clock.untilNext(1.018, false), 0.002, 1e-9);
  EXPECT_DOUBLE_EQ(clock.untilNext(1.018, true), 0) << "this one waited for the screen";
  EXPECT_DOUBLE_EQ(clock.untilNext(1.0195, false), 0) << "nor did this one come too soon";
  EXPECT_DOUBLE_EQ(RefreshClock(0).period(), 1.0 / 60) << "an impossible rate";
}

TEST(DrawingLeads, AreAsShortAsTheLongestDrawingLately) {
  DrawingLead lead(0.02);
  EXPECT_DOUBLE_EQ(lead.seconds(), 0.02) << "nothing is known yet";
  for (int refresh = 0; refresh < 200; ++refresh) {
    lead.drew(0.001, false);
  }
  EXPECT_NEAR(lead.seconds(), 0.001 + 0.06 * 0.02, 1e-6);
  lead.drew(0.005, false);
  EXPECT_NEAR(lead.seconds(), 0.005 + 0.06 * 0.02, 1e-6) << "at once";
  lead.drew(0.5, true);
  EXPECT_DOUBLE_EQ(lead.seconds(), 0.02) << "no longer than a refresh";
}

TEST(DrawingLeads, GrowWhereRefreshesPassThoughThePictureWasReady) {
  DrawingLead lead(0.02);
  for (int refresh = 0; refresh < 200; ++refresh) {
    lead.drew(0.001, false);
  }
  const double before = lead.seconds();
  lead.drew(0.001, true);
  EXPECT_NEAR(lead.seconds(), before + 0.002, 1e-9);
  for (int refresh = 0; refresh < 1000; ++refresh) {
    lead.drew(0.001, false);
  }
  EXPECT_NEAR(lead.seconds(), before + 0.002, 1e-6) << "and stay so, or they would pass again and again";
  const double grown = lead.seconds();
  lead.drew(0.01, true);
  for (int refresh = 0; refresh < 200; ++refresh) {
    lead.drew(0.001, false);
  }
  EXPECT_NEAR(lead.seconds(), grown, 1e-6) << "not for a picture that was late itself";
}

TEST(DrawingLeads, FallAgainInTimeAndLaterWhereTheShorterOneMissesAgain) {
  DrawingLead lead(0.02);
  for (int refresh = 0; refresh < 200; ++refresh) {
    lead.drew(0.001, false);
  }
  const double before = lead.seconds();
  const auto refreshesUntilItFalls = [&lead] {
    const double grown = lead.seconds();
    int refreshes = 0;
    while (refreshes < 1'000'000 && lead.seconds() > grown - 0.001) {
      lead.drew(0.001, false);
      ++refreshes;
    }
    return refreshes;
  };
  lead.drew(0.001, true);
  lead.drew(0.001, true);
  const int first = refreshesUntilItFalls();
  EXPECT_GT(first, 1000);
  EXPECT_LT(first, 10'000);
  EXPECT_EQ(refreshesUntilItFalls(), first) << "by one step at a time";
  EXPECT_NEAR(lead.seconds(), before, 1e-6) << "hours later nothing is left of a bad moment";
  lead.drew(0.001, true);
  EXPECT_EQ(refreshesUntilItFalls(), 2 * first) << "it was needed";
}

}  // namespace
}  // namespace vrel::system
