// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "foundation/serial_thread.h"

namespace vrel::system {

/// Keeps the screen saver, sleep and the lid's switch away while a show is on: asks the services of the desktop that
/// programs ask for this, and the login manager.
///
/// Threads: the main thread. No call waits: a thread of its own asks, and waits at most two seconds for all answers. A
/// service that is not running is not started; where none at all answers, one line says so. The end gives all back.
class SleepInhibitor {
 public:
  /// Addresses of the message buses; empty or "disabled:" is none.
  struct Buses {
    std::string session;
    std::string system;
  };
  using Log = std::function<void(const std::string&)>;

  /// `log` is called on the thread.
  SleepInhibitor(Buses buses, Log log);
  ~SleepInhibitor();
  SleepInhibitor(const SleepInhibitor&) = delete;
  SleepInhibitor& operator=(const SleepInhibitor&) = delete;

  /// Those that the environment names, or that are where they usually are.
  [[nodiscard]] static Buses usualBuses();

  /// Costs nothing when it is so already.
  void setActive(bool isActive);

 private:
  struct Holds;  // what the thread has been given

  bool isActive_ = false;
  std::shared_ptr<Holds> holds_;
  SerialThread thread_{SerialThread::AtEnd::runWork};  // last: it uses what it holds
};

}  // namespace vrel::system
