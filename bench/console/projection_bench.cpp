// SPDX-License-Identifier: GPL-3.0-or-later

// The projector beside the console, on an X server of its own, with OpenGL in software: how soon a layer's first
// picture is shown, whether four clips and a background of 1080 lines come in time, whether screens of different rates
// keep each its own, what a projector that takes 100 ms for each picture costs the console, and what the preview costs.
//
//   projection_bench [--seconds N]

#include <unistd.h>

#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "console/measured_program.h"
#include "console/measured_window.h"
#include "foundation/mutex.h"
#include "foundation/uuid.h"
#include "simulation/simulated_video.h"
#include "system/dispatch/system_clock.h"
#include "system/media/clip_factory.h"
#include "system/projection/projector.h"
#include "system/projection/stage_images.h"
#include "system/projection/stage_preview.h"
#include "system/projection/stage_window.h"

namespace vrel::app::bench {
namespace {

using system::Projector;

constexpr int notes = 100;
constexpr double screenRate = 60;
constexpr double slowPicture = 0.1;  // seconds
constexpr ScreenRect stageFrame{700, 400, 640, 360};
constexpr ScreenRect smallFrame{700, 400, 64, 36};  // next to nothing to draw

/// What all threads of the process have used so far, in seconds.
double processorTime() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

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

/// Shows another picture each time.
class ChangingPlayer final : public simulation::SimulatedQueuePlayer {
 public:
  std::shared_ptr<const VideoPicture> copyPictureForTime(double /*mediaSeconds*/) override {
    return pictures_[next_++ % pictures_.size()];
  }

 private:
  std::atomic<std::size_t> next_{0};
  const std::array<std::shared_ptr<const VideoPicture>, 3> pictures_{system::testPicture("one", QSize(64, 36), 1),
                                                                     system::testPicture("two", QSize(64, 36), 1),
                                                                     system::testPicture("three", QSize(64, 36), 1)};
};

/// A clip that plays, and when which of its pictures was taken. They are asked for on one thread at a time.
class WatchedClip final : public simulation::SimulatedQueuePlayer {
 public:
  static constexpr double rate = 30;  // pictures a second
  static constexpr double pictures = 60;

  WatchedClip(system::ClipFactory& factory, const std::string& path) : player_(factory.makeQueuePlayer()) {
    looper_ = factory.makePlayerLooper(player_, factory.makePlayerItem(factory.makeAsset(path)));
  }

  [[nodiscard]] bool isPrepared() { return player_->copyPictureForTime(0) != nullptr; }
  void play() override {
    player_->seekToTime(0, 0, 0);
    player_->play();
  }

  std::shared_ptr<const VideoPicture> copyPictureForTime(double mediaSeconds) override {
    auto picture = player_->copyPictureForTime(mediaSeconds);
    if (picture != nullptr) {
      const MutexLock lock(mutex_);
      taken_.emplace_back(mediaSeconds * rate, picture->seconds() * rate);
    }
    return picture;
  }

  void forget() {
    const MutexLock lock(mutex_);
    taken_.clear();
  }

  struct Count {
    int late = 0;
    int all = 0;
  };
  /// Which pictures were taken more than a picture later than the earliest ones.
  [[nodiscard]] Count late() const {
    const MutexLock lock(mutex_);
    constexpr double uncertain = 0.05;  // of a picture
    std::vector<double> delays;
    for (const auto& [due, got] : taken_) {
      const double before = delays.empty() ? 0 : delays.back();
      delays.push_back(due - got - pictures * std::round((due - got - before) / pictures));
    }
    const double least = delays.empty() ? 0 : *std::min_element(delays.begin(), delays.end());
    return {static_cast<int>(
                std::count_if(delays.begin(), delays.end(), [&](double each) { return each > least + 1 + uncertain; })),
            static_cast<int>(delays.size())};
  }

 private:
  const std::shared_ptr<AVQueuePlayer> player_;
  std::shared_ptr<AVPlayerLooper> looper_;
  mutable Mutex mutex_;
  std::vector<std::pair<double, double>> taken_ VREL_GUARDED_BY(mutex_);  // due and got, in pictures
};

/// A driver that waits, as a graphics card's does, for the refreshes of a screen that there is not.
Projector::Driver waitingDriver() {
  auto driver = Projector::Driver::real();
  driver.swap = [](QOpenGLContext& context, QSurface* surface) {
    Projector::Driver::swapBuffers(context, surface);
    const double refreshes = mediaTime() * screenRate;
    std::this_thread::sleep_for(std::chrono::duration<double>((std::ceil(refreshes) - refreshes) / screenRate));
  };
  driver.isSoftware = [](QOpenGLContext& /*context*/) { return false; };
  return driver;
}

/// A projector in a window.
struct Stage {
  explicit Stage(const ScreenRect& frame = stageFrame, Projector::Driver driver = Projector::Driver::real())
      : projector(std::make_shared<Projector>(
            mediaTime, [](const std::string& failure) { std::fprintf(stderr, "%s\n", failure.c_str()); },
            std::move(driver))) {
    system::StageWindowState state;
    state.isVisible = true;
    state.frame = frame;
    state.frameNumber = 1;
    window.apply(state);
  }
  std::shared_ptr<Projector> projector;
  system::StageWindow window{projector, [](const system::StageWindowReport&) {}};
};

ProjectionScene sceneOf(const std::shared_ptr<AVQueuePlayer>& player) {
  ProjectionScene scene;
  scene.layers = {{Uuid::fresh(), player, LayerBlending::normal, 1}};
  return scene;
}

/// Milliseconds from each new layer to the end of the swap that shows it, at moments that fall anywhere in a refresh.
std::vector<double> firstPictures(MeasuredWindow& console, bool isPlaying, const Projector::Driver& driver,
                                  const ScreenRect& frame) {
  Stage stage(frame, driver);
  const auto player = std::make_shared<Player>(0);
  ProjectionScene scene;
  if (isPlaying) {
    scene.background = std::make_shared<ChangingPlayer>();
  }
  const ProjectionScene without = scene;
  stage.projector->setScene(scene);
  console.pump(1000);
  std::vector<double> times;
  for (int note = 0; note < notes; ++note) {
    stage.projector->setScene(without);
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

/// Four clips and a background of so many lines.
class FiveClips {
 public:
  FiveClips(MeasuredWindow& console, int lines) {
    const std::string make =
        "ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc2=size=" + std::to_string(lines * 16 / 9) + "x" +
        std::to_string(lines) + ":rate=30:duration=2 -c:v libx264 -preset superfast -pix_fmt yuv420p " + file_;
    if (std::system(make.c_str()) != 0) {
      throw std::runtime_error("ffmpeg cannot make the clip");
    }
    for (int clip = 0; clip < 5; ++clip) {
      clips.push_back(std::make_shared<WatchedClip>(factory_, file_));
      console.waitUntil([&] { return clips.back()->isPrepared(); });
      if (clip > 0) {
        scene.layers.push_back(
            {Uuid::fresh(), clips.back(), clip > 1 ? LayerBlending::plusLighter : LayerBlending::normal, 0.9});
      }
    }
    scene.background = clips.front();
  }
  ~FiveClips() { std::filesystem::remove(file_); }
  FiveClips(const FiveClips&) = delete;
  FiveClips& operator=(const FiveClips&) = delete;

  /// Plays them while `other` takes its time, and prints what became of their pictures.
  void play(const char* what, const std::function<void()>& other) {
    for (const auto& clip : clips) {
      clip->play();
    }
    other();  // into their usual step
    for (const auto& clip : clips) {
      clip->forget();
    }
    const double begin = mediaTime();
    const double before = processorTime();
    other();
    const double busy = (processorTime() - before) / (mediaTime() - begin);
    int late = 0;
    int taken = 0;
    for (const auto& clip : clips) {
      const auto count = clip->late();
      late += count.late;
      taken += count.all;
    }
    std::printf("%-36s %5d of %5d pictures late, %.2f processors\n", what, late, taken, busy);
  }

  std::vector<std::shared_ptr<WatchedClip>> clips;
  ProjectionScene scene;

 private:
  const std::string file_ =
      std::filesystem::temp_directory_path() / ("projected-" + std::to_string(::getpid()) + ".mp4");
  const system::SystemClock clock_;
  system::ClipFactory factory_{clock_};
};

/// Pictures taken as a projector takes them, and neither uploaded nor drawn.
void takeOnly(const std::vector<std::shared_ptr<WatchedClip>>& clips, int seconds) {
  const double begin = mediaTime();
  for (double refresh = 1; refresh < seconds * screenRate; ++refresh) {
    std::this_thread::sleep_for(std::chrono::duration<double>(begin + refresh / screenRate - mediaTime()));
    for (const auto& clip : clips) {
      (void)clip->copyPictureForTime(mediaTime());
    }
  }
}

void playFive(MeasuredWindow& console, int seconds, int lines) {
  FiveClips five(console, lines);
  std::printf("four clips and a background of %d lines\n", lines);
  five.play("   decoded only", [&] { takeOnly(five.clips, seconds); });
  const auto project = [&](const char* size, const ScreenRect& frame) {
    Stage stage(frame);
    stage.projector->setScene(five.scene);
    std::uint64_t pictures = 0;
    five.play((std::string("   and projected, ") + size).c_str(), [&] {
      const auto before = stage.projector->figures().drawn;
      console.pump(seconds * 1000);
      pictures = stage.projector->figures().drawn - before;
    });
    std::printf("      %.1f pictures a second drawn\n", static_cast<double>(pictures) / seconds);
  };
  project("64 by 36 pixels", smallFrame);
  project("640 by 360 pixels", stageFrame);
  project("1366 by 768 pixels", {0, 0, 1366, 768});
}

/// What the preview takes of a processor when each of its pictures is another, and leaves of the console's frames.
void measurePreview(MeasuredWindow& console, int seconds) {
  const auto player = std::make_shared<ChangingPlayer>();
  const auto busy = [&] {
    const double begin = mediaTime();
    const double before = processorTime();
    console.pump(seconds * 1000);
    return 100 * (processorTime() - before) / (mediaTime() - begin);
  };
  const double without = busy();
  const double aloneRate = consoleRate(console, seconds);
  system::StagePreview preview;
  preview.setScene(sceneOf(player));
  preview.show();
  console.pump(500);
  const auto before = preview.figures().drawn;
  const double with = busy();
  const double pictures = static_cast<double>(preview.figures().drawn - before) / seconds;
  const double besideRate = consoleRate(console, seconds);
  std::printf(
      "the preview: %.1f pictures a second, %.1f %% of a processor beyond %.1f; console %.1f frames a second beside "
      "it, "
      "%.1f alone: %.3f\n",
      pictures, with - without, without, besideRate, aloneRate, besideRate / aloneRate);
}

/// Two projectors side by side, each at the rate of its screen.
void playOnTwoScreens(MeasuredWindow& console, int seconds) {
  Stage slow({0, 0, 320, 180});
  Stage fast({400, 0, 320, 180});
  const auto player = std::make_shared<ChangingPlayer>();
  for (const auto& [stage, rate] : {std::pair(&slow, 24.0), {&fast, 60.0}}) {
    console.waitUntil([&stage = stage] { return stage->projector->figures().drawn > 0; });
    stage->projector->show({&stage->window, QSize(320, 180), 1, rate});
    stage->projector->setScene(sceneOf(player));
  }
  console.pump(200);
  const auto slowBefore = slow.projector->figures().drawn;
  const auto fastBefore = fast.projector->figures().drawn;
  const double begin = mediaTime();
  console.pump(seconds * 1000);
  const double taken = mediaTime() - begin;
  std::printf("refreshes a second on two screens: of 24 %.2f, of 60 %.2f\n",
              static_cast<double>(slow.projector->figures().drawn - slowBefore) / taken,
              static_cast<double>(fast.projector->figures().drawn - fastBefore) / taken);
}

void measure(int seconds) {
  MeasuredWindow console;
  std::printf("milliseconds to the end of the first swap that shows a new layer, %d layers; a refresh is 16.67\n",
              notes);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  report("still, screen waits", firstPictures(console, false, waitingDriver(), smallFrame));
  report("plays, screen waits", firstPictures(console, true, waitingDriver(), smallFrame));
  report("the same, 640 by 360", firstPictures(console, true, waitingDriver(), stageFrame));
  report("plays, in software", firstPictures(console, true, Projector::Driver::real(), stageFrame));
  constexpr int linesOfFilms = 1080;
  constexpr int fewLines = 180;
  playFive(console, seconds, linesOfFilms);
  playFive(console, seconds, fewLines);
  playOnTwoScreens(console, seconds);
  measurePreview(console, seconds);
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
