// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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
  void async(Work work) override { thread_.post(std::move(work)); }
  void sync(const Work& work) override;

 private:
  SerialThread thread_{SerialThread::AtEnd::dropWork};
};

/// Makes a thread for each queue. The label is for people only.
class SerialQueueFactory final : public DispatchQueueFactory {
 public:
  [[nodiscard]] std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
};

}  // namespace vrel::system
