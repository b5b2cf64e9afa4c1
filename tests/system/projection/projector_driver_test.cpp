// SPDX-License-Identifier: GPL-3.0-or-later
// What a projector does with drivers that fail, and with one that waits for its screen.
#include <gtest/gtest.h>

#include <QOpenGLContext>
#include <QWindow>
#include <atomic>
#include <memory>
#include <semaphore>
#include <string>

#include "system/projection/projection_fixture.h"
#include "system/projection/projector.h"

namespace vrel::system {
namespace {

using test::ColourPlayer;
using test::layerOf;
using test::MadePicture;
using test::mediaTime;

/// A window and a projector whose driver does what the test says.
class FaultyDriver : public test::Projection {
 protected:
  FaultyDriver() {
    surface.setSurfaceType(QSurface::OpenGLSurface);
    surface.create();
    ProjectionScene scene;
    scene.layers = {layerOf(player)};
    projector.setScene(scene);
  }
  ~FaultyDriver() override {
    projector.end(nullptr);
    projector.join();
  }

  /// Each is another change, so that the projector tries again at once.
  void show(int width) { projector.show({&surface, {width, 180}, 1, 60}); }
  /// From then on another attempt counts.
  void letASecondPass() { passed = passed + 1.0; }
  bool tried(int times) {
    return until([&] { return attempts >= times; });
  }

  std::atomic<double> passed{0};  // seconds, besides those that pass by themselves
  std::atomic<bool> creates{true};
  std::atomic<bool> isUsable{true};
  std::atomic<int> attempts{0};
  std::atomic<int> failures{0};
  std::string failure;  // written before `failures`
  QWindow surface;
  std::shared_ptr<ColourPlayer> player = std::make_shared<ColourPlayer>(MadePicture::Colour{9, 9, 9, 255});
  Projector projector{
      [this] { return mediaTime() + passed; },
      [this](const std::string& line) {
        failure = line;
        ++failures;
      },
      {[this](QOpenGLContext& context) {
         ++attempts;
         return creates && context.create();
       },
       [this](QOpenGLContext& context, QSurface* target) { return isUsable && context.makeCurrent(target); }}};
};

TEST_F(FaultyDriver, ThatMakesNoContextIsReportedOnce) {
  creates = false;
  show(320);
  ASSERT_TRUE(until([&] { return failures == 1; }));
  EXPECT_EQ(failure, "nothing is projected: there is no OpenGL for it");
  const int taken = player->taken;
  show(321);
  ASSERT_TRUE(until([&] { return player->taken > taken; })) << "it goes on, without drawing";
  show(322);
  ASSERT_TRUE(until([&] { return player->taken > taken + 1; }));
  EXPECT_EQ(attempts, 1);
  EXPECT_EQ(failures, 1);
}

TEST_F(FaultyDriver, ThatDrawsNothingFromTheFirstOnIsReportedOnceAfterSeveralAttempts) {
  isUsable = false;
  for (int attempt = 1; attempt <= 5; ++attempt) {
    EXPECT_EQ(failures, 0);
    letASecondPass();
    show(320 + attempt);
    ASSERT_TRUE(tried(attempt));
  }
  ASSERT_TRUE(until([&] { return failures == 1; }));
  EXPECT_GE(attempts, 5);
  EXPECT_EQ(failure, "nothing is projected: OpenGL cannot draw in its window");
  EXPECT_EQ(projector.figures().drawn, 0U);
}

TEST_F(FaultyDriver, ThatLosesItsContextGetsAnotherAndShowsThePictureAgain) {
  show(320);
  ASSERT_TRUE(until([&] { return projector.figures().drawn > 0; }));
  for (int loss = 1; loss <= 10; ++loss) {
    const int before = attempts;
    isUsable = false;
    show(320 + loss);
    ASSERT_TRUE(tried(before + 1));
    isUsable = true;
    const auto drawn = projector.figures().drawn;
    show(420 + loss);
    ASSERT_TRUE(until([&] { return projector.figures().drawn > drawn; })) << loss;
  }
  EXPECT_GE(projector.figures().contexts, 11U);
  EXPECT_EQ(failures, 0);
}

TEST_F(FaultyDriver, ThatLosesItsContextForGoodIsReportedOnce) {
  show(320);
  ASSERT_TRUE(until([&] { return projector.figures().drawn > 0; }));
  creates = false;
  isUsable = false;
  for (int attempt = 1; attempt <= 5; ++attempt) {
    EXPECT_EQ(failures, 0);
    letASecondPass();
    show(320 + attempt);
    ASSERT_TRUE(tried(1 + attempt));
  }
  ASSERT_TRUE(until([&] { return failures == 1; }));
  EXPECT_GE(attempts, 6);
  EXPECT_EQ(failure, "nothing is projected: there is no OpenGL for it");
}

TEST_F(FaultyDriver, ThatLosesItsContextForAMomentOfManyChangesIsNotGivenUp) {
  show(320);
  ASSERT_TRUE(until([&] { return projector.figures().drawn > 0; }));
  creates = false;
  isUsable = false;
  for (int change = 1; change <= 8; ++change) {
    show(320 + change);
    ASSERT_TRUE(tried(1 + change));
  }
  const auto drawn = projector.figures().drawn;
  creates = true;
  isUsable = true;
  show(420);
  EXPECT_TRUE(until([&] { return projector.figures().drawn > drawn; }));
  EXPECT_EQ(failures, 0);
}

TEST_F(FaultyDriver, ThatHasFailedIsTriedAgainWhenTheStageIsShownAgain) {
  creates = false;
  show(320);
  ASSERT_TRUE(until([&] { return failures == 1; }));
  creates = true;
  projector.hide();
  show(320);
  EXPECT_TRUE(until([&] { return projector.figures().drawn > 0; }));
  EXPECT_EQ(failures, 1);
}

/// A screen whose refreshes the test brings about, at times of its own.
class SteppedScreen : public test::Projection {
 protected:
  static constexpr double period = 0.1;

  SteppedScreen() {
    surface.setSurfaceType(QSurface::OpenGLSurface);
    surface.create();
  }
  ~SteppedScreen() override {
    projector.end(nullptr);
    refreshes.release(1000);
    projector.join();
  }

  /// The picture that waits for it is shown.
  void refresh() {
    ASSERT_TRUE(until([this] { return waiting > shown; }));
    ++shown;
    time = shown * period;
    refreshedAt = mediaTime();
    refreshes.release();
  }

  std::atomic<double> time{0};
  std::atomic<int> waiting{0};  // swaps
  int shown = 0;
  double refreshedAt = 0;  // seconds that pass by themselves
  std::counting_semaphore<> refreshes{0};
  QWindow surface;
  Projector projector{[this] { return time.load(); },
                      [](const std::string& line) { ADD_FAILURE() << line; },
                      {[](QOpenGLContext& context) { return context.create(); },
                       [](QOpenGLContext& context, QSurface* target) { return context.makeCurrent(target); },
                       [this](QOpenGLContext& /*context*/, QSurface* /*target*/) {
                         ++waiting;
                         refreshes.acquire();
                       },
                       [](QOpenGLContext& /*context*/) { return false; }}};
};

TEST_F(SteppedScreen, ShowsALayerThatComesAfterARefreshAtTheVeryNextAlsoWhileItPlays) {
  ProjectionScene scene;
  scene.background = std::make_shared<ColourPlayer>(MadePicture::Colour{9, 9, 9, 255});
  projector.setScene(scene);
  projector.show({&surface, {320, 180}, 1, 1 / period});
  constexpr int untilItsTimeIsKnown = 12;
  for (int each = 0; each < untilItsTimeIsKnown; ++each) {
    refresh();
  }
  bool wasInTime = false;
  for (int attempt = 0; attempt < 20 && !wasInTime; ++attempt) {
    scene.layers = {layerOf(std::make_shared<ColourPlayer>(MadePicture::Colour{9, 200, 9, 255}))};
    refresh();
    projector.setScene(scene);
    wasInTime = mediaTime() - refreshedAt < period / 4;  // the test's own thread, on a busy machine
    refresh();
    ASSERT_TRUE(until([this] { return waiting > shown; }));
    const auto first = projector.figures().firstPicture;
    refresh();
    if (wasInTime) {
      ASSERT_TRUE(first.has_value());
      EXPECT_NEAR(*first, period, 1e-9);
    }
    refresh();
  }
  EXPECT_TRUE(wasInTime);
}

}  // namespace
}  // namespace vrel::system
