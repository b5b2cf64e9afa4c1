// SPDX-License-Identifier: GPL-3.0-or-later
// The instrument selector with 600 plug-ins in the real window, rendered in software: from the press that opens it, and
// from each key of a search, to the end of the frame that shows what it led to. The reference in the same run is the
// shortest such way there is: a press on a mute button to the frame with its lamp.

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "percentile.h"
#include "support/ui/virtual_display.h"
#include "vrel/application.h"
#include "vrel/session.h"

namespace vrel::app::bench {
namespace {

constexpr std::uint32_t plugins = 600;
constexpr std::uint32_t manufacturers = 40;
constexpr int timeoutMs = 20000;

class Window {
 public:
  Window() {
    program_.start();
    waitUntil([this] { return program_.window.quickWindow() != nullptr && model().strips()->count() == 1; });
    program_.logic.postToSession([](Session& session) {
      std::vector<AVAudioUnitComponent> all;
      for (std::uint32_t code = 0; code < plugins; ++code) {
        all.push_back({"Instrument " + std::to_string(code * 7919 % plugins),
                       "Manufacturer " + std::to_string(code % manufacturers),
                       {componentTypeMusicDevice, code, 1}});
      }
      session.state().scannedPlugins.set(all);
    });
    QObject::connect(
        program_.window.quickWindow(), &QQuickWindow::afterFrameEnd, &frames_, [this] { frameEnded(); },
        Qt::DirectConnection);
    pump(1000);
  }

  [[nodiscard]] window::ConsoleModel& model() { return program_.window.model(); }

  [[nodiscard]] QString stripId() {
    auto& strips = *model().strips();
    auto* const item = strips.data(strips.index(0), window::MirrorList::entryRole).value<window::MirrorItem*>();
    return dynamic_cast<window::StripViewModel&>(*item).channelId();
  }

  /// Milliseconds from `act` to the end of the first frame after `holds`.
  double measure(const std::function<void()>& act, const std::function<bool()>& holds) {
    holds_ = holds;
    shownAt_ = -1;
    time_.start();
    act();
    waitUntil([this] { return shownAt_ >= 0; });
    pump(40);  // at rest before the next
    return shownAt_;
  }

  void pump(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
  }

 private:
  void frameEnded() {
    if (shownAt_ < 0 && holds_ && holds_()) {
      shownAt_ = static_cast<double>(time_.nsecsElapsed()) / 1e6;
    }
  }

  void waitUntil(const std::function<bool()>& holds) {
    QElapsedTimer time;
    time.start();
    while (!holds()) {
      if (time.elapsed() > timeoutMs) {
        throw std::runtime_error("the window does not show what it should");
      }
      QEventLoop loop;
      QTimer::singleShot(1, &loop, &QEventLoop::quit);
      loop.exec();
    }
  }

  Application program_;
  QObject frames_;
  QElapsedTimer time_;
  std::function<bool()> holds_;
  double shownAt_ = -1;
};

void report(const char* name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%-22s", name);
  for (const double part : {0.5, 0.9, 0.99, 1.0}) {
    std::printf(" %8.2f", vrel::bench::percentile(values, part));
  }
  std::printf("\n");
}

void measureAll(std::size_t runs) {
  Window window;
  auto& commands = *window.model().commands();
  auto& selector = *window.model().selector();
  const auto& strip = dynamic_cast<window::StripViewModel&>(
      *window.model()
           .strips()
           ->data(window.model().strips()->index(0), window::MirrorList::entryRole)
           .value<window::MirrorItem*>());
  std::vector<double> pressed;
  std::vector<double> opened;
  std::vector<double> filtered;
  const QString id = window.stripId();
  for (std::size_t run = 0; run < runs; ++run) {
    const bool wasMuted = strip.mute();
    pressed.push_back(window.measure([&] { commands.toggleMute(id); }, [&] { return strip.mute() != wasMuted; }));
    opened.push_back(window.measure([&] { commands.openInstrumentSelector(id); },
                                    [&] { return selector.isOpen() && selector.rows().size() == int{plugins}; }));
    const QString search = QStringLiteral("instrument 1");
    for (qsizetype length = 1; length <= search.size(); ++length) {
      const QString typed = search.left(length);
      filtered.push_back(
          window.measure([&] { commands.setInstrumentSearch(typed); }, [&] { return selector.searchText() == typed; }));
    }
    window.measure([&] { commands.setInstrumentSearch(QString()); }, [&] { return selector.searchText().isEmpty(); });
    window.measure([&] { commands.cancelInstrumentSelector(); }, [&] { return !selector.isOpen(); });
  }
  std::printf("milliseconds to the end of the frame, %u plug-ins, %zu runs\n", plugins, runs);
  std::printf("%-22s %8s %8s %8s %8s\n", "", "median", "90%", "99%", "most");
  report("press on mute", pressed);
  report("selector opens", opened);
  report("each key of a search", filtered);
}

int run(const std::vector<std::string>& arguments) {
  const std::size_t runs = arguments.size() == 2 && arguments[0] == "--runs" ? std::stoul(arguments[1]) : 50;
  ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
  ::setenv("JACK_NO_START_SERVER", "1", 1);
  ::setenv("LV2_PATH", VREL_ZOO_PATH, 1);
  const auto home = test::makeTemporaryFolder();
  test::moveHome(home);
  const test::VirtualDisplay display(1366, 768);
  int count = 1;
  char name[] = "selector_bench";
  char* names[] = {name, nullptr};
  const QApplication application(count, names);
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  measureAll(runs);
  std::filesystem::remove_all(home);
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  try {
    return vrel::app::bench::run({arguments + 1, arguments + argumentCount});
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
