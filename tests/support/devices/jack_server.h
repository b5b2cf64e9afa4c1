// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>
#include <string>

#include "support/devices/child_process.h"

namespace vrel::system::test {

/// A JACK server on the dummy driver, 48000 frames per second and 128 frames per block, with ports that show what
/// is played. It waits for its clients in every block, so a busy machine makes it slow but loses no sound.
///
/// One at a time on the whole machine: the others wait. JACK's clients meet their server at a place that has the
/// client's name and not the server's, so two programs that open clients of one name at the same time, on whatever
/// servers, may get each other's. The server's name is always the same, too: one that was killed leaves an entry
/// among the eight that a machine has room for, until one of its name starts.
///
/// The server ends with the object, and with the test's process. In real time where the machine allows it; if not,
/// without, which is logged.
class JackServer {
 public:
  /// Waits for its turn, and throws when other programs do not end.
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

  /// Has it answer nobody any more, as one that hangs.
  void hang() const { process_.signal(SIGSTOP); }

  [[nodiscard]] bool isRunning() { return process_.isRunning(); }

 private:
  [[nodiscard]] bool takeTurn();
  [[nodiscard]] bool waitUntilReady();

  const std::string name_ = "vrel-test";
  std::string logPath_;
  int turn_ = -1;  // a locked file
  ChildProcess process_;
};

}  // namespace vrel::system::test
