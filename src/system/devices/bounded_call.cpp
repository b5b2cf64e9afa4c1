// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/bounded_call.h"

#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace vrel::system {

bool endsWithin(std::chrono::milliseconds limit, const std::function<void()>& work) {
  std::packaged_task<void()> task(work);
  const auto done = task.get_future();
  std::thread thread;
  try {
    thread = std::thread(std::move(task));
  } catch (const std::system_error&) {
    work();  // no thread to be had
    return true;
  }
  const bool inTime = done.wait_for(limit) == std::future_status::ready;
  if (inTime) {
    thread.join();
  } else {
    thread.detach();
  }
  return inTime;
}

}  // namespace vrel::system
