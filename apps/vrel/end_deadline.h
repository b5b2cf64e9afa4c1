// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vrel::app {

/// Bounds the end of the program. Whoever lets go of a device waits for its server, and a server that hangs would keep
/// a program in memory that has saved everything and shows no window. Any thread.
class EndDeadline {
 public:
  EndDeadline() = default;
  /// The end came in time.
  ~EndDeadline();
  EndDeadline(const EndDeadline&) = delete;
  EndDeadline& operator=(const EndDeadline&) = delete;

  /// From here on, this has to be let go of within the limit, or the process ends with a line and a failure. Once.
  void start(std::chrono::milliseconds limit);

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  bool isInTime_ = false;  // guarded by mutex_
  std::thread thread_;
};

}  // namespace vrel::app
