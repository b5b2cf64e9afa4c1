// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/uuid.h"
#include "platform/projection.h"
#include "simulation/simulated_video.h"
#include "system/projection/off_screen_stage.h"
#include "system/projection/step_queue.h"
#include "system/projection/system_projection.h"

namespace vrel::system::test {

inline double mediaTime() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

inline std::shared_ptr<const VideoPicture> plain(MadePicture::Colour colour) {
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

/// A projection window on the tests' display.
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

inline ProjectionLayer layerOf(std::shared_ptr<AVQueuePlayer> player, LayerBlending blending = LayerBlending::normal) {
  return {Uuid::fresh(), std::move(player), blending, 1};
}

}  // namespace vrel::system::test
