// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/termination.h"

#include <sys/eventfd.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vrel::app {
namespace {

/// All that the handler knows. -1: no listener.
std::atomic<int> wakeDescriptorOfProcess = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a handler takes no lock");

// Whatever thread it interrupts: it may only write.
extern "C" void wake(int /*signal*/) {
  const int error = errno;
  const std::uint64_t once = 1;
  // A write that fails means that a wake-up is pending already.
  [[maybe_unused]] const auto written = ::write(wakeDescriptorOfProcess.load(), &once, sizeof once);
  errno = error;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> asked)
    : asked_(std::move(asked)), wakeDescriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  struct sigaction ignored {};
  ignored.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignored, &pipeBefore_);
  for (std::size_t index = 0; index < handledSignals.size(); ++index) {
    ::sigaction(handledSignals.at(index), nullptr, &before_.at(index));
  }
  if (wakeDescriptor_ < 0) {
    return;  // the signals end the process, as they do everywhere
  }
  notifier_ = std::make_unique<QSocketNotifier>(wakeDescriptor_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { answer(); });
  wakeDescriptorOfProcess = wakeDescriptor_;
  struct sigaction action {};
  action.sa_handler = wake;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  for (std::size_t index = 0; index < handledSignals.size(); ++index) {
    if (before_.at(index).sa_handler != SIG_IGN) {
      ::sigaction(handledSignals.at(index), &action, nullptr);
    }
  }
}

TerminationSignals::~TerminationSignals() {
  for (std::size_t index = 0; index < handledSignals.size(); ++index) {
    ::sigaction(handledSignals.at(index), &before_.at(index), nullptr);
  }
  ::sigaction(SIGPIPE, &pipeBefore_, nullptr);
  wakeDescriptorOfProcess = -1;
  notifier_.reset();
  if (wakeDescriptor_ >= 0) {
    ::close(wakeDescriptor_);
  }
}

void TerminationSignals::answer() {
  std::uint64_t count = 0;
  if (::read(wakeDescriptor_, &count, sizeof count) == static_cast<ssize_t>(sizeof count)) {
    asked_();
  }
}

ShutdownWatchdog::~ShutdownWatchdog() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const MutexLock lock(mutex_);
    isInTime_ = true;
  }
  ended_.notify_one();
  thread_.join();
}

void ShutdownWatchdog::start(std::chrono::milliseconds limit) {
  thread_ = std::thread([this, limit] {
    MutexLock lock(mutex_);
    if (!ended_.wait_for(lock.native(), limit, [this]() VREL_REQUIRES(mutex_) { return isInTime_; })) {
      std::fputs("exiting: a device or a plug-in did not shut down in time\n", stderr);
      // Nothing is cleared up: whoever hangs holds what that needs.
      std::_Exit(EXIT_FAILURE);
    }
  });
}

}  // namespace vrel::app
