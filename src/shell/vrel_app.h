// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "platform/desktop.h"
#include "shell/app_delegate.h"

namespace vrel {

class AppState;
class AudioEngine;
class ContentView;
class MainQueue;
class NSNotificationCenter;
class VrelMenuController;

/// What the program asks of its main window. Main thread.
class NSWindow {
 public:
  virtual ~NSWindow() = default;
  [[nodiscard]] virtual bool isFullScreen() const = 0;
  /// The screen it is on; none while it is on none.
  [[nodiscard]] virtual std::optional<NSScreen> screen() const = 0;
  /// Moves it there and draws it.
  virtual void setFrame(const ScreenRect& frame) = 0;
};

struct WindowSize {
  int width = 0;
  int height = 0;

  bool operator==(const WindowSize&) const = default;
};

/// Of the window before anybody moves it: what may be used of the main screen, the first of them, or 1440 by 900.
[[nodiscard]] WindowSize defaultWindowSize(const std::vector<NSScreen>& screens);

/// The program around its main window: its first frame, and the settings that act on more than what is shown.
///
///   made               session and engine are there; settings are followed from here on
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
    MainQueue& mainQueue;
  };

  /// How long a system that ends waits for the person's answer.
  static constexpr double systemTimeoutSeconds = 30;

  /// All are borrowed and outlive this. The menus' Quit and the windows of their Help come here.
  explicit VrelApp(const Collaborators& collaborators);
  ~VrelApp();
  VrelApp(const VrelApp&) = delete;
  VrelApp& operator=(const VrelApp&) = delete;

  [[nodiscard]] VrelAppDelegate& appDelegate() { return appDelegate_; }
  [[nodiscard]] bool didApplyInitialWindowFrame() const { return didApplyInitialWindowFrame_; }

  /// The window is there, or has another state than before. It fills its screen the first time that it is not in full
  /// screen and there is a screen.
  void windowResolved(NSWindow& window);

  void contentDidAppear();

  /// The system is about to end. The person is asked as for every end. Where nobody answers the alert in time the
  /// program ends unsaved, which is still in better order than being killed; who has answered may take their time over
  /// a file's name.
  void systemEnds();

 private:
  void applyInitialFrame(NSWindow& window);
  void applyAudioSettings();
  void rebuildMenus();
  void endWithoutAnswerTo(std::uint64_t request);

  AppState& appState_;
  const std::shared_ptr<AudioEngine>& audioEngine_;
  ContentView& content_;
  VrelMenuController& menus_;
  Desktop& desktop_;
  MainQueue& mainQueue_;
  VrelAppDelegate appDelegate_;
  bool didApplyInitialWindowFrame_ = false;
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
};

}  // namespace vrel
