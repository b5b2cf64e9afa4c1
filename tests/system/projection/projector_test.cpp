// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/projector.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QCursor>
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

#include "system/projection/projection_fixture.h"
#include "system/projection/stage_preview.h"

namespace vrel::system {
namespace {

using test::ColourPlayer;
using test::layerOf;
using test::MadePicture;
using test::mediaTime;
using test::Projection;

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

TEST_F(Projectors, HideThePointerOverTheirWindow) {
  EXPECT_EQ(stage.cursor().shape(), Qt::BlankCursor);
}

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
