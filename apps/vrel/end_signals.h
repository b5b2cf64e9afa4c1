// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <functional>
#include <memory>

namespace vrel::app {

/// The signals by which a system, a terminal or a shell wants the program gone: SIGTERM, SIGHUP and SIGINT.
///
/// The first of a kind is told; a second one ends the process at once, so there is always a way out. One that whoever
/// started the program has it ignore stays ignored. And nothing is ended by a reader of its output that has gone
/// (SIGPIPE).
///
/// Made and let go of on Qt's thread, one at a time; its end restores what was there before.
class EndSignals {
 public:
  /// `asked` is called on Qt's thread, by its loop.
  explicit EndSignals(std::function<void()> asked);
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

 private:
  static constexpr std::array heeded{SIGTERM, SIGHUP, SIGINT};

  void answer();

  std::function<void()> asked_;
  int bell_ = -1;  // an event descriptor, rung by the handler
  std::unique_ptr<QSocketNotifier> notifier_;
  std::array<struct sigaction, heeded.size()> before_{};
  struct sigaction pipeBefore_ {};
};

}  // namespace vrel::app
