// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "foundation/mutex.h"
#include "platform/clock.h"
#include "platform/dispatch.h"

namespace vrel::system {

/// A clock that only the main loop advances: the time of a show that is rendered as fast as the
/// machine can. A host tick is a nanosecond. Read from any thread, moved on the main thread.
class OfflineClock final : public HostClock {
 public:
  [[nodiscard]] std::uint64_t AudioGetCurrentHostTime() const override;
  [[nodiscard]] std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) const override { return hostTime; }
  [[nodiscard]] std::uint64_t AudioConvertNanosToHostTime(std::uint64_t nanoseconds) const override {
    return nanoseconds;
  }
  [[nodiscard]] double CACurrentMediaTime() const override { return seconds() + startSeconds; }

  /// Seconds since the show began, exactly as they were set. The two times above are later by
  /// `startSeconds`, so that none of them is 0.
  [[nodiscard]] double seconds() const { return seconds_.load(std::memory_order_relaxed); }
  void set(double seconds) { seconds_.store(seconds, std::memory_order_relaxed); }

  static constexpr double startSeconds = 1;

 private:
  std::atomic<double> seconds_{0};
};

/// The main queue of a program that makes its own time.
///
/// Ready work and delayed work are separate: ready work runs in `runPending` and `waitUntil`, while the clock is
/// stopped; delayed work and timers fire only while `advanceTo` or `advanceUpTo` moves the clock, each at its own
/// time, and what they post runs before the clock moves on. So what a show does depends on its times alone,
/// never on how long other threads take, as long as one waits for those.
///
/// Threads: `async` and `asyncAfter` from any; everything else, and all work, on the main thread, which is checked.
/// The clock is borrowed. What is left at the end of the loop is dropped, not run; timers may outlive it.
class OfflineMainLoop final : public MainQueue {
 public:
  explicit OfflineMainLoop(OfflineClock& clock) : clock_(clock) {}

  void async(Work work) override;
  /// Nobody waits for the main queue: a programming fault, which drops the work.
  void sync(const Work& work) override;
  /// Counted from the time that the clock shows now. A delay that is negative or no number counts as 0.
  void asyncAfter(double seconds, Work work) override;
  /// Ticks at whole multiples of the interval, so that no error adds up. The interval must be above 0; null otherwise.
  [[nodiscard]] std::unique_ptr<RepeatingTimer> repeatingTimer(double intervalSeconds, Work work) override;

  /// Runs all that is ready, and all that this posts.
  void runPending();

  /// Moves the clock to `seconds` of the show, firing on the way what falls due until then, or before then.
  /// A time that is past runs what is ready and moves nothing.
  void advanceTo(double seconds);
  void advanceUpTo(double seconds);

  /// Runs what is ready until `predicate` holds, sleeping for posts of other threads in between. The
  /// predicate is asked at first and after each piece of work, on this thread; what it looks at must change
  /// by work on this queue only.
  ///
  /// Gives up once no work has come for `timeout` of the machine's own time. Whether the predicate holds.
  bool waitUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout);

 private:
  class Timer;
  struct TimerState {
    double startSeconds;
    double intervalSeconds;
    Work work;
  };

  bool runOne();
  bool fireNext(double limit, bool isLimitIncluded);
  void advance(double seconds, bool isLimitIncluded);
  void fireAt(double due, Work work);
  void scheduleTick(std::uint64_t count, const std::weak_ptr<TimerState>& timer);

  OfflineClock& clock_;
  Mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Work> ready_ VREL_GUARDED_BY(mutex_);
  std::multimap<double, Work> delayed_ VREL_GUARDED_BY(mutex_);  // by due time; equal times in order of arrival
};

}  // namespace vrel::system
