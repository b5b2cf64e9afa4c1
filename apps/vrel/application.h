// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "console/window/console_commands.h"
#include "system/dispatch/main_loop.h"
#include "vrel/ui_thread.h"

namespace vrel {
class ConsoleOutput;
}  // namespace vrel

namespace vrel::app {

class Session;
class UiThread;

/// The main thread of the program, apart from the window's: a note never waits for a frame, and a desktop that hangs
/// stops no sound.
///
/// Threads: made, started and ended on the window's thread. Posts from any; what is posted before the program is made
/// or after it has ended is dropped.
class LogicThread {
 public:
  LogicThread() = default;
  ~LogicThread();
  LogicThread(const LogicThread&) = delete;
  LogicThread& operator=(const LogicThread&) = delete;

  /// Makes the program on its thread, and runs it. Both are borrowed and outlive `end`; there may be no log.
  void start(UiThread& window, ConsoleOutput* runLog);

  /// Destroys the session and joins its thread. Nothing is called on the window any more.
  void end();

  void post(std::function<void()> action);
  void postCommand(window::ConsoleCommands::Action action);

  /// Runs `action` with the program.
  void postToSession(std::function<void(Session&)> action);

 private:
  void run(UiThread& window, ConsoleOutput* runLog);

  system::MainLoop loop_;
  std::unique_ptr<Session> session_;  // on its thread
  bool isEnding_ = false;             // on its thread
  std::thread thread_;
};

/// The program: its logic on one thread, its window on another, each posting to the other. Made, started and destroyed
/// on Qt's thread, whose loop its maker runs.
class Application {
 public:
  /// `runLog`, if there is one, gets each line that is printed; it is borrowed.
  explicit Application(ConsoleOutput* runLog = nullptr);
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  /// The logic starts on its thread while the window is being made.
  void start() {
    logic.start(window, runLog_);
    window.open();
  }

  /// Once, right after the start: puts the first song of this setlist on stage.
  void loadSetlist(const std::filesystem::path& path);
  /// Once, behind that: asks about what an earlier run that crashed left unsaved.
  void offerUnsavedEdits();

  /// Asks and opens it, as from the recent list. False in Live mode, which opens none.
  [[nodiscard]] bool openSetlist(const std::filesystem::path& path);

  /// The system is about to end, and does not wait forever.
  void systemEnds();

  LogicThread logic;
  UiThread window;  // ends after the logic, which uses it

 private:
  ConsoleOutput* const runLog_;
};

}  // namespace vrel::app
