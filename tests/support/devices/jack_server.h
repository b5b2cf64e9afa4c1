// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <csignal>
#include <string>

#include "support/devices/child_process.h"

namespace vrel::system::test {

/// A JACK server on the dummy driver, 48000 frames per second and 128 frames per block, with monitor
/// ports. It waits for its clients in every period, so a busy machine slows it down but loses no sound.
///
/// One at a time on the whole machine: the others wait. JACK's clients connect through a socket named after the
/// client and not the server, so two programs that open clients of the same name at the same time, on any servers,
/// may get each other's. The server's name is always the same, too: a killed server leaves an entry, of at most
/// eight per machine, until one of its name starts.
///
/// The server ends with the object, and with the test's process. With real-time priority where the system allows
/// it; otherwise without, which is reported.
class JackServer {
 public:
  /// Waits for its turn, and throws when another program does not release it.
  JackServer();
  ~JackServer();
  JackServer(const JackServer&) = delete;
  JackServer& operator=(const JackServer&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }

  /// Starts it, and waits until a client can connect. Throws the server's log when it does not start.
  void start();

  /// Kills it (SIGKILL), or ends it in order (SIGTERM). Returns when the process has ended.
  void kill();
  void stop();

  /// Suspends it, like a server that hangs.
  void hang() const { process_.signal(SIGSTOP); }
  void wakeUp() const { process_.signal(SIGCONT); }

  /// Suspends it and the test, like a machine that sleeps.
  void suspendBoth(std::chrono::milliseconds duration) const { process_.suspendBoth(duration); }

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
