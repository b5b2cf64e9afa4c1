// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/result.h"
#include "system/plugins/sandbox/editor_messages.h"

namespace vrel::editor {

/// Gtk 2, for the editors that are made of it: loaded at run time, where it is installed, and never linked. One thread,
/// that of the editor.
class GtkToolkit {
 public:
  using Widget = void*;
  using WindowId = unsigned long;

  /// Before the editor's library is loaded. Changes X11's error handler, which is to be set again.
  [[nodiscard]] static Result<std::unique_ptr<GtkToolkit>> load();
  ~GtkToolkit();
  GtkToolkit(const GtkToolkit&) = delete;
  GtkToolkit& operator=(const GtkToolkit&) = delete;

  /// Puts the editor's widget into a window within X11's window `parent`. Returns that window.
  [[nodiscard]] WindowId embed(Widget widget, WindowId parent);

  /// What the embedded widget asks for.
  [[nodiscard]] sandbox::EditorSize wantedSize() const;

  /// Handles what has come in.
  void handleEvents();

  /// Removes the window; the widget has gone by then.
  void removeWindow();

 private:
  struct Functions;
  explicit GtkToolkit(std::unique_ptr<const Functions> functions);

  const std::unique_ptr<const Functions> functions_;
  Widget plug_ = nullptr;
};

}  // namespace vrel::editor
