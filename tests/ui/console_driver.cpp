// SPDX-License-Identifier: GPL-3.0-or-later
#include "console_driver.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPointF>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace vrel::app::test {
namespace {

using system::test::ChildProcess;

constexpr int patienceMs = 20000;
constexpr int pauseMs = 30;  // between the events of one gesture, as a quick hand makes it

/// An X server for the whole process, and Qt on it.
class Desktop {
 public:
  Desktop() {
    const std::string number = folder_.path().toStdString() + "/display";
    // The server chooses a free display and writes its number to the descriptor.
    server_.start({"sh", "-c", "exec Xvfb -displayfd 3 -screen 0 1440x900x24 -nolisten tcp 3>" + number},
                  folder_.path().toStdString() + "/xvfb.log");
    std::string display;
    if (!system::test::eventually([&] {
          std::ifstream file(number);
          return static_cast<bool>(std::getline(file, display)) && !display.empty();
        })) {
      throw std::runtime_error("Xvfb does not come up");
    }
    ::setenv("DISPLAY", (":" + display).c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    ::setenv("QT_QUICK_BACKEND", "software", 1);
    ::unsetenv("WAYLAND_DISPLAY");
    application_ = std::make_unique<QApplication>(argumentCount_, arguments_);
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
  }

 private:
  QTemporaryDir folder_;
  ChildProcess server_;
  int argumentCount_ = 1;
  char name_[9] = "ui_tests";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
};

void findIn(QQuickItem& item, const QString& name, QQuickItem*& found) {
  if (!item.isVisible()) {
    return;
  }
  if (item.objectName() == name) {
    found = &item;
  }
  const auto children = item.childItems();
  for (QQuickItem* child : children) {
    findIn(*child, name, found);
  }
}

}  // namespace

ConsoleDriver::ConsoleDriver() : folder_(std::make_unique<QTemporaryDir>()) {
  home_ = folder_->path().toStdString();
  ::setenv("HOME", home_.c_str(), 1);
  for (const auto* variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    ::unsetenv(variable);
  }
  static Desktop desktop;
}

ConsoleDriver::~ConsoleDriver() {
  close();
}

void ConsoleDriver::open() {
  hasQuit_ = false;
  program_ = std::make_unique<TwoSides>();
  program_->window.onQuit = [this] { hasQuit_ = true; };
  program_->start();
  if (!eventually([this] { return program_->window.quickWindow() != nullptr && isShown("panicButton"); })) {
    throw std::runtime_error("the window does not open");
  }
  program_->window.quickWindow()->requestActivate();
  eventually([this] { return program_->window.quickWindow()->isActive(); });
}

void ConsoleDriver::close() {
  program_.reset();
}

bool ConsoleDriver::eventually(const std::function<bool()>& holds) {
  QElapsedTimer time;
  time.start();
  while (!holds()) {
    if (time.elapsed() > patienceMs) {
      return holds();
    }
    pump(5);
  }
  return true;
}

void ConsoleDriver::pump(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
  loop.exec();
}

QQuickItem* ConsoleDriver::find(const std::string& name) const {
  QQuickItem* found = nullptr;
  if (auto* const window = program_->window.quickWindow()) {
    findIn(*window->contentItem(), QString::fromStdString(name), found);
  }
  return found;
}

bool ConsoleDriver::isShown(const std::string& name) const {
  return find(name) != nullptr;
}

QVariant ConsoleDriver::value(const std::string& name, const char* property) const {
  const QQuickItem* const item = find(name);
  return item != nullptr ? item->property(property) : QVariant();
}

QVariant ConsoleDriver::session(const char* name) {
  return program_->window.model().session()->value(QString::fromLatin1(name));
}

std::optional<QPointF> ConsoleDriver::screenPoint(const std::string& name, Place place) const {
  const QQuickItem* const item = find(name);
  if (item == nullptr) {
    return std::nullopt;
  }
  return item->mapToGlobal(QPointF(item->width() * place.x, item->height() * place.y));
}

void ConsoleDriver::pointTo(const std::string& name, Place place) {
  std::optional<QPointF> point;
  if (!eventually([&] {
        // Where it stays: an item that still moves is not where the pointer goes.
        const auto before = screenPoint(name, place);
        pump(pauseMs);
        point = screenPoint(name, place);
        return point && before == point;
      })) {
    throw std::runtime_error("nothing is shown under the name " + name);
  }
  xdotool("mousemove " + std::to_string(static_cast<int>(point->x())) + " " +
          std::to_string(static_cast<int>(point->y())));
  pump(pauseMs);
}

void ConsoleDriver::xdotool(const std::string& arguments) const {
  if (std::system(("xdotool " + arguments).c_str()) != 0) {
    throw std::runtime_error("xdotool failed: " + arguments);
  }
}

void ConsoleDriver::click(const std::string& name, Place place) {
  pointTo(name, place);
  xdotool("mousedown 1");
  pump(pauseMs);
  xdotool("mouseup 1");
  pump(pauseMs);
}

void ConsoleDriver::doubleClick(const std::string& name) {
  pointTo(name, {});
  xdotool("click --repeat 2 --delay 60 1");
  pump(pauseMs);
}

void ConsoleDriver::rightClick(const std::string& name) {
  pointTo(name, {});
  xdotool("click 3");
  pump(pauseMs);
}

void ConsoleDriver::drag(const std::string& from, const std::string& to, Place place) {
  pointTo(from, {});
  const auto start = screenPoint(from, {});
  const auto end = screenPoint(to, place);
  if (!start || !end) {
    throw std::runtime_error("nowhere to drag to: " + to);
  }
  xdotool("mousedown 1");
  pump(pauseMs);
  constexpr int steps = 12;
  for (int step = 1; step <= steps; ++step) {
    const QPointF point = *start + (*end - *start) * step / steps;
    xdotool("mousemove " + std::to_string(static_cast<int>(point.x())) + " " +
            std::to_string(static_cast<int>(point.y())));
    pump(pauseMs);
  }
  xdotool("mouseup 1");
  pump(pauseMs);
}

void ConsoleDriver::key(const std::string& name) {
  xdotool("key " + name);
  pump(pauseMs);
}

void ConsoleDriver::type(const std::string& text) {
  xdotool("type --delay 10 '" + text + "'");
  pump(pauseMs);
}

void ConsoleDriver::onLogic(const std::function<void(Program&)>& action) {
  bool isDone = false;
  program_->logic.postToProgram([&](Program& program) {
    action(program);
    QMetaObject::invokeMethod(
        qApp, [&isDone] { isDone = true; }, Qt::QueuedConnection);
  });
  if (!eventually([&] { return isDone; })) {
    throw std::runtime_error("the logic does not answer");
  }
}

}  // namespace vrel::app::test
