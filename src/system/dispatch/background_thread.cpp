// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/background_thread.h"

#include "foundation/contracts.h"
#include "foundation/main_thread.h"
#include "system/dispatch/main_loop.h"

namespace vrel::system {

void BackgroundThread::run(const Work& work, const Work& ended) {
  if (!VREL_EXPECTS(isMainThread())) {
    return;
  }
  bool isOver = false;
  thread_.post([&] {
    work();
    // On the queue, and not behind the wait: of nested waits the last one returns first.
    loop_.async([&] {
      ended();
      isOver = true;
    });
  });
  loop_.runUntil([&isOver] { return isOver; });
}

void BackgroundThread::waitUntil(const std::function<bool()>& isOver) {
  loop_.runUntil(isOver);
}

}  // namespace vrel::system
