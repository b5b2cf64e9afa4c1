// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "system/plugins/editor/editor_window.h"
#include "system/plugins/editor/gtk_toolkit.h"
#include "system/plugins/editor/hosted_editor.h"
#include "system/plugins/sandbox/file_descriptor.h"
#include "system/plugins/sandbox/messages.h"

namespace vrel::editor {

/// The whole of an editor's process: one editor in one window, opened once. One thread of ours; the editor may have
/// others, whose lines of the log are sent from there.
///
/// Failure: an editor that cannot be opened is reported to the program, and the process ends; so it does when the
/// program is gone.
class EditorProgram {
 public:
  explicit EditorProgram(sandbox::FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Until the editor is closed, here or there. Returns the exit code.
  [[nodiscard]] int serve();

 private:
  [[nodiscard]] Outcome open(const sandbox::EditorRequest& request);
  void embed();
  void run();
  void waitForWork(int milliseconds);
  void readMessages();
  void handle(const sandbox::Message& message);
  void passOn();
  void sendWritten();
  void send(const sandbox::Message& message);

  const sandbox::FileDescriptor socket_;
  Mutex sending_;
  sandbox::MessageParser parser_;
  std::unique_ptr<EditorWindow> window_;
  std::unique_ptr<GtkToolkit> gtk_;       // where the editor is made of it
  std::unique_ptr<HostedEditor> editor_;  // ends first
  std::vector<sandbox::PortValue> written_;
  std::optional<sandbox::EditorSize> sentSize_;
  bool isOver_ = false;
};

}  // namespace vrel::editor
