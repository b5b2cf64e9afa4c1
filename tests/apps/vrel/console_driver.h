// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QString>
#include <QVariant>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/devices/child_process.h"
#include "vrel/application.h"
#include "vrel/session.h"

class QObject;
class QQuickItem;
class QTemporaryDir;

namespace vrel::app::test {

/// Where in an item: proportions of its width and height.
struct Place {
  double x = 0.5;
  double y = 0.5;
};

/// The real program in this process, in a real window on an X server of the test's own, with a home of its own, moved
/// by real pointer and key events. One at a time. The test's thread is Qt's.
///
/// A gesture returns when the window has taken it in and shows what the logic has made of it; what takes its time, such
/// as a load or an animation, is waited for by `eventually`.
class ConsoleDriver {
 public:
  /// Of a second monitor to the right of the console's; 0 is none. To be set before the first test of the process.
  static inline int secondMonitorWidth = 0;

  /// The X server starts with the first test of the process.
  ConsoleDriver();
  ~ConsoleDriver();
  ConsoleDriver(const ConsoleDriver&) = delete;
  ConsoleDriver& operator=(const ConsoleDriver&) = delete;

  /// Opens the program and waits for its window.
  void open();
  /// Ends the program as its end by the guard does.
  void close();

  /// Runs Qt's loop until the answer is yes; the last answer after a timeout.
  bool eventually(const std::function<bool()>& holds);

  /// The item that can be seen under this name, in the console or in the window of a plug-in; null when there is none.
  /// Menus and their lines are found by their text.
  [[nodiscard]] QQuickItem* find(const std::string& name) const;
  [[nodiscard]] bool isShown(const std::string& name) const;
  /// A value of an item; invalid when it is not there.
  [[nodiscard]] QVariant value(const std::string& name, const char* property) const;
  /// What QML has complained about since the last call.
  [[nodiscard]] static std::vector<std::string> takeQmlWarnings();
  /// What QML reads of the program.
  [[nodiscard]] const window::SessionViewModel& session() { return *program_->window.model().session(); }
  [[nodiscard]] const window::TextsViewModel& texts() { return *program_->window.model().texts(); }
  [[nodiscard]] const window::StripViewModel& strip(int row);
  /// Whether MIDI Learn waits for the hardware of this control.
  [[nodiscard]] bool isWaitingFor(window::learn_kind::Kind kind, int channel);

  /// Lets the pointer rest on it.
  void pointAt(const std::string& name) { pointTo(name, {}); }
  void click(const std::string& name, Place place = {});
  void doubleClick(const std::string& name);
  void rightClick(const std::string& name);
  void drag(const std::string& from, const std::string& to, Place place = {}, Place start = {});
  /// The parts of a drag that does not end as it should. `release` acts wherever the pointer is.
  void press(const std::string& name, Place place = {});
  void moveTo(const std::string& name, Place place);
  /// To a place of the screen, and by a way on it, in pixels.
  void movePointer(const QPointF& place);
  void movePointerBy(int right, int down);
  void release();
  /// Clicks in one place, a hundred a second.
  void clickStorm(const std::string& name, int clicks, Place place = {});
  /// A key with its modifiers as xdotool calls it, such as "ctrl+s".
  void key(const std::string& name);
  /// Keeps it down until it must have repeated itself many times.
  void holdKey(const std::string& name);
  void type(const std::string& text);

  /// Whether a file is asked for.
  [[nodiscard]] bool isPanelShown() const;
  /// Waits for the panel that asks for a file, and types this one.
  void answerPanel(const std::filesystem::path& file);
  void cancelPanel();

  /// Runs it on the logic's thread, and waits until the window shows what it has changed.
  void onLogic(const std::function<void(Session&)>& action);
  template <typename T>
  [[nodiscard]] T fromLogic(const std::function<T(Session&)>& get) {
    std::optional<T> got;
    onLogic([&](Session& session) { got = get(session); });
    return *got;
  }

  [[nodiscard]] const std::filesystem::path& home() const { return home_; }
  [[nodiscard]] bool hasQuit() const { return hasQuit_; }
  [[nodiscard]] Application& program() { return *program_; }

 private:
  void waitForPanel();
  void pointTo(const std::string& name, Place place);
  void pump(int milliseconds);
  void gesture(const std::string& arguments);
  void takeInput();
  void passThroughLogic(const std::function<void(Session&)>& action);
  [[nodiscard]] std::optional<QPointF> screenPoint(const std::string& name, Place place) const;

  std::unique_ptr<QTemporaryDir> folder_;
  std::filesystem::path home_;
  std::unique_ptr<Application> program_;
  bool hasQuit_ = false;
};

}  // namespace vrel::app::test
