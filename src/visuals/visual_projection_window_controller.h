// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "foundation/observable.h"
#include "platform/desktop.h"
#include "visuals/visual_projection_view.h"

namespace vrel {

class AppState;
class MainQueue;
class ProjectionWindow;
class ProjectionWindowFactory;
class VideoFactory;
class VrelVisualEngine;

/// The window of the projection, of which there is never more than one. Clips run with it and without it.
///
///   closed   no window, or one that a person has closed, which is used again
///   open     shown on its screen
///   away     open, but its screen is gone: shown nowhere until that screen is back, and then as it was
///
/// Without a factory it is always closed. Main thread.
class VrelVisualProjectionWindowController {
 public:
  struct Collaborators {
    AppState& state;
    VrelVisualEngine& visualEngine;
    Desktop& desktop;
    MainQueue& mainQueue;
    VideoFactory* videos;              // null: no background video
    ProjectionWindowFactory* windows;  // null: no window
  };

  /// All are borrowed and outlive this.
  explicit VrelVisualProjectionWindowController(const Collaborators& collaborators);
  ~VrelVisualProjectionWindowController();
  VrelVisualProjectionWindowController(const VrelVisualProjectionWindowController&) = delete;
  VrelVisualProjectionWindowController& operator=(const VrelVisualProjectionWindowController&) = delete;

  /// Open or away.
  [[nodiscard]] bool isOpen() const { return isProjecting.get(); }
  Observable<bool> isProjecting{false};

  /// Opens it, and moves it to the screen; without one it stays where it is. Full screen is entered only, not left.
  void open(const std::optional<NSScreen>& screen, bool fullScreen);

  /// Shows the session's blend mode and background video in an open window.
  void updateContent();

  /// Opens it first where it is closed: where it was, or on the main screen.
  void toggleFullScreen();

  /// The window is not used again.
  void close();

  // Covers of what is shown; both end with it.
  Observable<bool> isBlack{false};
  Observable<bool> isTestPictureShown{false};  // says which screen it is, and how large
  /// No effect while it is closed.
  void setBlack(bool isWanted);
  void setTestPictureShown(bool isWanted);

  /// Gets each scene that the window shows, or would show while it is closed, from now on; null for nobody. The
  /// background video plays for it as for the window.
  void setWatcher(VrelVisualProjectionView::Show watcher);

  /// Screens have come, gone or changed.
  void screensChanged();

 private:
  [[nodiscard]] VrelVisualProjectionView::Content content() const;
  void makeWindow();
  void makeView();
  void endProjection();
  void retitle();
  void moveTo(const NSScreen& screen);
  void show(bool inFullScreen);
  [[nodiscard]] bool isFullScreen() const;
  void disappear();
  void uncover();
  [[nodiscard]] std::string testPicture() const;
  void leave();
  void comeBack(const NSScreen& screen);

  AppState& state_;
  VrelVisualEngine& visualEngine_;
  Desktop& desktop_;
  MainQueue& mainQueue_;
  VideoFactory* const videos_;
  ProjectionWindowFactory* const windows_;
  std::shared_ptr<ProjectionWindow> window_;
  VrelVisualProjectionView::Show watcher_;
  std::unique_ptr<VrelVisualProjectionView> view_;  // while it is open or watched
  std::optional<NSScreen> screen_;                  // where it is open, or was
  bool isAway_ = false;
  bool returnsInFullScreen_ = false;  // while it is away
  std::shared_ptr<void> languageFollowed_;
};

}  // namespace vrel
