// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/virtual_time.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vrel::simulation {
namespace {

std::uint64_t toNanoseconds(double seconds) {
  return static_cast<std::uint64_t>(std::llround(seconds * 1e9));
}

}  // namespace

void CrankedQueue::sync(const Work& work) {
  runAll();
  work();
}

bool CrankedQueue::runOne() {
  if (pending_.empty()) {
    return false;
  }
  const auto work = std::move(pending_.front());
  pending_.pop_front();
  work();
  return true;
}

void CrankedQueue::runAll() {
  while (runOne()) {
  }
}

class CrankedMainQueue::Timer : public RepeatingTimer {
 public:
  explicit Timer(std::shared_ptr<TimerState> state) : state_(std::move(state)) {}

 private:
  std::shared_ptr<TimerState> state_;
};

void CrankedMainQueue::sync(const Work& /*work*/) {
  std::fputs("CrankedMainQueue: sync is not allowed on the main queue\n", stderr);
  std::abort();
}

void CrankedMainQueue::asyncAfter(double seconds, Work work) {
  fireAt(clock_.AudioGetCurrentHostTime() + toNanoseconds(seconds), std::move(work));
}

std::unique_ptr<RepeatingTimer> CrankedMainQueue::repeatingTimer(double intervalSeconds, Work work) {
  auto state = std::make_shared<TimerState>(TimerState{toNanoseconds(intervalSeconds), std::move(work)});
  scheduleTick(clock_.AudioGetCurrentHostTime() + state->intervalNanoseconds, state);
  return std::make_unique<Timer>(std::move(state));
}

void CrankedMainQueue::scheduleTick(std::uint64_t due, const std::weak_ptr<TimerState>& timer) {
  fireAt(due, [this, due, timer] {
    if (const auto state = timer.lock()) {
      state->work();
      scheduleTick(due + state->intervalNanoseconds, timer);
    }
  });
}

void CrankedMainQueue::advance(double seconds) {
  const auto end = clock_.AudioGetCurrentHostTime() + toNanoseconds(seconds);
  runAll();
  while (!delayed_.empty() && delayed_.begin()->first <= end) {
    auto next = delayed_.extract(delayed_.begin());
    clock_.setNanoseconds(next.key());
    next.mapped()();
    runAll();
  }
  clock_.setNanoseconds(end);
}

std::unique_ptr<DispatchQueue> CrankedQueueFactory::makeSerialQueue(const std::string& label) {
  auto queue = std::make_unique<CrankedQueue>();
  queues_[label] = queue.get();
  return queue;
}

}  // namespace vrel::simulation
