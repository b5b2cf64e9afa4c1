// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/projector.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QOpenGLContext>
#include <QPixmap>
#include <QScreen>
#include <QWindow>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "simulation/simulated_video.h"
#include "system/projection/off_screen_stage.h"
#include "system/projection/stage_preview.h"
#include "system/projection/step_queue.h"
#include "system/projection/system_projection.h"

namespace vrel::system {
namespace {

using test::MadePicture;
using test::StepQueue;

double mediaTime() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::shared_ptr<const VideoPicture> plain(MadePicture::Colour colour) {
  return std::make_shared<MadePicture>(16, 9, [colour](auto, auto) { return colour; });
}

/// Shows one colour, and counts who asks.
class ColourPlayer final : public simulation::SimulatedQueuePlayer {
 public:
  explicit ColourPlayer(MadePicture::Colour colour) : picture_(plain(colour)) {}
  std::shared_ptr<const VideoPicture> copyPictureForTime(double /*mediaSeconds*/) override {
    ++taken;
    return picture_;
  }
  std::atomic<int> taken{0};

 private:
  const std::shared_ptr<const VideoPicture> picture_;
};

class Projection : public testing::Test {
 protected:
  ~Projection() override {
    window.reset();
    settle();
  }

  bool until(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!holds()) {
      if (std::chrono::steady_clock::now() > end) {
        return false;
      }
      queue.run();
      QGuiApplication::processEvents(QEventLoop::AllEvents, 5);
      std::this_thread::yield();
    }
    return true;
  }
  void settle() {
    for (int turn = 0; turn < 20; ++turn) {
      queue.run();
      QGuiApplication::processEvents();
    }
  }

  /// Lets as many refreshes pass as would draw if anything did.
  void letRefreshesPass() {
    constexpr double several = 0.1;  // seconds; six of them
    const double end = mediaTime() + several;
    EXPECT_TRUE(until([&] { return mediaTime() >= end; }));
  }

  void open(const ScreenRect& frame) {
    window = factory.makeWindow();
    window->setTitle("Stage");
    window->setStyleMask(15);
    window->setFrame(frame, true);
    window->orderFront();
  }

  static QColor seenAt(int x, int y) {
    return QGuiApplication::primaryScreen()->grabWindow(0, x, y, 1, 1).toImage().pixelColor(0, 0);
  }
  bool shows(int x, int y, const QColor& colour) {
    return until([&] { return seenAt(x, y) == colour; });
  }

  StepQueue queue;
  StageWindows windows;
  std::vector<std::string> lines;
  SystemProjection factory{windows, queue, [this](const std::string& line) { lines.push_back(line); }};
  std::shared_ptr<ProjectionWindow> window;
};

ProjectionLayer layerOf(std::shared_ptr<AVQueuePlayer> player, LayerBlending blending = LayerBlending::normal) {
  return {Uuid::fresh(), std::move(player), blending, 1};
}

TEST_F(Projection, ShowsAClipWhereItsWindowIs) {
  const auto red = std::make_shared<ColourPlayer>(MadePicture::Colour{200, 0, 0, 255});
  open({100, 100, 320, 180});
  ProjectionScene scene;
  scene.layers = {layerOf(red)};
  window->setContent(scene);
  EXPECT_TRUE(shows(260, 190, QColor(200, 0, 0)));
  EXPECT_NE(seenAt(50, 50), QColor(200, 0, 0));
  EXPECT_TRUE(window->isVisible());
  ASSERT_TRUE(until([&] { return window->screen().has_value(); }));
  EXPECT_EQ(window->screen()->frame.width, 1280);
  scene.isBlack = true;
  window->setContent(scene);
  EXPECT_TRUE(shows(260, 190, QColor(0, 0, 0)));
  EXPECT_TRUE(lines.empty()) << lines.front();
}

TEST_F(Projection, IsInFullScreenAndBackWhereItWas) {
  open({100, 100, 320, 180});
  ProjectionScene scene;
  scene.background = std::make_shared<ColourPlayer>(MadePicture::Colour{0, 0, 200, 255});
  window->setContent(scene);
  window->toggleFullScreen();
  EXPECT_NE(window->styleMask() & NSWindowStyleMaskFullScreen, 0U) << "at once";
  EXPECT_TRUE(shows(1270, 710, QColor(0, 0, 200)));
  settle();
  EXPECT_NE(window->styleMask() & NSWindowStyleMaskFullScreen, 0U);
  window->toggleFullScreen();
  EXPECT_TRUE(until([&] { return seenAt(1270, 710) != QColor(0, 0, 200); }));
  EXPECT_TRUE(shows(260, 190, QColor(0, 0, 200)));
}

TEST_F(Projection, HiddenItTakesNoPictures) {
  const auto player = std::make_shared<ColourPlayer>(MadePicture::Colour{0, 200, 0, 255});
  open({100, 100, 320, 180});
  ProjectionScene scene;
  scene.background = player;
  window->setContent(scene);
  EXPECT_TRUE(shows(260, 190, QColor(0, 200, 0)));
  window->orderOut();
  EXPECT_FALSE(window->isVisible());
  ASSERT_TRUE(until([&] { return seenAt(260, 190) != QColor(0, 200, 0); }));
  settle();
  const int taken = player->taken;
  letRefreshesPass();
  EXPECT_LE(player->taken, taken + 1);
  window->orderFront();
  EXPECT_TRUE(shows(260, 190, QColor(0, 200, 0))) << "and shown again it is as it was";
}

TEST_F(Projection, APersonClosesItByHidingIt) {
  bool isClosed = false;
  open({100, 100, 320, 180});
  window->onPersonClosed([&] { isClosed = true; });
  ASSERT_TRUE(until([&] { return window->screen().has_value(); }));
  for (QWindow* const each : QGuiApplication::topLevelWindows()) {
    each->close();
  }
  EXPECT_TRUE(until([&] { return isClosed; }));
  EXPECT_FALSE(window->isVisible());
  window->orderFront();
  ProjectionScene scene;
  scene.background = std::make_shared<ColourPlayer>(MadePicture::Colour{1, 2, 3, 255});
  window->setContent(scene);
  EXPECT_TRUE(shows(260, 190, QColor(1, 2, 3)));
}

TEST_F(Projection, APersonsCloseCountsAlsoWhileMoreIsAskedFor) {
  int closed = 0;
  open({100, 100, 320, 180});
  window->onPersonClosed([&] { ++closed; });
  ASSERT_TRUE(until([&] { return window->screen().has_value(); }));
  auto* const shown = QGuiApplication::topLevelWindows().constFirst();
  window->setTitle("on its way to the window");
  queue.run();
  shown->close();
  QGuiApplication::processEvents();
  EXPECT_FALSE(shown->isVisible()) << "what was on its way does not show it again";
  window->setTitle("not yet on its way");
  ASSERT_TRUE(until([&] { return closed == 1; }));
  settle();
  EXPECT_FALSE(window->isVisible());
  EXPECT_FALSE(shown->isVisible());
  window->orderFront();
  ASSERT_TRUE(until([&] { return shown->isVisible(); }));
  settle();
  shown->close();
  window->orderFront();
  EXPECT_TRUE(until([&] { return shown->isVisible(); })) << "who shows it after that means to";
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(closed, 1);
}

TEST_F(Projection, OpenedAndClosedOftenWhileItPlaysItLeavesNothing) {
  const auto player = std::make_shared<ColourPlayer>(MadePicture::Colour{9, 200, 0, 255});
  for (int turn = 0; turn < 10; ++turn) {
    const int before = player->taken;
    open({100, 100, 320, 180});
    ProjectionScene scene;
    scene.layers = {layerOf(player), layerOf(player, LayerBlending::screen)};
    window->setContent(scene);
    ASSERT_TRUE(until([&] { return player->taken > before + 2; }));
    window->close();
    window.reset();
  }
  EXPECT_TRUE(until([] { return QGuiApplication::topLevelWindows().isEmpty(); }));
  EXPECT_TRUE(until([&] { return player.use_count() == 1; })) << "no projector holds it";
}

/// A window on which a projector draws, without the facade.
class Projectors : public Projection {
 protected:
  Projectors() {
    first.number = 1;
    first.isVisible = true;
    first.frame = {0, 0, 320, 180};
    first.frameNumber = 1;
    stage.apply(first);
  }
  StageWindowState first;
  std::vector<std::string> failures;
  std::shared_ptr<Projector> projector =
      std::make_shared<Projector>(mediaTime, [this](const std::string& line) { failures.push_back(line); });
  StageWindow stage{projector, [](const StageWindowReport&) {}};
};

TEST_F(Projectors, KeepTheirWindowWhereAPersonPutsIt) {
  ProjectionScene scene;
  scene.background = std::make_shared<ColourPlayer>(MadePicture::Colour{0, 90, 200, 255});
  projector->setScene(scene);
  ASSERT_TRUE(shows(160, 90, QColor(0, 90, 200)));
  stage.setGeometry(800, 400, 320, 180);
  ASSERT_TRUE(shows(960, 490, QColor(0, 90, 200)));
  StageWindowState state = first;
  state.number = 2;
  state.isFullScreen = true;
  stage.apply(state);
  ASSERT_TRUE(shows(1270, 10, QColor(0, 90, 200)));
  state.number = 3;
  state.isFullScreen = false;
  stage.apply(state);
  EXPECT_TRUE(until([&] { return stage.geometry() == QRect(800, 400, 320, 180); }));
  EXPECT_TRUE(shows(960, 490, QColor(0, 90, 200)));
}

TEST_F(Projection, AContextThatCannotBeUsedAtFirstIsMadeAgain) {
  QWindow absent;
  absent.setSurfaceType(QSurface::OpenGLSurface);
  QWindow present;
  present.setSurfaceType(QSurface::OpenGLSurface);
  present.create();
  std::vector<std::string> failures;
  Projector projector(mediaTime, [&](const std::string& line) { failures.push_back(line); });
  const auto player = std::make_shared<ColourPlayer>(MadePicture::Colour{9, 9, 9, 255});
  ProjectionScene scene;
  scene.background = player;
  projector.setScene(scene);
  projector.show({&absent, {320, 180}, 1, 60});
  ASSERT_TRUE(until([&] { return player->taken > 0; }));
  // The picture is taken before the attempt, so that a second one means that the first attempt is over.
  projector.show({&absent, {320, 181}, 1, 60});
  ASSERT_TRUE(until([&] { return player->taken > 1; }));
  EXPECT_EQ(projector.figures().contexts, 0U);
  projector.show({&present, {320, 180}, 1, 60});
  EXPECT_TRUE(until([&] { return projector.figures().drawn > 0; }));
  EXPECT_EQ(projector.figures().contexts, 1U);
  projector.end(nullptr);
  projector.join();
  EXPECT_TRUE(failures.empty());
}

/// A window and a projector whose driver does what the test says.
class FaultyDriver : public Projection {
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

TEST_F(Projectors, DrawAStillSceneOnce) {
  ProjectionScene scene;
  scene.placeholder = "VREL Stage";
  projector->setScene(scene);
  ASSERT_TRUE(until([&] { return projector->figures().drawn > 0; }));
  letRefreshesPass();
  const auto drawn = projector->figures().drawn;
  projector->setScene(scene);
  letRefreshesPass();
  EXPECT_EQ(projector->figures().drawn, drawn);
  scene.placeholder = "other words";
  projector->setScene(scene);
  EXPECT_TRUE(until([&] { return projector->figures().drawn > drawn; }));
  EXPECT_EQ(projector->figures().contexts, 1U);
}

TEST_F(Projection, AFirstSceneAfterAClearedOneDoesNotFade) {
  StagePreview preview;
  std::vector<QColor> seen;
  preview.onPicture = [&](const QImage& picture) { seen.push_back(picture.pixelColor(100, 100)); };
  preview.show();
  const QColor black(0, 0, 0);
  const QColor colour(250, 120, 0);
  for (int opening = 0; opening < 2; ++opening) {
    ProjectionScene scene;
    scene.layers = {layerOf(std::make_shared<ColourPlayer>(MadePicture::Colour{250, 120, 0, 255}))};
    preview.setScene(scene);
    ASSERT_TRUE(until([&] { return !seen.empty() && seen.back() == colour; })) << opening;
    preview.clearScene();
    ASSERT_TRUE(until([&] { return seen.back() == black; })) << opening;
  }
  for (const auto& each : seen) {
    EXPECT_TRUE(each == black || each == colour) << each.red();
  }
}

TEST_F(Projection, APreviewIsTheStageSmallAndRestsWhenNothingChanges) {
  StagePreview preview;
  std::vector<QImage> pictures;
  preview.onPicture = [&](const QImage& picture) { pictures.push_back(picture); };
  const auto player = std::make_shared<ColourPlayer>(MadePicture::Colour{0, 90, 200, 255});
  ProjectionScene scene;
  scene.background = std::make_shared<ColourPlayer>(MadePicture::Colour{10, 20, 30, 255});
  scene.layers = {layerOf(player)};
  preview.setScene(scene);
  letRefreshesPass();
  EXPECT_EQ(player->taken, 0) << "nobody looks";
  preview.show();
  ASSERT_TRUE(until([&] { return !pictures.empty(); }));
  EXPECT_EQ(pictures.back().size(), QSize(StagePreview::width, StagePreview::height));
  EXPECT_EQ(pictures.back().pixelColor(100, 100), QColor(0, 90, 200)) << "there at once, without a fade";
  const auto drawn = preview.figures().drawn;
  const int taken = player->taken;
  ASSERT_TRUE(until([&] { return player->taken > taken + 2; }));
  EXPECT_EQ(preview.figures().drawn, drawn) << "nothing has changed";
  preview.hide();
  settle();
  const int atLast = player->taken;
  letRefreshesPass();
  EXPECT_LE(player->taken, atLast + 1);
  preview.clearScene();
  scene = {};
  EXPECT_TRUE(until([&] { return player.use_count() == 1; })) << "it holds no player";
}

TEST_F(Projectors, ShowTheFirstPictureAtTheNextRefresh) {
  ProjectionScene scene;
  projector->setScene(scene);
  ASSERT_TRUE(until([&] { return projector->figures().drawn > 0; }));
  EXPECT_FALSE(projector->figures().firstPicture);
  scene.layers = {layerOf(std::make_shared<ColourPlayer>(MadePicture::Colour{9, 9, 9, 255}))};
  projector->setScene(scene);
  EXPECT_TRUE(until([&] { return projector->figures().firstPicture.has_value(); }));
  EXPECT_TRUE(failures.empty());
}

}  // namespace
}  // namespace vrel::system
