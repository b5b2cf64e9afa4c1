// SPDX-License-Identifier: GPL-3.0-or-later
// Processor time of the meters of 64 strips and the master: their ticks, and drawing them in a real window rendered in
// software; at silence, with music, and with every bar at a random place at each tick.
#include <sys/resource.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "console/meter_readings.h"
#include "console/window/level_meter.h"
#include "engine/audio_engine.h"
#include "foundation/mutex.h"
#include "percentile.h"
#include "support/allocations/allocation_count.h"
#include "support/simulated_stage.h"
#include "support/ui/virtual_display.h"

namespace vrel::window::bench {
namespace {

constexpr int strips = 64;
constexpr int framesPerSecond = 60;

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Share {
  double percent = 0;  // of a core
  double frames = 0;   // per second
};

/// Runs Qt's loop for so long.
template <typename Frames>
Share measure(int seconds, Frames& frames) {
  QElapsedTimer wall;
  const double before = processorSeconds();
  const int framesBefore = frames;
  wall.start();
  QEventLoop loop;
  QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
  loop.exec();
  const double elapsed = static_cast<double>(wall.nsecsElapsed()) * 1e-9;
  return {100 * (processorSeconds() - before) / elapsed, (frames - framesBefore) / elapsed};
}

enum class Playing { music, allAtRandom };

/// Sixty-four strips whose taps deliver peaks. In music, each plays notes of its own at random times that ring out and
/// waver; otherwise every bar is at another place at each tick.
class Signal {
 public:
  explicit Signal(SimulatedMachine& machine) : machine_(machine), notes_(strips) {
    for (int strip = 0; strip < strips; ++strip) {
      machine.engine->addChannel("Strip");
    }
  }

  void raise(Playing playing) {
    isDecayDue_ = !isDecayDue_;
    for (std::size_t strip = 0; strip < strips; ++strip) {
      if (playing == Playing::music) {
        play(notes_[strip], *machine_.engine->channels()[strip]);
      } else {
        jump(*machine_.engine->channels()[strip]);
      }
    }
    // The master's peaks, of its own tap, are below the sum of the strips' and would not be seen.
  }

 private:
  struct Note {
    int ticksToNext = 0;
    float level = 0;
  };

  void play(Note& note, AudioChannel& channel) {
    if (note.ticksToNext-- <= 0) {
      note.ticksToNext = static_cast<int>(longestPause * level_(random_));
      note.level = level_(random_) * level_(random_);
    }
    note.level *= ringingOut;
    {
      const MutexLock lock(channel.meterLock);
      channel.rawMeterPeakL = note.level * waver_(random_);
      channel.rawMeterPeakR = note.level * waver_(random_);
    }
    if (isDecayDue_) {  // as the program does, sixty times a second
      channel.peakL.set(std::max(0.0F, channel.peakL.get() * 0.9F - 0.01F));
      channel.peakR.set(std::max(0.0F, channel.peakR.get() * 0.9F - 0.01F));
    }
  }

  void jump(AudioChannel& channel) {
    const MutexLock lock(channel.meterLock);
    channel.rawMeterPeakL = level_(random_);
    channel.rawMeterPeakR = level_(random_);
    channel.peakL.set(0);  // so that the bars move up and down
    channel.peakR.set(0);
  }

  static constexpr float longestPause = 60;    // ticks: half a second
  static constexpr float ringingOut = 0.985F;  // a tick: -16 dB a second

  SimulatedMachine& machine_;
  std::vector<Note> notes_;
  bool isDecayDue_ = false;
  std::mt19937 random_{1};
  std::uniform_real_distribution<float> level_{0.004F, 1.0F};
  std::uniform_real_distribution<float> waver_{0.7F, 1.0F};
};

struct Size {
  const char* what;
  int width;
  int height;
};

bool measureSize(const Size& size, int seconds) {
  SimulatedMachine machine;
  Signal signal(machine);
  MeterBoard board;
  MeterReadings readings(*machine.engine, machine.mainQueue, [&](const AudioChannel& channel) {
    return board.cell(QString::fromStdString(channel.id.text()));
  });
  QQuickWindow window;
  window.setColor(Qt::black);
  window.resize(strips * (size.width + 3), size.height + 10);
  std::vector<std::unique_ptr<LevelMeter>> meters;
  const auto addMeter = [&](const AudioChannel& channel) {
    auto& meter = *meters.emplace_back(std::make_unique<LevelMeter>(window.contentItem()));
    meter.setSize(QSizeF(size.width, size.height));
    meter.setX(static_cast<qreal>(meters.size() - 1) * (size.width + 2));
    meter.setBoard(&board);
    meter.setChannelId(QString::fromStdString(channel.id.text()));
  };
  for (const auto& channel : machine.engine->channels()) {
    addMeter(*channel);
  }
  addMeter(*machine.engine->masterChannel());
  window.show();

  int frames = 0;
  QObject::connect(&window, &QQuickWindow::frameSwapped, [&] { ++frames; });
  QTimer frameTimer;
  frameTimer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&frameTimer, &QTimer::timeout, [&] { Q_EMIT board.frame(); });
  frameTimer.start(1000 / framesPerSecond);
  Playing playing = Playing::music;
  QTimer tickTimer;
  tickTimer.setTimerType(Qt::PreciseTimer);
  QObject::connect(&tickTimer, &QTimer::timeout, [&] {
    signal.raise(playing);
    readings.tick();
  });
  const int warmUp = 1;  // second
  measure(warmUp, frames);
  const Share silent = measure(seconds, frames);
  tickTimer.start(static_cast<int>(1000 / MeterBar::refreshRate));
  measure(warmUp, frames);
  const Share music = measure(seconds, frames);
  playing = Playing::allAtRandom;
  measure(warmUp, frames);
  const Share random = measure(seconds, frames);
  std::printf("%-28s %8.2f %8.2f %8.2f %10.1f %10.1f\n", size.what, silent.percent, music.percent, random.percent,
              music.frames, random.frames);
  if (std::min(music.frames, random.frames) < framesPerSecond / 2.0) {
    std::printf("   the window was not drawn\n");
    return false;
  }
  return true;
}

/// Microseconds of one tick of all meters.
bool measureTicks() {
  SimulatedMachine machine;
  Signal signal(machine);
  MeterReadings readings(*machine.engine, machine.mainQueue,
                         [](const AudioChannel& /*channel*/) { return std::make_shared<MeterCell>(); });
  readings.tick();
  std::vector<double> times;
  constexpr int ticks = 12000;
  times.reserve(ticks);
  std::size_t allocations = 0;
  for (int tick = 0; tick < ticks; ++tick) {
    signal.raise(Playing::allAtRandom);
    const std::size_t allocationsBefore = test::allocationCount();
    const auto begin = std::chrono::steady_clock::now();
    readings.tick();
    times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
    allocations += test::allocationCount() - allocationsBefore;
  }
  std::sort(times.begin(), times.end());
  const double median = vrel::bench::percentile(times, 0.5);
  std::printf("a tick of all: median %.1f us, 99 %% %.1f us, %.2f %% of a core at %.0f a second; %zu allocations\n",
              median, vrel::bench::percentile(times, 0.99), median * MeterBar::refreshRate / 1e4, MeterBar::refreshRate,
              allocations);
  return allocations == 0;
}

}  // namespace
}  // namespace vrel::window::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::window::bench;
  const int seconds = argumentCount == 3 && std::string(arguments[1]) == "--seconds" ? std::stoi(arguments[2]) : 10;
  try {
    const vrel::app::test::VirtualDisplay display(1920, 1200);
    const QGuiApplication application(argumentCount, arguments);
    bool isGood = measureTicks();
    std::printf("%d strips and the master; percent of a core, of which the bar is 5\n%-28s %8s %8s %8s %10s %10s\n",
                strips, "", "silent", "music", "random", "frames/s", "frames/s");
    isGood = measureSize({"10.5 x 100, as prescribed", 11, 100}, seconds) && isGood;
    isGood = measureSize({"20 x 380, as in the window", 20, 380}, seconds) && isGood;
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
