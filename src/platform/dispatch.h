// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace vrel {

/// A serial queue: one work item at a time, first in, first out.
///
/// `async` may be called from any thread. `sync` runs the work on the queue and returns when it
/// has ended; calling it from the queue's own work is a programming error (deadlock).
/// Destroying a queue waits for the running work item; work that has not begun is dropped.
class DispatchQueue {
 public:
  using Work = std::function<void()>;

  virtual ~DispatchQueue() = default;
  virtual void async(Work work) = 0;
  virtual void sync(const Work& work) = 0;
};

/// A repeating timer; destroying it stops it.
class RepeatingTimer {
 public:
  virtual ~RepeatingTimer() = default;
};

/// The queue on which every decision of the program is made, with its timers.
///
/// `sync` is not allowed on this queue: no thread waits for the main thread.
class MainQueue : public DispatchQueue {
 public:
  /// Runs `work` once, `seconds` from now, on this queue. Any thread.
  virtual void asyncAfter(double seconds, Work work) = 0;

  /// Runs `work` every `intervalSeconds` until the timer is destroyed. Main thread.
  [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> repeatingTimer(double intervalSeconds, Work work) = 0;
};

/// Makes the serial queues that run beside the main one.
class DispatchQueueFactory {
 public:
  virtual ~DispatchQueueFactory() = default;
  [[nodiscard]] virtual std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) = 0;
};

}  // namespace vrel
