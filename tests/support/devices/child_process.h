// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace vrel::system::test {

/// Polls until the condition holds or the timeout is over; the last result.
inline bool eventually(const std::function<bool()>& holds, std::chrono::milliseconds limit = std::chrono::minutes(1)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) {
      return holds();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// A program that the test starts; it ends with the test, however that ends.
class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Starts it by name, with its output in a file and an empty input that stays open. A program that does not exist
  /// ends at once.
  void start(const std::vector<std::string>& arguments, const std::string& logPath);

  [[nodiscard]] bool isRunning();

  void signal(int signal) const;

  /// Stops it and this process for so long, like a machine that is suspended.
  void suspendBoth(std::chrono::milliseconds duration) const;

  /// Sends the signal and waits for the exit; kills the process after a timeout.
  void end(int signal);

 private:
  void noteEnd();

  pid_t process_ = 0;
  int input_ = -1;  // our end of its input
};

}  // namespace vrel::system::test
