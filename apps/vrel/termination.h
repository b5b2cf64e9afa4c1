// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include "foundation/mutex.h"

namespace vrel::app {

/// The signals by which a system, a terminal or a shell ends the program: SIGTERM, SIGHUP and SIGINT.
///
/// The first of a kind is reported; a second one ends the process at once, so there is always a way out. One that the
/// program was started to ignore stays ignored. A closed pipe at its output ends nothing (SIGPIPE).
///
/// Constructed and destroyed on Qt's thread, one at a time; the destructor restores the former handlers.
class TerminationSignals {
 public:
  /// `asked` is called on Qt's thread, by its loop.
  explicit TerminationSignals(std::function<void()> asked);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  static constexpr std::array handledSignals{SIGTERM, SIGHUP, SIGINT};

  void answer();

  std::function<void()> asked_;
  int wakeDescriptor_ = -1;  // an event descriptor, written by the handler
  std::unique_ptr<QSocketNotifier> notifier_;
  std::array<struct sigaction, handledSignals.size()> before_{};
  struct sigaction pipeBefore_ {};
};

/// Bounds the end of the program. Closing a device waits for its server, and a server that hangs would keep a program
/// in memory that has saved everything and shows no window. Any thread.
class ShutdownWatchdog {
 public:
  ShutdownWatchdog() = default;
  /// The end came in time.
  ~ShutdownWatchdog();
  ShutdownWatchdog(const ShutdownWatchdog&) = delete;
  ShutdownWatchdog& operator=(const ShutdownWatchdog&) = delete;

  /// From here on, this has to be destroyed within the limit, or the process logs a line and ends with a failure. Once.
  void start(std::chrono::milliseconds limit);

 private:
  Mutex mutex_;
  std::condition_variable ended_;
  bool isInTime_ VREL_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace vrel::app
