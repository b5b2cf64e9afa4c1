// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/main_loop.h"

#include <algorithm>
#include <utility>

#include "foundation/contracts.h"
#include "foundation/main_thread.h"

namespace vrel::system {
namespace {

using Clock = std::chrono::steady_clock;

Clock::duration durationOf(double seconds) {
  constexpr double longest = 1e9;  // seconds; thirty years, which no clock overflows
  const double limited = seconds > 0 ? std::min(seconds, longest) : 0;
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limited));
}

}  // namespace

struct MainLoop::TimerState {
  Time nextTick;
  Clock::duration interval;
  Work work;
};

class MainLoop::Timer final : public RepeatingTimer {
 public:
  explicit Timer(std::shared_ptr<TimerState> state) : state_(std::move(state)) {}

 private:
  std::shared_ptr<TimerState> state_;
};

MainLoop::~MainLoop() {
  dropWork();
}

void MainLoop::dropWork() {
  // What goes may post as it goes, which must find the queue whole.
  while (true) {
    std::deque<Work> ready;
    std::multimap<Time, Work> delayed;
    {
      const MutexLock lock(mutex_);
      ready.swap(ready_);
      delayed.swap(delayed_);
    }
    if (ready.empty() && delayed.empty()) {
      return;
    }
  }
}

void MainLoop::async(Work work) {
  if (!VREL_EXPECTS(work != nullptr)) {
    return;
  }
  {
    const MutexLock lock(mutex_);
    ready_.push_back(std::move(work));
  }
  arrived_.notify_one();
}

void MainLoop::sync(const Work& /*work*/) {
  constexpr bool nobodyWaitsForTheMainQueue = false;
  static_cast<void>(VREL_EXPECTS(nobodyWaitsForTheMainQueue));
}

void MainLoop::asyncAfter(double seconds, Work work) {
  if (!VREL_EXPECTS(work != nullptr)) {
    return;
  }
  fireAt(Clock::now() + durationOf(seconds), std::move(work));
}

std::unique_ptr<RepeatingTimer> MainLoop::repeatingTimer(double intervalSeconds, Work work) {
  if (!VREL_EXPECTS(isMainThread()) || !VREL_EXPECTS(intervalSeconds > 0) || !VREL_EXPECTS(work != nullptr)) {
    return nullptr;
  }
  const auto interval = std::max(durationOf(intervalSeconds), Clock::duration(1));
  auto state = std::make_shared<TimerState>(TimerState{Clock::now() + interval, interval, std::move(work)});
  scheduleTick(state);
  return std::make_unique<Timer>(std::move(state));
}

void MainLoop::runUntil(const std::function<bool()>& predicate) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  while (!predicate()) {
    runOne(true);
  }
}

void MainLoop::runPending() {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  while (runOne(false)) {
  }
}

void MainLoop::moveDueWork() {
  const auto end = delayed_.upper_bound(Clock::now());
  for (auto due = delayed_.begin(); due != end; ++due) {
    ready_.push_back(std::move(due->second));
  }
  delayed_.erase(delayed_.begin(), end);
}

bool MainLoop::runOne(bool waits) {
  Work work;
  {
    MutexLock lock(mutex_);
    moveDueWork();
    while (waits && ready_.empty()) {
      if (delayed_.empty()) {
        arrived_.wait(lock.native());
      } else {
        const Time next = delayed_.begin()->first;
        arrived_.wait_until(lock.native(), next);
      }
      moveDueWork();
    }
    if (ready_.empty()) {
      return false;
    }
    work = std::move(ready_.front());
    ready_.pop_front();
  }
  work();
  return true;
}

void MainLoop::fireAt(Time due, Work work) {
  {
    const MutexLock lock(mutex_);
    delayed_.emplace(due, std::move(work));
  }
  arrived_.notify_one();
}

void MainLoop::scheduleTick(const std::weak_ptr<TimerState>& timer) {
  const auto state = timer.lock();
  if (state == nullptr) {
    return;
  }
  fireAt(state->nextTick, [this, timer] {
    if (const auto ticking = timer.lock()) {
      const auto late = Clock::now() - ticking->nextTick;
      ticking->nextTick += ticking->interval * (1 + late / ticking->interval);
      scheduleTick(ticking);
      ticking->work();
    }
  });
}

}  // namespace vrel::system
