// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "foundation/mutex.h"
#include "platform/dispatch.h"

namespace vrel::system {

/// The main queue of a program that lives in real time: whichever thread runs it is the main thread.
///
/// Work runs first in, first out. Work for later joins the end of the queue when it falls due; a repeating timer that
/// could not tick in time skips what it missed, so that a busy moment is not followed by a storm.
///
/// A question to the person runs the loop once more inside the work that asks it (`runUntil`); all other work goes on
/// meanwhile, in its order.
///
/// Threads: `async` and `asyncAfter` from any; everything else, and all work, on the main thread, which is checked; the
/// end on any when nobody runs it. What is left at the end of the loop is dropped, not run; timers may outlive it. Work
/// must not throw.
class MainLoop final : public MainQueue {
 public:
  MainLoop() = default;
  ~MainLoop() override;
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  void async(Work work) override;
  /// Nobody waits for the main queue: a programming fault, which drops the work.
  void sync(const Work& work) override;
  /// A delay that is negative or no number counts as 0.
  void asyncAfter(double seconds, Work work) override;
  /// The interval must be above 0; null otherwise.
  [[nodiscard]] std::unique_ptr<RepeatingTimer> repeatingTimer(double intervalSeconds, Work work) override;

  /// Runs work, sleeping in between, until `predicate` holds. It is asked at first and after each piece of work.
  void runUntil(const std::function<bool()>& predicate);

  /// Runs what is ready now, and all that this posts, without sleeping.
  void runPending();

  /// Drops all work, unrun, and what its destructors post. Not from within work.
  void dropWork();

 private:
  using Time = std::chrono::steady_clock::time_point;
  struct TimerState;
  class Timer;

  void fireAt(Time due, Work work);
  void scheduleTick(const std::weak_ptr<TimerState>& timer);
  void moveDueWork() VREL_REQUIRES(mutex_);
  /// Runs one piece of work, and waits for it if `waits`. False when there was none.
  bool runOne(bool waits);

  Mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Work> ready_ VREL_GUARDED_BY(mutex_);
  std::multimap<Time, Work> delayed_ VREL_GUARDED_BY(mutex_);  // by due time; equal times in order of arrival
};

}  // namespace vrel::system
