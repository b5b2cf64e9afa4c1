// SPDX-License-Identifier: GPL-3.0-or-later

// The projector beside the console, on an X server of its own, with OpenGL in software: how soon a layer's first
// picture is shown, and what a projector that takes 100 ms for each picture costs the console.
//
//   projection_bench [--seconds N]

#include <QQuickWindow>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "console/measured_program.h"
#include "console/measured_window.h"
#include "foundation/uuid.h"
#include "simulation/simulated_video.h"
#include "system/projection/projector.h"
#include "system/projection/stage_images.h"
#include "system/projection/stage_window.h"

namespace vrel::app::bench {
namespace {

using system::Projector;

constexpr int notes = 100;
constexpr double slowPicture = 0.1;  // seconds
constexpr ScreenRect stageFrame{700, 400, 640, 360};

double mediaTime() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// A player with a picture at hand, which takes some time to give it.
class Player final : public simulation::SimulatedQueuePlayer {
 public:
  explicit Player(double seconds) : seconds_(seconds) {}
  std::shared_ptr<const VideoPicture> copyPictureForTime(double /*mediaSeconds*/) override {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds_));
    return picture_;
  }

 private:
  const double seconds_;
  const std::shared_ptr<const VideoPicture> picture_ = system::testPicture("a clip", QSize(640, 360), 1);
};

/// A projector in a window.
struct Stage {
  Stage() {
    system::StageWindowState state;
    state.isVisible = true;
    state.frame = stageFrame;
    state.frameNumber = 1;
    window.apply(state);
  }
  std::shared_ptr<Projector> projector = std::make_shared<Projector>(
      mediaTime, [](const std::string& failure) { std::fprintf(stderr, "%s\n", failure.c_str()); });
  system::StageWindow window{projector, [](const system::StageWindowReport&) {}};
};

ProjectionScene sceneOf(const std::shared_ptr<AVQueuePlayer>& player) {
  ProjectionScene scene;
  scene.layers = {{Uuid::fresh(), player, LayerBlending::normal, 1}};
  return scene;
}

/// Milliseconds from each new layer to the end of the swap that shows it, at moments that fall anywhere in a refresh.
std::vector<double> firstPictures(MeasuredWindow& console, bool isPlaying) {
  Stage stage;
  const auto player = std::make_shared<Player>(0);
  std::vector<double> times;
  for (int note = 0; note < notes; ++note) {
    ProjectionScene scene;
    if (isPlaying) {
      scene.background = player;
    }
    stage.projector->setScene(scene);
    console.pump(40 + note % 17);
    const auto before = stage.projector->figures().firstPicture;
    scene.layers = sceneOf(player).layers;
    stage.projector->setScene(scene);
    console.waitUntil([&] { return stage.projector->figures().firstPicture != before; });
    times.push_back(*stage.projector->figures().firstPicture * 1000);
  }
  return times;
}

/// Frames a second of a console that is redrawn all the time.
double consoleRate(MeasuredWindow& console, int seconds) {
  auto* const window = console.program().window.quickWindow();
  std::atomic<int> frames{0};
  QObject counted;
  QObject::connect(
      window, &QQuickWindow::afterFrameEnd, &counted,
      [&] {
        ++frames;
        QMetaObject::invokeMethod(window, &QQuickWindow::update, Qt::QueuedConnection);
      },
      Qt::DirectConnection);
  window->update();
  console.pump(500);
  frames = 0;
  const double begin = mediaTime();
  console.pump(seconds * 1000);
  const double rate = frames / (mediaTime() - begin);
  return rate;
}

void measure(int seconds) {
  MeasuredWindow console;
  std::printf("milliseconds to the end of the first swap that shows a new layer, %d layers; a refresh is 16.67\n",
              notes);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  report("on a still stage", firstPictures(console, false));
  report("on a stage that plays", firstPictures(console, true));
  std::vector<double> parts;
  for (int turn = 0; turn < 3; ++turn) {
    const double alone = consoleRate(console, seconds);
    Stage stage;
    stage.projector->setScene(sceneOf(std::make_shared<Player>(slowPicture)));
    console.waitUntil([&] { return stage.projector->figures().drawn > 0; });
    const double beside = consoleRate(console, seconds);
    parts.push_back(beside / alone);
    std::printf("frames of the console a second: alone %.1f, beside a projector of %.0f ms %.1f: %.3f\n", alone,
                slowPicture * 1000, beside, parts.back());
  }
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app::bench;
  return runMeasurement(argumentCount, arguments, "--seconds", 5, measure);
}
