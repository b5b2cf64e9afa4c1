// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A stage with an X server: the zoo's window, whose editor is opened, seen and moved as a desktop does it.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/ui/virtual_display.h"
#include "system/plugins/sandbox/editor_messages.h"
#include "system/plugins/sandbox/sandbox_stage.h"

struct _XDisplay;

namespace vrel::editor {

using sandbox::EditorSize;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

/// The controls of the zoo's plug-ins with an editor of their own.
inline constexpr AUParameterAddress level = 2;
inline constexpr AUParameterAddress width = 3;

/// A client of the X server, in the place of a person and a window manager.
class Desktop {
 public:
  using Window = unsigned long;

  Desktop();
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  /// The windows of the desktop that are on the screen, from the bottom.
  [[nodiscard]] std::vector<Window> windows() const;
  /// The one with this title; 0 for none.
  [[nodiscard]] Window find(const std::string& title) const;
  /// The first window within another; 0 for none.
  [[nodiscard]] Window childOf(Window window) const;
  [[nodiscard]] EditorSize sizeOf(Window window) const;
  /// Where on the screen a place in the window is.
  [[nodiscard]] std::pair<int, int> onScreen(Window window, int x, int y) const;
  /// How many colours it shows, as far as they are counted.
  [[nodiscard]] std::size_t colors(Window window) const;
  [[nodiscard]] Window transientFor(Window window) const;

  /// Under a window manager: its windows, the one with this title, and what a taskbar asks of it.
  [[nodiscard]] bool hasWindowManager() const;
  [[nodiscard]] std::vector<Window> clients() const;
  /// Of two windows in frames.
  [[nodiscard]] bool isAbove(Window one, Window other) const;
  [[nodiscard]] Window findClient(const std::string& title) const;
  void closeClient(Window window) { askManager(window, "_NET_CLOSE_WINDOW", 0); }
  void activate(Window window) { askManager(window, "_NET_ACTIVE_WINDOW", 2); }

  /// A window of the whole screen, as the console's.
  [[nodiscard]] Window cover();
  void raise(Window window);
  void askToClose(Window window);
  /// Takes the connection from whoever has made it.
  void killOwner(Window window);
  void press(Window window, int x, int y);
  /// As press, by the pointer itself.
  void click(Window window, int x, int y);
  void pressKey(Window window, unsigned long symbol);
  /// By the keyboard itself, in the window that gets it.
  void type(Window window, const std::string& key);
  /// Whether no other client has taken the key within the window.
  [[nodiscard]] bool isFree(Window window, unsigned long symbol) const;
  /// As on a layout without this key.
  void removeKey(unsigned long symbol);

 private:
  [[nodiscard]] Window find(const std::vector<Window>& windows, const std::string& title) const;
  [[nodiscard]] std::vector<Window> windowsOfRoot(const char* property) const;
  [[nodiscard]] Window frameOf(Window window) const;
  void askManager(Window window, const char* message, long data);

  _XDisplay* const display_;
};

/// One editor that a test opens.
struct OpenEditor {
  std::shared_ptr<NSViewController> view;
  std::shared_ptr<NSPanel> panel;
  int arrivals = 0;
  int resizes = 0;
  int failures = 0;
  std::vector<AUParameterAddress> turned;
  std::vector<std::string> requestedFiles;
};

class EditorStage : public sandbox::SandboxStage {
 protected:
  explicit EditorStage(lv2::Bundles bundles = lv2::Bundles::zoo);
  ~EditorStage() override;

  /// How the next editors misbehave; see the zoo's window.
  static void misbehave(const std::string& how);

  [[nodiscard]] std::shared_ptr<NSViewController> request(AVAudioUnit& unit);
  /// Shows the editor's panel; does not wait for its view.
  [[nodiscard]] static std::shared_ptr<OpenEditor> show(std::shared_ptr<NSViewController> view,
                                                        const std::string& title);
  [[nodiscard]] std::shared_ptr<OpenEditor> show(AVAudioUnit& unit, const std::string& title = "Editor");
  /// Waits for the view too.
  [[nodiscard]] std::shared_ptr<OpenEditor> open(AVAudioUnit& unit, const std::string& title = "Editor");

  /// Whether it becomes true while the main queue runs.
  [[nodiscard]] bool comes(const std::function<bool()>& condition);
  [[nodiscard]] bool allAreGone() {
    return comes([this] { return editors_->editorCount() == 0 && desktop.windows().empty(); });
  }

  /// The process of the only editor: not its keeper, not the plug-in's guest.
  [[nodiscard]] int editorProcess() const;

  app::test::VirtualDisplay display_{1280, 800};
  Desktop desktop;
  std::shared_ptr<AVAudioUnit> unit_;  // the zoo's window, where the bundles are the zoo's
  int edits = 0;
  std::vector<KeyEvent> keys;
};

}  // namespace vrel::editor
