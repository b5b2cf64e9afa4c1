// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "system/projection/step_queue.h"
#include "system/projection/system_projection.h"

namespace vrel::system {
namespace {

// The platform without a screen has no OpenGL.
TEST(ProjectionWithoutOpenGL, SaysSoWhenItIsShownAndCountsAsClosed) {
  test::StepQueue queue;
  StageWindows windows;
  std::vector<std::string> lines;
  SystemProjection factory(windows, queue, [&](const std::string& line) { lines.push_back(line); });
  const auto window = factory.makeWindow();
  const auto runUntil = [&](const auto& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!holds() && std::chrono::steady_clock::now() < end) {
      queue.run();
      QGuiApplication::processEvents(QEventLoop::AllEvents, 5);
      std::this_thread::yield();
    }
    return holds();
  };
  int closed = 0;
  window->onPersonClosed([&] { ++closed; });
  ProjectionScene scene;
  scene.placeholder = "VREL Stage";
  window->setContent(scene);
  window->setFrame({0, 0, 640, 360}, true);
  window->orderFront();
  EXPECT_TRUE(window->isVisible());
  EXPECT_TRUE(runUntil([&] { return !lines.empty(); }));
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(closed, 1);
  window->toggleFullScreen();
  scene.isBlack = true;
  window->setContent(scene);
  for (int turn = 0; turn < 20; ++turn) {
    queue.run();
    QGuiApplication::processEvents();
  }
  EXPECT_FALSE(window->isVisible());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0], "nothing is projected: there is no OpenGL for it");
  EXPECT_EQ(closed, 1);
  window->orderFront();
  EXPECT_TRUE(window->isVisible()) << "it is tried again";
  EXPECT_TRUE(runUntil([&] { return lines.size() == 2; }));
  EXPECT_EQ(lines[1], lines[0]);
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(closed, 2);
}

}  // namespace
}  // namespace vrel::system
