// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "system/plugins/editor/editor_window.h"
#include "system/plugins/editor/gtk_toolkit.h"
#include "system/plugins/editor/hosted_editor.h"
#include "system/plugins/editor/outside_windows.h"
#include "system/plugins/editor/window_guard.h"
#include "system/plugins/sandbox/messages.h"
#include "system/processes/file_descriptor.h"

namespace vrel::editor {

/// All that an editor does, in a process of its own or on a thread of its plug-in's process: one editor in one window,
/// opened once. One thread of ours, beside the window's guard; the editor may have others, whose lines of the log are
/// sent from there.
///
/// Failure: an editor that cannot be opened is reported to the console, and its process ends; so it does when the
/// console is gone. In the plug-in's process only the editor ends.
class EditorProgram {
 public:
  /// `access` is given in the plug-in's process.
  explicit EditorProgram(FileDescriptor socket, std::optional<PluginAccess> access = std::nullopt)
      : socket_(std::move(socket)), access_(access) {}

  /// Until the editor is closed, here or there. Returns the exit code.
  [[nodiscard]] int serve();

  /// Ends it soon, unless the editor hangs. Any thread.
  void askToEnd();

  /// Whether the display was lost in the plug-in's process, which has stopped the editor's thread for good. Any thread.
  [[nodiscard]] bool hasLostDisplay() const { return hasLostDisplay_; }

 private:
  [[nodiscard]] bool openAsAsked();
  [[nodiscard]] Outcome open(const sandbox::EditorRequest& request);
  [[nodiscard]] Outcome openWindow(const sandbox::EditorRequest& request);
  void embed();
  void run();
  void waitForWork(int milliseconds);
  void readMessages();
  void handle(const sandbox::Message& message);
  void moveWindows(sandbox::EditorMove move);
  void passOn();
  void sendWritten();
  void send(const sandbox::Message& message);
  void consoleIsGone();
  void loseDisplay();
  void finish();

  const FileDescriptor socket_;
  const std::optional<PluginAccess> access_;
  const std::function<void()> displayLost_ = [this] { loseDisplay(); };
  Mutex sending_;
  sandbox::MessageParser parser_;
  std::unique_ptr<EditorWindow> window_;     // around an editor that is put into one
  std::unique_ptr<OutsideWindows> outside_;  // or those that the editor opens
  std::unique_ptr<GtkToolkit> gtk_;          // where the editor is made of it
  std::unique_ptr<HostedEditor> editor_;     // ends first
  std::vector<sandbox::PortValue> written_;
  std::optional<sandbox::EditorSize> sentSize_;
  std::unique_ptr<WindowGuard> guard_;
  std::atomic<bool> isOver_{false};
  std::atomic<bool> hasLostDisplay_{false};
};

}  // namespace vrel::editor
