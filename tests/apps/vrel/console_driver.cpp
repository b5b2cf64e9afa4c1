// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel/console_driver.h"

#include <gtest/gtest.h>

#include <xcb/xcb.h>

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPointF>
#include <QProcess>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "support/ui/virtual_display.h"

namespace vrel::app::test {
namespace {

constexpr int timeoutMs = 60000;
constexpr int pauseMs = 30;  // between the events of one gesture, as a quick hand makes it

/// Warnings of QML, from its own thread, which is the test's.
std::vector<std::string>& qmlWarnings() {
  static std::vector<std::string> warnings;
  return warnings;
}

QtMessageHandler formerHandler = nullptr;

void noteMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  const bool isOfQml = message.startsWith(QLatin1String("QQml")) || message.startsWith(QLatin1String("QML")) ||
                       message.contains(QLatin1String("qrc:/qt/qml/Vrel"));
  if (type != QtDebugMsg && type != QtInfoMsg && isOfQml) {
    qmlWarnings().push_back(message.toStdString());
  }
  formerHandler(type, context, message);
}

/// Events that the driver has sent itself through the X server: all input that was sent before lies before them.
class Marks final : public QAbstractNativeEventFilter {
 public:
  static void send(WId window) {
    xcb_client_message_event_t mark{};
    mark.response_type = XCB_CLIENT_MESSAGE;
    mark.format = format;
    mark.window = static_cast<xcb_window_t>(window);
    mark.type = XCB_ATOM_INTEGER;
    auto* const server = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    xcb_send_event(server, 0, mark.window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&mark));
    xcb_flush(server);
  }

  bool nativeEventFilter(const QByteArray& /*type*/, void* message, qintptr* /*result*/) override {
    constexpr std::uint8_t kind = 0x7F;  // without the bit that says who has sent it
    const auto& event = *static_cast<const xcb_client_message_event_t*>(message);
    const bool isMark =
        (event.response_type & kind) == XCB_CLIENT_MESSAGE && event.format == format && event.type == XCB_ATOM_INTEGER;
    seen += isMark ? 1 : 0;
    return isMark;
  }

  static inline int seen = 0;

 private:
  static constexpr std::uint8_t format = 8;  // of Qt's own and the desktop's messages none has it
};

/// An X server for the whole process, and Qt on it.
class Desktop {
 public:
  Desktop() {
    application_.installNativeEventFilter(&marks_);
    QApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    formerHandler = qInstallMessageHandler(noteMessage);
  }

 private:
  VirtualDisplay display_{1440, 900, ConsoleDriver::secondMonitorWidth};
  int argumentCount_ = 1;
  char name_[9] = "ui_tests";
  char* arguments_[2] = {name_, nullptr};
  QApplication application_{argumentCount_, arguments_};
  Marks marks_;
};

/// Gone before the program's static objects are, which Qt needs to clear up.
class DesktopEnvironment : public testing::Environment {
 public:
  void SetUp() override { desktop_ = std::make_unique<Desktop>(); }
  void TearDown() override { desktop_.reset(); }

 private:
  std::unique_ptr<Desktop> desktop_;
};

const auto* const environment = testing::AddGlobalTestEnvironment(new DesktopEnvironment);

/// Lines and titles of menus go by their words.
bool isCalled(const QQuickItem& item, const QString& name) {
  return item.objectName() == name || ((item.inherits("QQuickMenuItem") || item.inherits("QQuickMenuBarItem")) &&
                                       item.property("text").toString() == name);
}

void findIn(QQuickItem& item, const QString& name, QQuickItem*& found) {
  if (!item.isVisible()) {
    return;
  }
  if (isCalled(item, name)) {
    found = &item;
  }
  const auto children = item.childItems();
  for (QQuickItem* child : children) {
    findIn(*child, name, found);
  }
}

QWidget* shownPanel() {
  const auto windows = QApplication::topLevelWidgets();
  for (QWidget* window : windows) {
    if (window->isVisible() && window->objectName() == QLatin1String("filePanel")) {
      return window;
    }
  }
  return nullptr;
}

}  // namespace

ConsoleDriver::ConsoleDriver() : folder_(std::make_unique<QTemporaryDir>()) {
  home_ = folder_->path().toStdString();
  moveHome(home_);
  ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
  ::setenv("VREL_RENDER", VREL_RENDER_PROGRAM, 1);
}

ConsoleDriver::~ConsoleDriver() {
  close();
}

void ConsoleDriver::open() {
  hasQuit_ = false;
  program_ = std::make_unique<Application>();
  program_->window.onQuit = [this] { hasQuit_ = true; };
  program_->start();
  // The menus come last but for the plug-ins, and move what lies below them.
  if (!eventually([this] {
        return program_->window.quickWindow() != nullptr && isShown("panicButton") && isShown("menu0") &&
               !session().isLookingForPlugins();
      })) {
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
    if (time.elapsed() > timeoutMs) {
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
  QQuickWindow* const console = program_->window.quickWindow();
  if (console == nullptr) {
    return nullptr;
  }
  findIn(*console->contentItem(), QString::fromStdString(name), found);
  for (QWindow* const window : QGuiApplication::topLevelWindows()) {
    auto* const editor = qobject_cast<QQuickWindow*>(window);
    if (found == nullptr && editor != nullptr && editor->isVisible() && editor->transientParent() == console) {
      findIn(*editor->contentItem(), QString::fromStdString(name), found);
    }
  }
  return found;
}

bool ConsoleDriver::isShown(const std::string& name) const {
  return find(name) != nullptr;
}

std::vector<std::string> ConsoleDriver::takeQmlWarnings() {
  return std::exchange(qmlWarnings(), {});
}

QVariant ConsoleDriver::value(const std::string& name, const char* property) const {
  const QQuickItem* const item = find(name);
  return item != nullptr ? item->property(property) : QVariant();
}

const window::StripViewModel& ConsoleDriver::strip(int row) {
  auto& strips = *program_->window.model().strips();
  auto* const item = strips.data(strips.index(row), window::MirrorList::entryRole).value<window::MirrorItem*>();
  return dynamic_cast<const window::StripViewModel&>(*item);
}

bool ConsoleDriver::isWaitingFor(window::learn_kind::Kind kind, int channel) {
  return session().pendingLearnKind() == kind && session().pendingLearnChannel() == channel;
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
  movePointer(*point);
}

void ConsoleDriver::movePointer(const QPointF& place) {
  gesture("mousemove " + std::to_string(static_cast<int>(place.x())) + " " +
          std::to_string(static_cast<int>(place.y())));
}

void ConsoleDriver::movePointerBy(int right, int down) {
  gesture("mousemove_relative -- " + std::to_string(right) + " " + std::to_string(down));
}

void ConsoleDriver::gesture(const std::string& arguments) {
  // It returns when the X server has sent the events.
  if (std::system(("xdotool " + arguments).c_str()) != 0) {
    throw std::runtime_error("xdotool failed: " + arguments);
  }
  takeInput();
  pump(pauseMs);
}

void ConsoleDriver::takeInput() {
  const int before = Marks::seen;
  Marks::send(program_->window.quickWindow()->winId());
  if (!eventually([before] { return Marks::seen > before; })) {
    throw std::runtime_error("the window takes in no events");
  }
  onLogic([](Session& /*session*/) {});
}

void ConsoleDriver::click(const std::string& name, Place place) {
  press(name, place);
  release();
}

void ConsoleDriver::press(const std::string& name, Place place) {
  pointTo(name, place);
  gesture("mousedown 1");
}

void ConsoleDriver::moveTo(const std::string& name, Place place) {
  if (const auto point = screenPoint(name, place)) {
    movePointer(*point);
  }
}

void ConsoleDriver::release() {
  gesture("mouseup 1");
}

void ConsoleDriver::clickStorm(const std::string& name, int clicks, Place place) {
  pointTo(name, place);
  // Beside the loop, which takes each as it comes.
  QProcess storm;
  storm.start(QStringLiteral("xdotool"), {QStringLiteral("click"), QStringLiteral("--repeat"), QString::number(clicks),
                                          QStringLiteral("--delay"), QStringLiteral("10"), QStringLiteral("1")});
  if (!eventually([&] { return storm.state() == QProcess::NotRunning; })) {
    throw std::runtime_error("the window does not keep up with a storm on " + name);
  }
  takeInput();
}

void ConsoleDriver::doubleClick(const std::string& name) {
  pointTo(name, {});
  gesture("click --repeat 2 --delay 60 1");
}

void ConsoleDriver::rightClick(const std::string& name) {
  pointTo(name, {});
  gesture("click 3");
}

void ConsoleDriver::drag(const std::string& from, const std::string& to, Place place, Place start) {
  pointTo(from, start);
  const auto first = screenPoint(from, start);
  const auto last = screenPoint(to, place);
  if (!first || !last) {
    throw std::runtime_error("nowhere to drag to: " + to);
  }
  gesture("mousedown 1");
  constexpr int steps = 12;
  for (int step = 1; step <= steps; ++step) {
    movePointer(*first + (*last - *first) * step / steps);
  }
  release();
}

void ConsoleDriver::key(const std::string& name) {
  gesture("key " + name);
}

void ConsoleDriver::holdKey(const std::string& name) {
  constexpr int longEnoughMs = 1200;  // a server of X repeats keys 25 times a second, from half a second on
  gesture("keydown " + name);
  pump(longEnoughMs);
  gesture("keyup " + name);
}

void ConsoleDriver::type(const std::string& text) {
  gesture("type --delay 10 '" + text + "'");
}

bool ConsoleDriver::isPanelShown() const {
  return shownPanel() != nullptr;
}

void ConsoleDriver::waitForPanel() {
  if (!eventually([] { return shownPanel() != nullptr; })) {
    throw std::runtime_error("no file is asked for");
  }
  // No window manager gives the keyboard to a new window here.
  shownPanel()->activateWindow();
  eventually([] { return shownPanel() == nullptr || shownPanel()->isActiveWindow(); });
}

void ConsoleDriver::answerPanel(const std::filesystem::path& file) {
  waitForPanel();
  key("ctrl+a");
  type(file.string());
  key("Return");
}

void ConsoleDriver::cancelPanel() {
  waitForPanel();
  key("Escape");
}

void ConsoleDriver::onLogic(const std::function<void(Session&)>& action) {
  passThroughLogic(action);
  passThroughLogic([](Session& /*session*/) {});  // behind what the window gets of it
}

void ConsoleDriver::passThroughLogic(const std::function<void(Session&)>& action) {
  bool isDone = false;
  program_->logic.postToSession([&](Session& session) {
    action(session);
    QMetaObject::invokeMethod(
        qApp, [&isDone] { isDone = true; }, Qt::QueuedConnection);
  });
  if (!eventually([&] { return isDone; })) {
    throw std::runtime_error("the logic does not answer");
  }
}

}  // namespace vrel::app::test
