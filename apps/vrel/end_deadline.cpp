// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/end_deadline.h"

#include <cstdio>
#include <cstdlib>

namespace vrel::app {

EndDeadline::~EndDeadline() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    isInTime_ = true;
  }
  ended_.notify_one();
  thread_.join();
}

void EndDeadline::start(std::chrono::milliseconds limit) {
  thread_ = std::thread([this, limit] {
    std::unique_lock lock(mutex_);
    if (!ended_.wait_for(lock, limit, [this] { return isInTime_; })) {
      std::fputs("ended without waiting any longer for a device or a plug-in that does not let go\n", stderr);
      // Nothing is cleared up: whoever hangs holds what that needs.
      std::_Exit(EXIT_FAILURE);
    }
  });
}

}  // namespace vrel::app
