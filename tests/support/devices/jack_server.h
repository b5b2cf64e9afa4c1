// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "support/devices/child_process.h"

namespace vrel::system::test {

/// A JACK server on the dummy driver, 48000 frames per second and 128 frames per block, with ports that show what
/// is played. It waits for its clients in every block, so a busy machine makes it slow but loses no sound.
///
/// Its name is one of a few, taken for the time of the object's life: a server that was killed leaves an entry among
/// the eight that a machine has room for, until one of the same name starts. The server ends with the
/// object, and with the test's process. In real time where the machine allows it; if not, without, which is told.
class JackServer {
 public:
  /// Waits for a name, and throws when other tests do not give one back.
  JackServer();
  ~JackServer();
  JackServer(const JackServer&) = delete;
  JackServer& operator=(const JackServer&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }

  /// Starts it, and waits until a client can join. Throws the server's words when it does not come up.
  void start();

  /// As by an impatient user (SIGKILL), or in good order (SIGTERM). Returns when the process has ended.
  void kill();
  void stop();

  [[nodiscard]] bool isRunning() { return process_.isRunning(); }

 private:
  void takeName();
  [[nodiscard]] bool waitUntilReady();

  std::string name_;
  std::string logPath_;
  int nameLock_ = -1;  // a locked file
  ChildProcess process_;
};

}  // namespace vrel::system::test
