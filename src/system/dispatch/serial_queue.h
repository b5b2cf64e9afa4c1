// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "foundation/serial_thread.h"
#include "platform/dispatch.h"

namespace vrel::system {

/// A serial queue on a thread of its own, which sleeps while there is nothing to do.
///
/// Threads: `async` and `sync` from any, but `sync` not from the queue's own work. The end drops what has not begun and
/// waits for the piece under way. Nobody may wait in `sync` at that time. Work must not throw.
class SerialQueue final : public DispatchQueue {
 public:
  SerialQueue() : thread_(SerialThread::AtEnd::dropWork) {}
  /// One whose end leaves a piece behind that takes longer, with all that it owns.
  explicit SerialQueue(std::chrono::milliseconds longestEnd) : thread_(longestEnd) {}

  void async(Work work) override { thread_.post(std::move(work)); }
  void sync(const Work& work) override;

 private:
  SerialThread thread_;
};

/// Makes a thread for each queue. The label is for people only.
class SerialQueueFactory final : public DispatchQueueFactory {
 public:
  [[nodiscard]] std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
};

/// The same for work on files that may never answer: the end of a queue is bounded.
class BoundedQueueFactory final : public DispatchQueueFactory {
 public:
  explicit BoundedQueueFactory(std::chrono::milliseconds longestEnd) : longestEnd_(longestEnd) {}

  [[nodiscard]] std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

 private:
  const std::chrono::milliseconds longestEnd_;
};

}  // namespace vrel::system
