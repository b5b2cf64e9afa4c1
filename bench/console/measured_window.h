// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The real program in a real window, and the time from what is done to the end of the frame that shows it.

#include <QElapsedTimer>
#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <vector>

#include "percentile.h"
#include "vrel/application.h"
#include "vrel/session.h"

namespace vrel::app::bench {

/// The program with one empty strip. Qt's thread; frames end on the render thread, which waits for it meanwhile.
class MeasuredWindow {
 public:
  MeasuredWindow() {
    program_.start();
    waitUntil([this] {
      return program_.window.quickWindow() != nullptr && model().strips()->count() == 1 &&
             !model().session()->isLookingForPlugins();
    });
    QObject::connect(
        program_.window.quickWindow(), &QQuickWindow::afterFrameEnd, &frames_, [this] { frameEnded(); },
        Qt::DirectConnection);
    pump(1000);
  }

  [[nodiscard]] Application& program() { return program_; }
  [[nodiscard]] window::ConsoleModel& model() { return program_.window.model(); }

  [[nodiscard]] window::StripViewModel& strip() {
    auto& strips = *model().strips();
    auto* const item = strips.data(strips.index(0), window::MirrorList::entryRole).value<window::MirrorItem*>();
    return dynamic_cast<window::StripViewModel&>(*item);
  }

  /// Called at the end of each frame of the console, and of any other window that is to be measured.
  void frameEnded() {
    if (shownAt_ < 0 && holds_ && holds_()) {
      shownAt_ = static_cast<double>(time_.nsecsElapsed()) / 1e6;
    }
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

  /// Throws after 20 seconds.
  void waitUntil(const std::function<bool()>& holds) {
    QElapsedTimer time;
    time.start();
    while (!holds()) {
      if (time.elapsed() > 20000) {
        throw std::runtime_error("the window does not show what it should");
      }
      QEventLoop loop;
      QTimer::singleShot(1, &loop, &QEventLoop::quit);
      loop.exec();
    }
  }

 private:
  Application program_;
  QObject frames_;
  QElapsedTimer time_;
  std::function<bool()> holds_;
  double shownAt_ = -1;
};

inline void report(const char* name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%-22s", name);
  for (const double part : {0.5, 0.9, 0.99, 1.0}) {
    std::printf(" %8.2f", vrel::bench::percentile(values, part));
  }
  std::printf("\n");
}

}  // namespace vrel::app::bench
