// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFileDialog>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "console/window/console_model.h"
#include "platform/desktop.h"
#include "system/desktop/window_desktop.h"
#include "system/projection/stage_preview.h"
#include "system/projection/system_projection.h"
#include "vrel/keys.h"
#include "vrel/widgets.h"

class QKeyEvent;
class QPointF;
class QQuickWindow;
class QQmlComponent;
class QQmlEngine;
class QScreen;

namespace vrel::app {

/// The window, on the thread that Qt knows as its own: shows what the logic sends, and takes what a person does to it.
/// It opens with the first that is sent, and empty when that takes long: what the logic waits for at its start, a sound
/// server say, does not hold up the window. One that cannot be made ends Qt's loop with a failure.
///
/// The logic calls the `WindowServices` on the main thread; each call is posted here. Nothing here waits for the logic.
class UiThread final : public QObject, public system::WindowServices {
  Q_OBJECT

 public:
  /// Runs something on the main thread, or drops it when the logic is gone. Any thread.
  using PostToLogic = std::function<void(std::function<void()>)>;

  UiThread(window::ConsoleCommands::Post postCommand, PostToLogic postToLogic);
  ~UiThread() override;

  [[nodiscard]] window::ConsoleModel& model() { return model_; }
  /// The projection's, which draw on threads of their own.
  [[nodiscard]] system::StageWindows& stageWindows() { return stageWindows_; }
  /// Its pictures go to the model.
  [[nodiscard]] system::StagePreview& stagePreview() { return stagePreview_; }
  /// Null before it is made.
  [[nodiscard]] QQuickWindow* quickWindow() const { return quickWindow_; }

  /// The screens, at first and whenever they change.
  std::function<void(std::vector<NSScreen>)> onScreens;
  /// The window is there, or has another state or screen than before.
  std::function<void(bool isFullScreen, const std::optional<NSScreen>& screen)> onWindowResolved;
  /// A window of the program has come to the front, with the name that the platform has for that.
  std::function<void(const char* notification)> onFront;
  /// X11's number of the window; 0 where it has none.
  std::function<void(std::uint64_t window)> onWindowNumber;
  /// The preview of the stage is looked at, or no longer.
  std::function<void(bool isWatched)> onStageWatched;
  /// The window manager wants the window closed.
  std::function<void()> onCloseRequest;
  /// The system ends the session.
  std::function<void()> onSystemEnd;
  /// The program may end; ends Qt's loop by default.
  std::function<void()> onQuit;

  /// Reads what the window is made of, and from then on opens it.
  void open();

  /// Hides the window and its file panels for good.
  void leaveScreen();

  /// Any thread; `taken` is called on the main thread when it is shown.
  void apply(window::MirrorBatch batch, std::function<void()> taken);
  void setWindowFrame(const ScreenRect& frame);
  /// In front of the other programs' windows. Qt's thread.
  void comeForward();
  /// In the desktop's file manager; without one, nothing opens.
  void openFolder(const std::filesystem::path& folder);

  // Main thread.
  void showOpenPanel(const NSOpenPanel& panel, PanelAnswer answer) override;
  void showSavePanel(const NSSavePanel& panel, PanelAnswer answer) override;
  void cancelPanels() override;
  void activate() override;
  void clearFocus() override;
  void quit() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void here(std::function<void()> action);
  /// Makes the window, unless it is there or cannot be made; that ends Qt's loop.
  void load();
  [[nodiscard]] bool makeWindow();
  void followWindow();
  void askForFile(const FilePanel::Request& request, PanelAnswer answer);
  void raisePanel();
  void watchStage();
  [[nodiscard]] static std::vector<NSScreen> screens();
  void followScreen(const QScreen& screen);
  void reportScreens();
  void reportWindow();
  void reportFront(const char* notification);
  /// The object as the console's window or the window of a plug-in; null for all else.
  [[nodiscard]] const QQuickWindow* consoleWindow(const QObject* object) const;
  [[nodiscard]] bool handleKey(QKeyEvent& event, const QQuickWindow& window);
  /// A press anywhere in the window, ahead of its items. Whether nothing else may see it.
  [[nodiscard]] bool handlePress(const QPointF& place);

  PostToLogic postToLogic_;
  window::ConsoleModel model_;
  PanelTranslator panelTranslator_{[this] { return model_.texts()->language(); }};
  KeyRepeat keyRepeat_;
  QTimer frames_;
  QString panelFolder_ = QDir::homePath();     // where the last file was chosen
  std::vector<QPointer<QFileDialog>> panels_;  // null when they have been answered; they delete themselves then
  system::StageWindows stageWindows_;
  system::StagePreview stagePreview_;
  std::unique_ptr<QQmlEngine> engine_;
  std::unique_ptr<QQmlComponent> description_;  // of the window
  std::unique_ptr<QObject> root_;
  QQuickWindow* quickWindow_ = nullptr;  // the root
};

}  // namespace vrel::app
