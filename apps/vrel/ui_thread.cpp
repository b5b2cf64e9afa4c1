// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/ui_thread.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPointF>
#include <QPointerEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QSize>
#include <QUrl>
#include <QVariant>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <utility>

#include "console/content_view.h"
#include "performance/live_mode.h"
#include "platform/key_event.h"
#include "platform/notification_center.h"
#include "shell/vrel_app.h"
#include "system/projection/screen_description.h"
#include "vrel/keys.h"

namespace vrel::app {
namespace {

constexpr int framesPerSecond = 60;

// For what the logic has to show at first. With what comes before and after it the window is there within 300 ms.
constexpr auto longestWait = std::chrono::milliseconds(50);

/// Whether the compositor alone places windows, and knows the space that panels leave.
bool isOnWayland() {
  return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

bool isTextField(const QQuickItem* item) {
  return item != nullptr && (item->inherits("QQuickTextInput") || item->inherits("QQuickTextEdit")) &&
         !item->property("readOnly").toBool();
}

/// Whether a key that is a command in Live mode is typed into a field instead. A field for digits takes no others.
bool isForTheField(const LiveMode::Command& command, const QQuickItem* focused) {
  using Kind = LiveMode::Command::Kind;
  if (!isTextField(focused) || command.kind == Kind::exclusiveSolo) {
    return false;
  }
  const auto hints = focused->property("inputMethodHints").value<Qt::InputMethodHints>();
  const bool isDigit = command.kind == Kind::channelMute || command.kind == Kind::masterMute;
  return isDigit || !hints.testFlag(Qt::ImhDigitsOnly);
}

/// Whether an item can be seen at a place of the window.
bool isAt(const QQuickItem& item, const QPointF& place) {
  return item.isVisible() && item.contains(item.mapFromScene(place));
}

/// Whether a menu or another popup is open, which keeps presses from what lies below.
bool hasPopup(const QQuickWindow& window) {
  const auto layers = window.contentItem()->childItems();
  return std::any_of(layers.begin(), layers.end(),
                     [](const QQuickItem* layer) { return layer->inherits("QQuickOverlay") && layer->isVisible(); });
}

}  // namespace

UiThread::UiThread(window::ConsoleCommands::Post postCommand, PostToLogic postToLogic)
    : postToLogic_(std::move(postToLogic)), model_(std::move(postCommand)) {
  // Not `quit`, which a window may refuse: this one refuses to be closed.
  onQuit = [] { QCoreApplication::exit(EXIT_SUCCESS); };
  stagePreview_.onPicture = [this](const QImage& picture) { model_.stage()->setPicture(picture); };
  connect(model_.stage(), &window::StageBoard::isWatchedChanged, this, &UiThread::watchStage);
  frames_.setTimerType(Qt::PreciseTimer);
  frames_.setInterval(1000 / framesPerSecond);
  connect(&frames_, &QTimer::timeout, this, [this] {
    if (quickWindow_ != nullptr && quickWindow_->isExposed()) {
      Q_EMIT model_.meters()->frame();
      model_.performance()->pull();
    }
  });
}

UiThread::~UiThread() {
  leaveScreen();
}

void UiThread::watchStage() {
  const bool isWatched = model_.stage()->isWatched();
  if (isWatched) {
    stagePreview_.show();
  } else {
    stagePreview_.hide();
  }
  if (onStageWatched) {
    onStageWatched(isWatched);
  }
}

void UiThread::leaveScreen() {
  frames_.stop();
  stagePreview_.hide();
  stageWindows_.hideAll();
  for (const auto& panel : std::exchange(panels_, {})) {
    delete panel.data();
  }
  for (QWindow* const window : QGuiApplication::topLevelWindows()) {
    if (quickWindow_ != nullptr && consoleWindow(window) != nullptr) {
      window->hide();
    }
  }
}

void UiThread::open() {
  window::registerQmlTypes();
  engine_ = std::make_unique<QQmlEngine>();
  engine_->addImportPath(QStringLiteral("qrc:/qt/qml"));
  description_ =
      std::make_unique<QQmlComponent>(engine_.get(), QUrl(QStringLiteral("qrc:/qt/qml/Vrel/Console/qml/Main.qml")));
  QTimer::singleShot(longestWait, this, &UiThread::load);
}

void UiThread::load() {
  if (quickWindow_ != nullptr || description_ == nullptr) {
    return;
  }
  if (makeWindow()) {
    followWindow();
    return;
  }
  description_.reset();
  QCoreApplication::exit(EXIT_FAILURE);
}

bool UiThread::makeWindow() {
  const WindowSize size = defaultWindowSize(screens());
  root_.reset(
      description_->createWithInitialProperties({{QStringLiteral("desk"), QVariant::fromValue(&model_)},
                                                 {QStringLiteral("openingSize"), QSize(size.width, size.height)},
                                                 {QStringLiteral("opensMaximized"), isOnWayland()}}));
  for (const auto& error : description_->errors()) {
    qWarning().noquote() << error.toString();
  }
  quickWindow_ = qobject_cast<QQuickWindow*>(root_.get());
  return quickWindow_ != nullptr;
}

void UiThread::followWindow() {
  // Ahead of every control of the window, whichever has the focus.
  qApp->installEventFilter(this);
  QCoreApplication::installTranslator(&panelTranslator_);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](const QScreen* screen) {
    followScreen(*screen);
    reportScreens();
  });
  for (const QScreen* const screen : QGuiApplication::screens()) {
    followScreen(*screen);
  }
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, &UiThread::reportScreens);
  connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &UiThread::reportScreens);
  connect(quickWindow_, &QWindow::visibilityChanged, this, &UiThread::reportWindow);
  connect(quickWindow_, &QWindow::screenChanged, this, &UiThread::reportWindow);
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
    if (state == Qt::ApplicationActive) {
      reportFront(applicationDidBecomeActiveNotification);
    }
  });
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* window) {
    if (window != nullptr) {
      reportFront(windowDidBecomeKeyNotification);
    }
    if (window == quickWindow_) {
      reportFront(windowDidBecomeMainNotification);
    }
  });
  reportScreens();
  reportWindow();
  if (onWindowNumber) {
    onWindowNumber(QGuiApplication::platformName() == QLatin1String("xcb") ? quickWindow_->winId() : 0);
  }
  frames_.start();
}

std::vector<NSScreen> UiThread::screens() {
  std::vector<NSScreen> screens;
  const QScreen* const main = QGuiApplication::primaryScreen();
  if (main != nullptr) {
    screens.push_back(system::describeScreen(*main));
  }
  for (const QScreen* screen : QGuiApplication::screens()) {
    if (screen != main) {
      screens.push_back(system::describeScreen(*screen));
    }
  }
  return screens;
}

void UiThread::followScreen(const QScreen& screen) {
  connect(&screen, &QScreen::geometryChanged, this, &UiThread::reportScreens);
  connect(&screen, &QScreen::availableGeometryChanged, this, &UiThread::reportScreens);
}

void UiThread::reportScreens() {
  if (onScreens) {
    onScreens(screens());
  }
}

void UiThread::reportWindow() {
  const QScreen* const screen = quickWindow_->screen();
  if (onWindowResolved) {
    onWindowResolved(quickWindow_->visibility() == QWindow::FullScreen,
                     screen != nullptr ? std::optional(system::describeScreen(*screen)) : std::nullopt);
  }
}

void UiThread::reportFront(const char* notification) {
  if (onFront) {
    onFront(notification);
  }
}

void UiThread::here(std::function<void()> action) {
  QMetaObject::invokeMethod(this, std::move(action), Qt::QueuedConnection);
}

void UiThread::apply(window::MirrorBatch batch, std::function<void()> taken) {
  here([this, batch = std::move(batch), taken = std::move(taken)] {
    model_.apply(batch);
    postToLogic_(taken);
    load();
  });
}

void UiThread::setWindowFrame(const ScreenRect& frame) {
  here([this, frame] {
    if (quickWindow_ != nullptr && !isOnWayland()) {
      quickWindow_->setGeometry(frame.x, frame.y, frame.width, frame.height);
    }
  });
}

void UiThread::comeForward() {
  if (quickWindow_ != nullptr) {
    quickWindow_->raise();
    quickWindow_->requestActivate();
  }
}

void UiThread::openFolder(const std::filesystem::path& folder) {
  here([name = QString::fromStdString(folder.string())] {
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(name))) {
      qInfo("No program opens folders here; this one is %s", qUtf8Printable(name));
    }
  });
}

void UiThread::showOpenPanel(const NSOpenPanel& panel, PanelAnswer answer) {
  here([this, panel, answer = std::move(answer)] {
    askForFile({QFileDialog::AcceptOpen, panel.allowedType, {}, panel.directory}, answer);
  });
}

void UiThread::showSavePanel(const NSSavePanel& panel, PanelAnswer answer) {
  here([this, panel, answer = std::move(answer)] {
    askForFile({QFileDialog::AcceptSave, panel.allowedType, panel.suggestedName, panel.directory}, answer);
  });
}

void UiThread::askForFile(const FilePanel::Request& request, PanelAnswer answer) {
  const QString folder = QString::fromStdString(request.directory.value_or(std::filesystem::path()).string());
  auto* const dialog = new FilePanel(request, model_.texts()->language(),
                                     QDir(folder).exists() && !folder.isEmpty() ? folder : panelFolder_);
  std::erase_if(panels_, [](const auto& panel) { return panel.isNull(); });
  panels_.emplace_back(dialog);
  connect(dialog, &QFileDialog::finished, this, [this, dialog, answer = std::move(answer)](int result) {
    std::optional<std::filesystem::path> file;
    if (result == QDialog::Accepted && !dialog->selectedFiles().isEmpty()) {
      file = dialog->selectedFiles().constFirst().toStdString();
      panelFolder_ = dialog->directory().absolutePath();
    }
    model_.setPanelShown(false);
    postToLogic_([answer, file] { answer(file); });
  });
  model_.setPanelShown(true);
  dialog->winId();  // makes its window
  // In front of the console on every desktop. The console covers itself but for its panic, which a modal window of the
  // desktop would not let through.
  dialog->windowHandle()->setTransientParent(quickWindow_);
  dialog->show();
  raisePanel();
}

void UiThread::raisePanel() {
  if (!panels_.empty() && panels_.back() != nullptr) {
    panels_.back()->raise();
    panels_.back()->activateWindow();
  }
}

void UiThread::cancelPanels() {
  here([this] {
    for (const auto& panel : std::exchange(panels_, {})) {
      if (panel != nullptr) {
        panel->reject();
      }
    }
  });
}

void UiThread::activate() {
  here([this] {
    if (quickWindow_ != nullptr && QGuiApplication::applicationState() != Qt::ApplicationActive) {
      quickWindow_->requestActivate();
    }
  });
}

void UiThread::clearFocus() {
  here([this] {
    if (quickWindow_ != nullptr && quickWindow_->activeFocusItem() != nullptr) {
      quickWindow_->contentItem()->forceActiveFocus();
    }
  });
}

void UiThread::quit() {
  here([this] { onQuit(); });
}

bool UiThread::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
      if (const auto* const window = consoleWindow(watched)) {
        return handleKey(*static_cast<QKeyEvent*>(event), *window);
      }
      return false;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
      return watched == quickWindow_ && handlePress(static_cast<QPointerEvent*>(event)->point(0).scenePosition());
    case QEvent::Quit:
      // The program itself ends its loop in another way.
      if (watched == qApp && onSystemEnd) {
        event->ignore();
        onSystemEnd();
        return true;
      }
      return false;
    case QEvent::Close:
      // The program ends by its guard only; the window stays as long as the program.
      if (watched == quickWindow_) {
        event->ignore();
        if (onCloseRequest) {
          onCloseRequest();
        }
        return true;
      }
      return false;
    default:
      return false;
  }
}

bool UiThread::handlePress(const QPointF& place) {
  const bool isCovered =
      model_.alert()->isShown() || model_.session()->isLoading() || model_.isPanelShown() || hasPopup(*quickWindow_);
  auto* const panic = quickWindow_->findChild<QQuickItem*>(QStringLiteral("panicButton"));
  if (isCovered && panic != nullptr && isAt(*panic, place)) {
    QMetaObject::invokeMethod(panic, "act");
    return true;
  }
  if (model_.isPanelShown()) {
    raisePanel();
    return true;
  }
  // A press elsewhere drops the caret, also one on empty space.
  auto* const focused = quickWindow_->activeFocusItem();
  if (isTextField(focused) && !isAt(*focused, place)) {
    focused->setFocus(false, Qt::MouseFocusReason);
  }
  return false;
}

const QQuickWindow* UiThread::consoleWindow(const QObject* object) const {
  const auto* const window = qobject_cast<const QQuickWindow*>(object);
  return window != nullptr && (window == quickWindow_ || window->transientParent() == quickWindow_) ? window : nullptr;
}

bool UiThread::handleKey(QKeyEvent& event, const QQuickWindow& window) {
  const bool isHeld = keyRepeat_.isOfHeldKey(event);
  if (event.type() == QEvent::KeyRelease) {
    return false;
  }
  const bool isLive = model_.session()->isLive();
  const bool isAsked = model_.alert()->isShown();
  const KeyEvent key = keyEventOf(event);
  const auto command = isLive ? LiveMode::commandFor(key) : std::nullopt;
  using Kind = LiveMode::Command::Kind;
  const bool isTaken =
      command && !(isAsked && command->kind != Kind::panic) && !isForTheField(*command, window.activeFocusItem());
  if (!isTaken) {
    // A menu command runs once, however long its keys are held; a control still gets every repetition.
    const bool isKeptFromMenus = isHeld && event.type() == QEvent::ShortcutOverride;
    event.setAccepted(isKeptFromMenus || event.isAccepted());
    return isKeptFromMenus;
  }
  event.accept();
  // A key that is held steps on through the songs; a mute that is held must not flicker.
  const bool mayRepeat = command->kind == Kind::nextSong || command->kind == Kind::previousSong;
  if (event.type() == QEvent::KeyPress && (mayRepeat || !isHeld)) {
    model_.commands()->post(
        [key](window::ConsoleActions& actions) { (void)actions.content.liveMode().handleLiveKeyDown(key); });
  }
  return true;
}

}  // namespace vrel::app
