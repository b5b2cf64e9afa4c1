// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/offline_main_loop.h"

#include <cmath>
#include <utility>

#include "foundation/contracts.h"
#include "foundation/main_thread.h"

namespace vrel::system {

std::uint64_t OfflineClock::AudioGetCurrentHostTime() const {
  return static_cast<std::uint64_t>(std::llround((seconds() + startSeconds) * 1e9));
}

class OfflineMainLoop::Timer final : public RepeatingTimer {
 public:
  explicit Timer(std::shared_ptr<TimerState> state) : state_(std::move(state)) {}

 private:
  std::shared_ptr<TimerState> state_;
};

void OfflineMainLoop::async(Work work) {
  if (!VREL_EXPECTS(work != nullptr)) {
    return;
  }
  {
    const MutexLock lock(mutex_);
    ready_.push_back(std::move(work));
  }
  arrived_.notify_one();
}

void OfflineMainLoop::sync(const Work& /*work*/) {
  constexpr bool nobodyWaitsForTheMainQueue = false;
  static_cast<void>(VREL_EXPECTS(nobodyWaitsForTheMainQueue));
}

void OfflineMainLoop::asyncAfter(double seconds, Work work) {
  if (!VREL_EXPECTS(work != nullptr)) {
    return;
  }
  fireAt(clock_.seconds() + (seconds > 0 ? seconds : 0), std::move(work));
}

std::unique_ptr<RepeatingTimer> OfflineMainLoop::repeatingTimer(double intervalSeconds, Work work) {
  if (!VREL_EXPECTS(isMainThread()) || !VREL_EXPECTS(intervalSeconds > 0) || !VREL_EXPECTS(work != nullptr)) {
    return nullptr;
  }
  auto state = std::make_shared<TimerState>(TimerState{clock_.seconds(), intervalSeconds, std::move(work)});
  scheduleTick(1, state);
  return std::make_unique<Timer>(std::move(state));
}

void OfflineMainLoop::runPending() {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  while (runOne()) {
  }
}

void OfflineMainLoop::advanceTo(double seconds) {
  advance(seconds, true);
}

void OfflineMainLoop::advanceUpTo(double seconds) {
  advance(seconds, false);
}

bool OfflineMainLoop::waitUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
  if (!VREL_EXPECTS(isMainThread())) {
    return false;
  }
  while (!predicate()) {
    if (!runOne()) {
      MutexLock lock(mutex_);
      if (!arrived_.wait_for(lock.native(), timeout, [this]() VREL_REQUIRES(mutex_) { return !ready_.empty(); })) {
        return false;
      }
    }
  }
  return true;
}

bool OfflineMainLoop::runOne() {
  Work work;
  {
    const MutexLock lock(mutex_);
    if (ready_.empty()) {
      return false;
    }
    work = std::move(ready_.front());
    ready_.pop_front();
  }
  work();
  return true;
}

void OfflineMainLoop::advance(double seconds, bool isLimitIncluded) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  runPending();
  while (fireNext(seconds, isLimitIncluded)) {
    runPending();
  }
  if (seconds > clock_.seconds()) {
    clock_.set(seconds);
  }
}

bool OfflineMainLoop::fireNext(double limit, bool isLimitIncluded) {
  Work work;
  {
    const MutexLock lock(mutex_);
    const auto next = delayed_.begin();
    if (next == delayed_.end() || next->first > limit || (!isLimitIncluded && next->first == limit)) {
      return false;
    }
    if (next->first > clock_.seconds()) {
      clock_.set(next->first);
    }
    work = std::move(next->second);
    delayed_.erase(next);
  }
  work();
  return true;
}

void OfflineMainLoop::fireAt(double due, Work work) {
  const MutexLock lock(mutex_);
  delayed_.emplace(due, std::move(work));
}

void OfflineMainLoop::scheduleTick(std::uint64_t count, const std::weak_ptr<TimerState>& timer) {
  const auto state = timer.lock();
  if (state == nullptr) {
    return;
  }
  fireAt(state->startSeconds + state->intervalSeconds * static_cast<double>(count), [this, count, timer] {
    if (const auto ticking = timer.lock()) {
      // Before the work, so that equal times keep their order from tick to tick.
      scheduleTick(count + 1, timer);
      ticking->work();
    }
  });
}

}  // namespace vrel::system
