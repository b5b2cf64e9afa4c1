// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace vrel::system::test {

/// Asks again and again until the answer is yes or the time is up; the last answer.
inline bool eventually(const std::function<bool()>& holds,
                       std::chrono::milliseconds limit = std::chrono::milliseconds(20000)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) {
      return holds();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// A program that the test starts, and that ends with it however it ends.
class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Starts it, by name, with what it writes in a file, and with nothing to read for as long as it runs. A program that
  /// is not there ends at once.
  void start(const std::vector<std::string>& arguments, const std::string& logPath);

  [[nodiscard]] bool isRunning();

  void signal(int signal) const;

  /// Sends the signal and waits until it has ended; kills it when it takes too long.
  void end(int signal);

 private:
  void noteEnd();

  pid_t process_ = 0;
  int input_ = -1;  // our end of what it reads
};

}  // namespace vrel::system::test
