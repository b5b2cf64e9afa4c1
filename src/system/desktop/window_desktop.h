// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "foundation/observable.h"
#include "platform/desktop.h"

namespace vrel::system {

class MainLoop;

/// What the window does for the logic. Called on the main thread; the window lives on another, so each operation only
/// passes the request on, and an answer comes back on the main queue.
class WindowServices {
 public:
  /// The chosen file, or none; to be called once, on the main thread.
  using PanelAnswer = std::function<void(const std::optional<std::filesystem::path>&)>;

  virtual ~WindowServices() = default;
  virtual void showOpenPanel(const NSOpenPanel& panel, PanelAnswer answer) = 0;
  virtual void showSavePanel(const NSSavePanel& panel, PanelAnswer answer) = 0;
  /// Cancels the open panels; each still answers.
  virtual void cancelPanels() = 0;
  virtual void activate() = 0;
  virtual void clearFocus() = 0;
  virtual void quit() = 0;
};

/// The desktop as seen from the main thread, with a window on a thread of its own.
///
/// A question runs the main loop until it is answered, so notes go on sounding. Of nested questions the last
/// one is shown and answered first. An open panel would cover a later alert and keep it from being answered, so it is
/// cancelled. A second panel is not opened. Main thread; all is borrowed.
class WindowDesktop final : public Desktop {
 public:
  WindowDesktop(MainLoop& loop, WindowServices& window) : loop_(loop), window_(window) {}

  /// The alert that waits for an answer; the window shows it.
  Observable<std::optional<NSAlert>> shownAlert;

  /// The user's answer to it: the index of a button, or none. Ignored when no alert is shown or there is no such
  /// button.
  void answerAlert(std::optional<std::size_t> button);

  /// The screens as the window's thread finds them.
  void setScreens(std::vector<NSScreen> screens) { screens_ = std::move(screens); }

  /// Cancels all open questions and every later one.
  void cancelQuestions();

  [[nodiscard]] std::optional<std::size_t> runModal(const NSAlert& alert) override;
  [[nodiscard]] bool isAlertShown() const override { return shownAlert.get().has_value(); }
  [[nodiscard]] std::optional<std::filesystem::path> runModal(const NSOpenPanel& panel) override;
  [[nodiscard]] std::optional<std::filesystem::path> runModal(const NSSavePanel& panel) override;
  [[nodiscard]] std::vector<NSScreen> screens() override { return screens_; }
  void activateApplication() override { window_.activate(); }
  void makeNothingFirstResponder() override { window_.clearFocus(); }
  void replyToApplicationShouldTerminate(bool shouldTerminate) override;

 private:
  struct Question {
    NSAlert alert;
    bool isAnswered = false;
    std::optional<std::size_t> answer;
  };

  void showTopQuestion();
  [[nodiscard]] std::optional<std::filesystem::path> waitForPanel(
      const std::function<void(WindowServices::PanelAnswer)>& show);

  MainLoop& loop_;
  WindowServices& window_;
  std::vector<NSScreen> screens_;
  std::vector<std::shared_ptr<Question>> questions_;  // the last one is shown
  int openPanels_ = 0;
  bool isCancelled_ = false;
};

}  // namespace vrel::system
