// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/result.h"
#include "platform/key_event.h"
#include "system/plugins/editor/window_keys.h"
#include "system/plugins/sandbox/editor_messages.h"

struct _XDisplay;  // NOLINT(bugprone-reserved-identifier): X11's name for a connection

namespace vrel::editor {

using sandbox::EditorMove;
using sandbox::EditorSize;

/// The window around a plug-in's editor: a window of the desktop that belongs to the console's. The editor puts a
/// window of its own into it, at any time and on a connection of its own.
///
/// Errors of X11, an editor's too, are ignored; a display that is gone ends the process, or, in that of the plug-in,
/// only the thread. One thread.
class EditorWindow {
 public:
  using Id = unsigned long;

  struct Settings {
    std::string title;
    EditorSize content;
    std::uint64_t mainWindow = 0;  // see EditorRequest
  };

  /// Before any other use of X11. Its errors end nothing from then on, until a library changes that.
  static void prepare();

  /// In the process of the plug-in, whose sound is to go on without the display: from now on a thread that loses it
  /// stops there, and so does this one when a library ends the process on it for that. This one calls `lost` before,
  /// which is borrowed until the next call; null for a thread without an editor.
  static void outliveDisplay(const std::function<void()>* lost);
  /// To be called when the libraries of the editor are loaded: before what they do at an exit.
  static void outliveExit();

  /// Whether a display answers.
  [[nodiscard]] static bool hasDisplay();

  /// Not on the screen yet.
  [[nodiscard]] static Result<std::unique_ptr<EditorWindow>> open(const Settings& settings);
  ~EditorWindow();
  EditorWindow(const EditorWindow&) = delete;
  EditorWindow& operator=(const EditorWindow&) = delete;

  [[nodiscard]] Id id() const { return id_; }
  /// Readable when there are events.
  [[nodiscard]] int descriptor() const;

  void show();
  /// The editor's own window within this one; 0 for the one that it has put there.
  void adopt(Id view);
  /// What the editor asked for; its window gets that size.
  void resizeView(const EditorSize& size);
  void setContentSize(const EditorSize& size);
  void move(EditorMove move);

  void handleEvents();

  /// Of the editor's own window; none before there is one.
  [[nodiscard]] std::optional<EditorSize> viewSize() const { return viewSize_; }
  /// Whether it is on the screen, and not put away by the window manager.
  [[nodiscard]] bool isMapped() const { return isMapped_; }
  [[nodiscard]] bool isClosed() const { return isClosed_; }
  /// Keys that the editor has not used, since the last call.
  [[nodiscard]] std::vector<KeyEvent> takeKeys() { return std::exchange(keys_, {}); }

 private:
  EditorWindow(_XDisplay* display, const Settings& settings);
  void describe(const Settings& settings);
  void limitSize();
  void placeView();
  void center();
  [[nodiscard]] bool hasWindowManager() const;

  _XDisplay* const display_;
  const Id root_;
  const Id mainWindow_;
  const Id id_;
  const unsigned long deleteAtom_;
  EditorSize content_;
  Id view_ = 0;
  std::optional<EditorSize> viewSize_;
  bool isMapped_ = false;
  bool isClosed_ = false;
  HeldKeys heldKeys_;
  std::vector<KeyEvent> keys_;
};

}  // namespace vrel::editor
