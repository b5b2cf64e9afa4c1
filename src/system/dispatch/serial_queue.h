// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/dispatch.h"

namespace vrel::system {

/// A serial queue on a thread of its own, which sleeps while there is nothing to do.
///
/// Threads: `async` and `sync` from any, but `sync` not from the queue's own work. Letting go, on any
/// other thread, lets go of what has not begun, unrun, and then waits for the piece under way. Nobody may
/// wait in `sync` at that time. Work must not throw.
class SerialQueue final : public DispatchQueue {
 public:
  SerialQueue();
  ~SerialQueue() override;
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  void async(Work work) override;
  void sync(const Work& work) override;

 private:
  void serve();

  std::mutex mutex_;
  std::condition_variable arrived_;
  std::condition_variable ended_;  // the work of some `sync`
  std::deque<Work> pending_;       // guarded by mutex_
  bool ending_ = false;            // guarded by mutex_
  std::thread thread_;             // last: it uses all of the above
};

/// Makes a thread for each queue. The label is for people only.
class SerialQueueFactory final : public DispatchQueueFactory {
 public:
  [[nodiscard]] std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
};

}  // namespace vrel::system
