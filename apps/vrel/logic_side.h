// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "console/window/console_commands.h"
#include "system/dispatch/main_loop.h"

namespace vrel::app {

class Program;
class WindowSide;

/// The main thread of the program, apart from the window's: a note never waits for a frame, and a desktop that hangs
/// stops no sound.
///
/// Threads: made, started and ended on the window's thread. Posts from any; what is posted before the program is made
/// or after it has ended is dropped.
class LogicSide {
 public:
  LogicSide() = default;
  ~LogicSide();
  LogicSide(const LogicSide&) = delete;
  LogicSide& operator=(const LogicSide&) = delete;

  /// Makes the program on its thread, and runs it. The window is borrowed and outlives `end`.
  void start(WindowSide& window);

  /// Lets go of the program and waits for its thread. Nothing is called on the window any more.
  void end();

  void post(std::function<void()> action);
  void postCommand(window::ConsoleCommands::Action action);

  /// Runs `action` with the program.
  void postToProgram(std::function<void(Program&)> action);

 private:
  void run(WindowSide& window);

  system::MainLoop loop_;
  std::unique_ptr<Program> program_;  // on its thread
  bool isEnding_ = false;             // on its thread
  std::thread thread_;
};

}  // namespace vrel::app
