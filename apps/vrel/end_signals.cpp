// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/end_signals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vrel::app {
namespace {

/// All that the handler knows. -1: nobody listens.
std::atomic<int> bellOfProcess = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a handler takes no lock");

// Whatever thread it interrupts: it may only write.
extern "C" void ring(int /*signal*/) {
  const int error = errno;
  const std::uint64_t once = 1;
  // A bell that can not be rung has been rung already.
  [[maybe_unused]] const auto written = ::write(bellOfProcess.load(), &once, sizeof once);
  errno = error;
}

}  // namespace

EndSignals::EndSignals(std::function<void()> asked)
    : asked_(std::move(asked)), bell_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignored, &pipeBefore_);
  for (std::size_t index = 0; index < heeded.size(); ++index) {
    ::sigaction(heeded.at(index), nullptr, &before_.at(index));
  }
  if (bell_ < 0) {
    return;  // the signals end the process, as they do everywhere
  }
  notifier_ = std::make_unique<QSocketNotifier>(bell_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { answer(); });
  bellOfProcess = bell_;
  struct sigaction heed {};
  heed.sa_handler = ring;
  heed.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  for (std::size_t index = 0; index < heeded.size(); ++index) {
    if (before_.at(index).sa_handler != SIG_IGN) {
      ::sigaction(heeded.at(index), &heed, nullptr);
    }
  }
}

EndSignals::~EndSignals() {
  for (std::size_t index = 0; index < heeded.size(); ++index) {
    ::sigaction(heeded.at(index), &before_.at(index), nullptr);
  }
  ::sigaction(SIGPIPE, &pipeBefore_, nullptr);
  bellOfProcess = -1;
  notifier_.reset();
  if (bell_ >= 0) {
    ::close(bell_);
  }
}

void EndSignals::answer() {
  std::uint64_t rings = 0;
  if (::read(bell_, &rings, sizeof rings) == static_cast<ssize_t>(sizeof rings)) {
    asked_();
  }
}

}  // namespace vrel::app
