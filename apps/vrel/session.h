// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/content_view.h"
#include "console/meter_readings.h"
#include "console/played_now.h"
#include "console/setlist_collector.h"
#include "console/unsaved_edits.h"
#include "console/window/console_commands.h"
#include "console/window/console_mirror.h"
#include "console/window_settings.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "platform/console_output.h"
#include "platform/notification_center.h"
#include "shell/menu_controller.h"
#include "shell/vrel_app.h"
#include "system/desktop/sleep_inhibitor.h"
#include "system/desktop/window_desktop.h"
#include "system/dispatch/background_thread.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/standard_output.h"
#include "system/dispatch/system_clock.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/processes/child_processes.h"
#include "system/projection/system_projection.h"
#include "system/user_defaults/ini_user_defaults.h"
#include "visuals/visual_projection_window_controller.h"
#include "vrel/system_platform.h"

namespace vrel::app {

class UiThread;

/// The whole program except its window: state, engine, and what the window does. Main thread: the one on which it is
/// made.
class Session {
 public:
  /// Makes the session, which scans the plug-ins, and then the engine. All are borrowed; `runLog`, if there is one,
  /// gets each line that is printed.
  Session(system::MainLoop& loop, UiThread& window, ConsoleOutput* runLog);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// What the program does first once it is all there: settings of the devices, a first song, the menus.
  void start();

  void carryOut(const window::ConsoleCommands::Action& action);
  void setScreens(std::vector<NSScreen> screens);
  void windowResolved(bool isFullScreen, const std::optional<NSScreen>& screen);
  void windowCameToFront(const char* notification) { notifications_.post(notification); }
  /// Whether the preview of the stage gets the scenes.
  void watchStage(bool isWanted);
  /// X11's number of the window; 0 for none.
  void setWindowNumber(std::uint64_t window);
  /// A person asks whether the program may end.
  void requestTermination();
  /// The system ends the session, and does not wait forever.
  void systemEnds();
  void cancelQuestions() { desktop_.cancelQuestions(); }

  /// Asks about what an earlier run left unsaved.
  void offerUnsavedEdits() { unsavedEdits_.offer(); }

  [[nodiscard]] AppState& state() { return state_; }
  [[nodiscard]] AudioEngine& engine() { return *engine_; }
  [[nodiscard]] ContentView& content() { return content_; }
  [[nodiscard]] SetlistCollector& collector() { return collector_; }

 private:
  /// The log: on standard output and in the run's log, and its last failure in the window.
  class ConsoleLog final : public ConsoleOutput {
   public:
    ConsoleLog(Session& session, ConsoleOutput* runLog) : session_(session), runLog_(runLog) {}
    void print(const std::string& line) override { printFailure(FailureKind::other, line); }
    void printFailure(FailureKind kind, const std::string& line) override;
    void printInfo(const std::string& line) override;

   private:
    Session& session_;
    ConsoleOutput* runLog_;
    system::StandardOutput output_;
  };

  [[nodiscard]] EditorMedia editorMedia();
  [[nodiscard]] ContentView::SetlistTools setlistTools();
  void openStateFolder();
  void connectEditors();

  /// Drops the work that is left on the queue when everything that posts is gone. It may hold plug-ins, which still log
  /// as they end.
  struct UnrunWork {
    system::MainLoop& loop;
    explicit UnrunWork(system::MainLoop& mainLoop) : loop(mainLoop) {}
    ~UnrunWork();
    UnrunWork(const UnrunWork&) = delete;
    UnrunWork& operator=(const UnrunWork&) = delete;
  };

  // In construction order; each member uses those above it.
  system::MainLoop& loop_;
  UiThread& window_;
  ConsoleLog console_;
  UnrunWork unrunWork_{loop_};
  system::SystemClock clock_;
  system::FileCalls fileCalls_;
  system::PosixFileManager files_{fileCalls_};
  system::PosixFileManager cacheFiles_{fileCalls_};    // a thread's of the editors
  system::PosixFileManager unsavedFiles_{fileCalls_};  // a thread's of the unsaved edits
  // Both together end before the ShutdownWatchdog ends the program.
  system::BoundedQueueFactory readingQueues_{std::chrono::milliseconds(500)};
  system::BoundedQueueFactory copyingQueues_{std::chrono::seconds(5)};
  system::ChildProcesses processes_{loop_};
  system::IniUserDefaults defaults_{system::IniUserDefaults::userPath(), console_};
  SystemPlatform platform_;
  AppState state_;
  std::shared_ptr<AudioEngine> engine_;
  system::WindowDesktop desktop_;
  NSNotificationCenter notifications_;
  system::BackgroundThread background_{loop_};
  ContentView content_;
  SetlistCollector collector_;
  UnsavedEdits unsavedEdits_;  // ends before what may wait for a file
  WindowSettings settings_{defaults_};
  MeterReadings meterReadings_;
  PlayedNowSource playedNow_;
  window::MirrorSource mirrorSource_;
  window::ConsoleMirror mirror_;
  system::SystemProjection projectionWindows_;
  VrelVisualProjectionWindowController projection_;
  system::SleepInhibitor sleepInhibitor_;
  VrelMenuController menus_;
  window::ConsoleActions actions_;
  VrelApp app_;
  std::shared_ptr<void> menusShown_;
  std::shared_ptr<void> audioOutputShown_;
  std::shared_ptr<void> liveModeFollowed_;
  std::shared_ptr<void> projectionShown_;
  std::unique_ptr<RepeatingTimer> dropoutTimer_;
};

}  // namespace vrel::app
