// SPDX-License-Identifier: GPL-3.0-or-later
// Latency of a note through the logic: from posting its message to the main queue to `sendMIDIEvent` of the last of
// 32 strips that play it. With the real window, whose meters all move, without one, and without one while the song is
// captured 20 times a second, with all guests in order and with six that hang; each case in a process of its own, on
// one JACK server, with all instruments in processes of their own. And the frames of that window, and its presses until
// the change is drawn, beside those of a bare window; and how late notes of another JACK client sound meanwhile.

#include <QApplication>
#include <QElapsedTimer>
#include <QQuickStyle>
#include <QQuickWindow>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "console/note_latency_stage.h"
#include "console/window_feel.h"
#include "percentile.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_server.h"
#include "support/devices/note_probe.h"
#include "support/ui/virtual_display.h"

namespace vrel::app::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::size_t strips = 32;
constexpr int screenWidth = 5800;  // room for all strips
constexpr int screenHeight = 900;
constexpr double longestPause = 8;  // milliseconds between two messages; the mean is half of it
constexpr int warmUpMs = 1000;
constexpr std::size_t notesPerPress = 25;

struct Options {
  std::size_t notes = 4000;
  std::string variant;  // the case to measure in this process; empty: each in one of its own
};

Options parse(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t index = 0; index + 1 < arguments.size(); index += 2) {
    if (arguments[index] == "--notes") {
      options.notes = std::stoul(arguments[index + 1]);
    } else if (arguments[index] == "--case") {
      options.variant = arguments[index + 1];
    } else {
      throw std::invalid_argument("usage: note_latency_bench [--notes N]");
    }
  }
  return options;
}

/// The arguments for Qt.
struct CommandLine {
  int count = 1;
  char name[24] = "note_latency_bench";
  char* arguments[2] = {name, nullptr};
};

/// Plays at random times, on a thread of its own. The latency of each message in milliseconds.
std::vector<double> playAll(NoteLatencyStage& stage, std::size_t notes) {
  std::vector<double> latencies(notes, -1);
  std::size_t current = 0;  // the logic's thread
  Clock::time_point postedAt;
  stage.watchLastStrip([&] { latencies[current] = Milliseconds(Clock::now() - postedAt).count(); });
  std::mt19937 random(1);
  std::uniform_real_distribution<double> pause(0, longestPause);
  for (std::size_t note = 0; note < notes; ++note) {
    std::this_thread::sleep_for(std::chrono::duration_cast<Clock::duration>(Milliseconds(pause(random))));
    const auto velocity = static_cast<std::uint8_t>(note % 2 == 0 ? 20 + random() % 100 : 0);
    stage.post(0x90, 60, velocity, [&, note, now = Clock::now()] {
      current = note;
      postedAt = now;
    });
  }
  // When this has run, so has everything posted before it.
  stage.watchLastStrip([] {});
  return latencies;
}

struct Measured {
  std::vector<double> latencies;
  double seconds = 0;
};

Measured measure(NoteLatencyStage& stage, std::size_t notes,
                 const std::function<void(const std::atomic<bool>&)>& wait) {
  Measured measured;
  std::exception_ptr failure;
  std::atomic<bool> isDone{false};
  std::thread playing([&] {
    try {
      const auto start = Clock::now();
      measured.latencies = playAll(stage, notes);
      measured.seconds = Milliseconds(Clock::now() - start).count() / 1000;
    } catch (...) {
      failure = std::current_exception();
    }
    isDone = true;
    isDone.notify_all();
  });
  try {
    wait(isDone);
  } catch (...) {
    failure = std::current_exception();
  }
  playing.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
  return measured;
}

void printPercentiles(const char* name, const std::vector<double>& sorted) {
  std::printf("%-22s", name);
  for (const double part : {0.5, 0.9, 0.99, 1.0}) {
    std::printf(" %8.3f", vrel::bench::percentile(sorted, part));
  }
}

/// False when a message was lost.
bool report(const char* name, std::vector<double> latencies) {
  std::sort(latencies.begin(), latencies.end());
  const bool isComplete = latencies.front() >= 0;
  printPercentiles(name, latencies);
  std::printf("%s", isComplete ? "" : "  a message was LOST");
  return isComplete;
}

bool measureWithoutWindow(std::size_t notes) {
  CommandLine line;
  const QCoreApplication application(line.count, line.arguments);
  const auto sleepUntil = [](const std::function<bool()>& holds) { return system::test::eventually(holds); };
  NoteLatencyStage stage(strips, sleepUntil);
  std::this_thread::sleep_for(std::chrono::milliseconds(warmUpMs));
  const auto measured = measure(stage, notes, [](const std::atomic<bool>& isDone) { isDone.wait(false); });
  const bool isComplete = report("without a window", measured.latencies);
  std::printf("\n");
  return isComplete;
}

constexpr std::size_t hungCount = 6;
constexpr std::size_t notesPerRound = 400;  // 1.6 s of messages: a guest that hangs for 2 s is ended
constexpr auto capturePause = std::chrono::milliseconds(50);

bool measureCaptures(std::size_t notes, std::size_t hung) {
  CommandLine line;
  const QCoreApplication application(line.count, line.arguments);
  const auto sleepUntil = [](const std::function<bool()>& holds) { return system::test::eventually(holds); };
  NoteLatencyStage stage(strips, sleepUntil);
  std::this_thread::sleep_for(std::chrono::milliseconds(warmUpMs));
  std::vector<double> latencies;
  std::vector<double> captures;
  while (latencies.size() < notes) {
    stage.reviveAll();
    (void)stage.capture();
    stage.hang(hung);
    const auto measured = measure(stage, std::min(notes, notesPerRound), [&](const std::atomic<bool>& isDone) {
      while (!isDone) {
        captures.push_back(stage.capture());
        std::this_thread::sleep_for(capturePause);
      }
    });
    latencies.insert(latencies.end(), measured.latencies.begin(), measured.latencies.end());
  }
  const bool isComplete = report(hung == 0 ? "captures" : "6 guests hang", latencies);
  std::sort(captures.begin(), captures.end());
  std::printf("   %zu captures, median %.3f, most %.3f\n", captures.size(), vrel::bench::percentile(captures, 0.5),
              captures.back());
  return isComplete;
}

/// Notes of another JACK client, while `wait` keeps the window busy. False when one was not heard.
bool measureOnJack(std::size_t notes, const std::function<void(const std::atomic<bool>&)>& wait) {
  system::test::NoteProbe probe(::getenv("JACK_DEFAULT_SERVER"), 1);  // NOLINT(concurrency-mt-unsafe)
  std::vector<double> late;
  std::exception_ptr failure;
  std::atomic<bool> isDone{false};
  std::thread playing([&] {
    try {
      if (!system::test::eventually([&probe] { return probe.link(0, "vrel", "vrel"); })) {
        throw std::runtime_error("the program is not on the JACK server");
      }
      while (late.size() < notes) {
        const auto frames = probe.play(60).front();
        late.push_back(frames ? *frames : std::numeric_limits<double>::infinity());
      }
    } catch (...) {
      failure = std::current_exception();
    }
    isDone = true;
    isDone.notify_all();
  });
  wait(isDone);
  playing.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
  std::sort(late.begin(), late.end());
  printPercentiles("JACK note, frames late", late);
  std::printf("   %zu notes, first sample of any strip\n", late.size());
  return std::isfinite(late.back());
}

bool measureWithWindow(std::size_t notes) {
  const test::VirtualDisplay display(screenWidth, screenHeight);
  CommandLine line;
  const QApplication application(line.count, line.arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  const auto pumpUntil = [](const std::function<bool()>& holds) {
    constexpr int timeoutMs = 20000;
    QElapsedTimer time;
    time.start();
    while (!holds()) {
      if (time.elapsed() > timeoutMs) {
        return holds();
      }
      pump(5);
    }
    return true;
  };
  const std::size_t presses = std::max<std::size_t>(notes / notesPerPress, 1);
  const BareWindow bare = measureBareWindow(presses);
  NoteLatencyStage stage(strips, pumpUntil);
  if (!pumpUntil([&] { return stage.isEveryStripVisible(); })) {
    throw std::runtime_error("the window does not show all strips");
  }
  pump(warmUpMs);

  std::atomic<std::uint64_t> frames{0};
  std::uint64_t ticks = 0;
  std::uint64_t moved = 0;
  QObject context;
  QObject::connect(
      stage.window(), &QQuickWindow::frameSwapped, &context, [&] { ++frames; }, Qt::DirectConnection);
  QObject::connect(stage.meterFrames(), &window::MeterBoard::frame, &context, [&] {
    ++ticks;
    moved += stage.movedMeters();
  });
  const double computedBefore = threadMilliseconds();
  const auto measured = measure(stage, notes, [](const std::atomic<bool>& isDone) {
    while (!isDone) {
      pump(20);
    }
  });
  const double computed = threadMilliseconds() - computedBefore;
  const bool isComplete = report("with a window", measured.latencies);
  std::printf("   %.1f frames a second, %.1f ms of the processor each; in each, %.1f of %zu meters moved\n",
              static_cast<double>(frames) / measured.seconds, computed / static_cast<double>(frames),
              static_cast<double>(moved) / static_cast<double>(std::max<std::uint64_t>(ticks, 1)), strips);
  Presses pressed;
  measure(stage, notes, [&](const std::atomic<bool>& isDone) {
    std::size_t strip = 0;
    const std::size_t twice = 2;  // each strip is muted and unmuted
    pressed = measurePresses(*stage.window(), presses, [&] { return stage.pressMute(strip++ / twice % strips); });
    while (!isDone) {
      pump(20);
    }
  });
  printPercentiles("press, with a window", pressed.times);
  std::printf("\n");
  printPercentiles("of that, computed", pressed.processor);
  std::printf("\n");
  printPercentiles("press, a bare window", bare.presses.times);
  std::printf("   %.1f frames a second\n", bare.framesPerSecond);
  constexpr std::size_t notesPerJackNote = 40;
  return measureOnJack(std::max<std::size_t>(notes / notesPerJackNote, 1),
                       [](const std::atomic<bool>& isDone) {
                         while (!isDone) {
                           pump(20);
                         }
                       }) &&
         isComplete;
}

/// Each case in a process of its own, on one server.
bool measureEach(const std::string& program, const Options& options) {
  system::test::JackServer server;
  server.start();
  ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
  ::setenv("JACK_NO_START_SERVER", "1", 1);
  std::printf(
      "%zu messages, each to %zu strips; milliseconds from the post to the last strip's "
      "sendMIDIEvent, and from a press to the end of the frame that shows it\n",
      options.notes, strips);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  std::fflush(stdout);
  bool isGood = true;
  for (const std::string variant : {"none", "window", "captures", "hung"}) {
    const std::string command = "'" + program + "' --notes " + std::to_string(options.notes) + " --case " + variant;
    isGood = std::system(command.c_str()) == 0 && isGood;  // NOLINT(concurrency-mt-unsafe): there is one thread
  }
  return isGood;
}

bool run(const std::string& program, const Options& options) {
  ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
  if (options.variant.empty()) {
    return measureEach(program, options);
  }
  const auto home = test::makeTemporaryFolder();
  test::moveHome(home);
  // No other plug-ins: the scan is not measured here.
  std::filesystem::create_directory(home / "lv2");
  std::filesystem::create_directory_symlink(std::filesystem::path(VREL_ZOO_PATH) / "sine.lv2", home / "lv2/sine.lv2");
  ::setenv("LV2_PATH", (home / "lv2").c_str(), 1);
  const bool isGood = options.variant == "window"     ? measureWithWindow(options.notes)
                      : options.variant == "captures" ? measureCaptures(options.notes, 0)
                      : options.variant == "hung"     ? measureCaptures(options.notes, hungCount)
                                                      : measureWithoutWindow(options.notes);
  std::filesystem::remove_all(home);
  return isGood;
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app::bench;
  try {
    return run(arguments[0], parse({arguments + 1, arguments + argumentCount})) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
