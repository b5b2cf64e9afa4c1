// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/controls_editor.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/desktop.h"
#include "platform/plugin_editor.h"

namespace vrel {

class AppState;
class EditorPanels;
class MainQueue;
class RepeatingTimer;

/// The window of a plug-in as the logic has it; the mirror shows it. Main thread.
class EditorPanel final : public NSPanel {
 public:
  EditorPanel(std::shared_ptr<ControlsEditor> view, EditorPanels& owner) : controls(std::move(view)), owner_(owner) {}

  const Uuid id = Uuid::fresh();
  const std::shared_ptr<ControlsEditor> controls;
  Observable<std::string> title;
  Observable<NSSize> contentSize;
  Observable<int> centerings;  // how often it was centred
  Observable<int> raises;      // how often it was brought to the front

  void setTitle(const std::string& text) override { title.set(text); }
  void setContentSize(const NSSize& size) override { contentSize.set(size); }
  void center() override { centerings.set(centerings.get() + 1); }
  void makeKeyAndOrderFront() override;
  void orderFrontRegardless() override { raises.set(raises.get() + 1); }
  /// A desktop keeps a window above the one that it belongs to; where it does not, what has come to the front lies
  /// above.
  void orderAboveMainWindow() override;
  [[nodiscard]] bool isVisible() const override { return isVisible_; }
  void close() override;

 private:
  EditorPanels& owner_;
  bool isVisible_ = false;
  int frontings_ = 0;  // that it lies above of
};

/// The windows of plug-ins that are on the screen, and their values, which it keeps up to date. Main thread.
class EditorPanels final : public PluginEditorFactory {
 public:
  struct Collaborators {
    AppState& state;
    MainQueue& mainQueue;
    Desktop& desktop;
  };

  /// All are borrowed.
  explicit EditorPanels(const Collaborators& collaborators);
  ~EditorPanels() override;
  EditorPanels(const EditorPanels&) = delete;
  EditorPanels& operator=(const EditorPanels&) = delete;

  /// In the order in which they were opened.
  Observable<std::vector<std::shared_ptr<EditorPanel>>> shown;

  /// The panel with this id; null when it has been closed.
  [[nodiscard]] std::shared_ptr<EditorPanel> find(const std::string& id) const;

  /// The screen that the main window is on; panels have room on that one.
  void mainWindowIsOn(std::optional<NSScreen> screen) { mainScreen_ = std::move(screen); }

  /// The main window has come to the front, perhaps above its panels.
  void mainWindowCameToFront() { ++frontings_; }

  [[nodiscard]] std::shared_ptr<NSViewController> makeGenericView(const std::shared_ptr<AVAudioUnit>& unit) override;
  [[nodiscard]] std::shared_ptr<NSPanel> makePanel(const std::shared_ptr<NSViewController>& view) override;
  [[nodiscard]] std::optional<NSSize> visibleFrame() override;

 private:
  friend class EditorPanel;
  void show(EditorPanel& panel);
  void hide(const EditorPanel& panel);
  void refresh();

  AppState& state_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  std::optional<NSScreen> mainScreen_;
  std::vector<std::weak_ptr<EditorPanel>> made_;
  std::map<std::weak_ptr<AVAudioUnit>, std::shared_ptr<PresetChooser::Loaded>, std::owner_less<>> loadedPresets_;
  std::unique_ptr<RepeatingTimer> refreshTimer_;
  int frontings_ = 0;
};

}  // namespace vrel
