// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/observable.h"
#include "platform/desktop.h"
#include "shell/app_delegate.h"

namespace vrel {

class AppState;
class AudioEngine;
class ContentView;
class NSNotificationCenter;
class VrelMenuController;

/// What the program asks of its main window. Main thread.
class NSWindow {
 public:
  virtual ~NSWindow() = default;
  [[nodiscard]] virtual bool isFullScreen() const = 0;
  /// The screen it stands on; none while it stands on none.
  [[nodiscard]] virtual std::optional<NSScreen> screen() const = 0;
  /// Moves it there and draws it.
  virtual void setFrame(const ScreenRect& frame) = 0;
};

struct WindowSize {
  int width = 0;
  int height = 0;

  bool operator==(const WindowSize&) const = default;
};

/// The program around its main window: its first frame, and the settings that act on more than what is shown.
///
///   made               session and engine stand; settings are followed from here on
///   windowResolved     each time the window is known: its frame, once, and the menus
///   contentDidAppear   audio settings, then a first song
///
/// Opens no file by itself, neither at the start nor for the system. Closing the window ends nothing. Main thread.
class VrelApp {
 public:
  struct Collaborators {
    AppState& appState;
    const std::shared_ptr<AudioEngine>& audioEngine;
    ContentView& content;
    VrelMenuController& menus;
    NSNotificationCenter& notifications;
    Desktop& desktop;
  };

  /// All are borrowed and outlive this. The menus' Quit comes here.
  explicit VrelApp(const Collaborators& collaborators);
  ~VrelApp();
  VrelApp(const VrelApp&) = delete;
  VrelApp& operator=(const VrelApp&) = delete;

  [[nodiscard]] VrelAppDelegate& appDelegate() { return appDelegate_; }
  [[nodiscard]] bool didApplyInitialWindowFrame() const { return didApplyInitialWindowFrame_; }

  /// Of the window before anybody moves it: what may be used of the main screen, or 1440 by 900.
  [[nodiscard]] WindowSize defaultSize() const;

  /// The window is there, or has another state than before. It fills its screen the first time that it is not in full
  /// screen and there is a screen.
  void windowResolved(NSWindow& window);

  void contentDidAppear();

 private:
  [[nodiscard]] std::optional<NSScreen> mainScreen() const;
  void applyInitialFrame(NSWindow& window);
  void applyAudioSettings();
  void rebuildMenus();

  Collaborators with_;
  VrelAppDelegate appDelegate_;
  bool didApplyInitialWindowFrame_ = false;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel
