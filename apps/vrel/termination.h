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

/// The signals by which a system, a terminal or a shell wants the program gone: SIGTERM, SIGHUP and SIGINT.
///
/// The first of a kind is told; a second one ends the process at once, so there is always a way out. One that whoever
/// started the program has it ignore stays ignored. And nothing is ended by a reader of its output that has gone
/// (SIGPIPE).
///
/// Made and let go of on Qt's thread, one at a time; its end restores what was there before.
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
  int wakeDescriptor_ = -1;  // an event descriptor, rung by the handler
  std::unique_ptr<QSocketNotifier> notifier_;
  std::array<struct sigaction, handledSignals.size()> before_{};
  struct sigaction pipeBefore_ {};
};

/// Bounds the end of the program. Whoever lets go of a device waits for its server, and a server that hangs would keep
/// a program in memory that has saved everything and shows no window. Any thread.
class ShutdownWatchdog {
 public:
  ShutdownWatchdog() = default;
  /// The end came in time.
  ~ShutdownWatchdog();
  ShutdownWatchdog(const ShutdownWatchdog&) = delete;
  ShutdownWatchdog& operator=(const ShutdownWatchdog&) = delete;

  /// From here on, this has to be let go of within the limit, or the process ends with a line and a failure. Once.
  void start(std::chrono::milliseconds limit);

 private:
  Mutex mutex_;
  std::condition_variable ended_;
  bool isInTime_ VREL_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace vrel::app
