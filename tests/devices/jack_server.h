// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
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

/// A JACK server on the dummy driver, 48000 frames per second and 128 frames per block, with ports that show what
/// is played. Under a name of its own, so that it meets no other server of the machine. It waits for
/// its clients in every block, so a busy machine makes it slow but loses no sound.
///
/// Ends with the object. In real time where the machine allows it; if not, without, which is told.
class JackServer {
 public:
  JackServer();
  ~JackServer();
  JackServer(const JackServer&) = delete;
  JackServer& operator=(const JackServer&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }

  /// Starts it, and waits until a client can join. A failure is a failure of the test, with the server's words.
  void start();

  /// As by an impatient user (SIGKILL), or in good order (SIGTERM). Returns when the process has ended.
  void kill();
  void stop();

  [[nodiscard]] bool isRunning() const { return process_ != 0; }

 private:
  void launch(const std::vector<std::string>& arguments);
  [[nodiscard]] bool waitUntilReady();
  [[nodiscard]] bool hasEnded();
  void end(int signal);

  std::string name_;
  std::string logPath_;
  pid_t process_ = 0;
};

}  // namespace vrel::system::test
