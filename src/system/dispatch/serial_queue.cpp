// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/serial_queue.h"

#include "foundation/contracts.h"

namespace vrel::system {

void SerialQueue::sync(const Work& work) {
  if (!VREL_EXPECTS(!thread_.isCurrent())) {
    work();  // to wait here would be to wait forever
    return;
  }
  thread_.runAndWait(work);
}

std::unique_ptr<DispatchQueue> SerialQueueFactory::makeSerialQueue(const std::string& /*label*/) {
  return std::make_unique<SerialQueue>();
}

std::unique_ptr<DispatchQueue> BoundedQueueFactory::makeSerialQueue(const std::string& /*label*/) {
  return std::make_unique<SerialQueue>(longestEnd_);
}

}  // namespace vrel::system
