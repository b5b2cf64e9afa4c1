// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/gate.h"
#include "platform/audio_unit.h"
#include "system/plugins/control_table.h"
#include "system/plugins/editor_place.h"
#include "system/plugins/sandbox/editor_supervisor.h"

namespace vrel {
class MainQueue;
struct KeyEvent;
}  // namespace vrel

namespace vrel::sandbox {

class EditorView;
class Guest;

/// A plug-in in a guest, for its editors; closed when the plug-in goes.
using GuestGate = Gate<Guest>;

/// The plug-ins' own editors, each in a process of its own. Main thread, but for `makeView`. All is borrowed and
/// outlives it.
///
/// An editor never touches the memory of the sound half: what is turned in it comes as a message, is checked, and waits
/// in the plug-in's table for the next block, as if the console had turned it.
class EditorService {
 public:
  struct Settings {
    std::shared_ptr<EditorSupervisor> supervisor;
    MainQueue& mainQueue;
    std::function<void(const std::string&)> log;  // any thread
  };

  /// What editors do to the rest of the program.
  struct Handlers {
    std::function<void()> edited;                         // a control was moved
    std::function<void(const KeyEvent& key)> keyPressed;  // that the editor has no use for
  };

  explicit EditorService(Settings settings) : settings_(std::move(settings)) {}

  void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }

  /// X11's number of the window that editors stay above; 0 while there is none.
  void setMainWindow(std::uint64_t window) { mainWindow_ = window; }

  /// Whether the keys of panic belong to the console while an editor has the keyboard; for those opened and to come.
  void takeStageKeys(bool areTaken);

  /// A view of the editor, which opens when its panel is shown. Any thread.
  [[nodiscard]] static std::shared_ptr<NSViewController> makeView(const std::shared_ptr<EditorService>& service,
                                                                  EditorPlace place, std::shared_ptr<GuestGate> guest,
                                                                  double sampleRate);

  /// Whether there is an X display to open editors on.
  [[nodiscard]] static bool hasDisplay();

  /// How many editors there are, those that are closing included. Any thread.
  [[nodiscard]] std::size_t editorCount() const { return settings_.supervisor->editorCount(); }

 private:
  friend class EditorView;

  const Settings settings_;
  Handlers handlers_;
  std::uint64_t mainWindow_ = 0;
  bool takesStageKeys_ = false;
  std::vector<std::weak_ptr<EditorView>> shown_;
};

}  // namespace vrel::sandbox
