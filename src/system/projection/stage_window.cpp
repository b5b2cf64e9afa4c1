// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_window.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QSurfaceFormat>
#include <algorithm>
#include <cmath>
#include <utility>

#include "system/projection/screen_description.h"

namespace vrel::system {
namespace {

QRect rectOf(const ScreenRect& frame) {
  return {frame.x, frame.y, frame.width, frame.height};
}

ScreenRect frameOf(const QRect& rect) {
  return {rect.x(), rect.y(), rect.width(), rect.height()};
}

/// The screen on which most of a frame lies; the main one where there is none.
QScreen* screenAt(const ScreenRect& frame) {
  QScreen* best = QGuiApplication::primaryScreen();
  int most = 0;
  for (QScreen* const screen : QGuiApplication::screens()) {
    const QRect common = screen->geometry().intersected(rectOf(frame));
    const int area = common.isEmpty() ? 0 : common.width() * common.height();
    if (area > most) {
      most = area;
      best = screen;
    }
  }
  return best;
}

Qt::WindowFlags flagsOf(std::uint32_t styleMask) {
  // The keyboard stays with the console.
  Qt::WindowFlags flags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowDoesNotAcceptFocus;
  const auto add = [&](std::uint32_t bit, Qt::WindowFlags more) {
    if ((styleMask & bit) != 0) {
      flags |= more;
    }
  };
  add(NSWindowStyleMaskTitled, Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
  add(NSWindowStyleMaskClosable, Qt::WindowCloseButtonHint);
  add(NSWindowStyleMaskMiniaturizable, Qt::WindowMinimizeButtonHint);
  add(NSWindowStyleMaskResizable, Qt::WindowMaximizeButtonHint);
  return flags;
}

}  // namespace

NSScreen describeScreen(const QScreen& screen) {
  return {screen.name().toStdString(),  frameOf(screen.availableGeometry()), frameOf(screen.geometry()),
          screen.model().toStdString(), screen.serialNumber().toStdString(), screen.devicePixelRatio()};
}

StageWindow::StageWindow(std::shared_ptr<Projector> projector, Reporter reporter)
    : projector_(std::move(projector)), reporter_(std::move(reporter)) {
  setSurfaceType(QSurface::OpenGLSurface);
  QSurfaceFormat format;
  format.setSwapInterval(1);
  format.setAlphaBufferSize(0);
  format.setDepthBufferSize(0);
  format.setStencilBufferSize(0);
  format.setOption(QSurfaceFormat::ResetNotification);  // or a lost context is not noticed
  setFormat(format);
  setCursor(Qt::BlankCursor);
  connect(this, &QWindow::windowStateChanged, this, [this](Qt::WindowState state) {
    if (!isApplying_ && isVisible()) {
      isInFullScreen_ = state == Qt::WindowFullScreen;
      report();
    }
  });
  followRate();
  connect(this, &QWindow::screenChanged, this, [this] {
    followRate();
    updateTarget();
    if (!isApplying_ && isVisible()) {
      report();
    }
  });
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* gone) {
    if (isVisible() && gone == screen()) {
      hide();
      report();
    }
  });
}

StageWindow::~StageWindow() {
  projector_->end(nullptr);
  projector_->join();
}

void StageWindow::apply(const StageWindowState& state) {
  const StageWindowState before = std::exchange(state_, state);
  keepPlace();  // a move of which no event has come yet
  isApplying_ = true;
  if (state.title != before.title) {
    setTitle(QString::fromStdString(state.title));
  }
  if (state.styleMask != before.styleMask) {
    setFlags(flagsOf(state.styleMask));
  }
  if (state.minimumSize != before.minimumSize) {
    setMinimumSize(
        {static_cast<int>(std::ceil(state.minimumSize.width)), static_cast<int>(std::ceil(state.minimumSize.height))});
  }
  if (state.frameNumber != before.frameNumber) {
    move(state.frame);
  }
  const bool isShown = state.isVisible && state.frontNumber != closedFront_;
  if (!isShown) {
    isInFullScreen_ = state.isFullScreen;
    hide();
  } else if (!isVisible() || state.isFullScreen != isInFullScreen_) {
    appear(state.isFullScreen);
  }
  if (isShown && state.frontNumber != before.frontNumber) {
    raise();
  }
  isApplying_ = false;
  report();
}

void StageWindow::move(const ScreenRect& frame) {
  normalFrame_ = frame;
  QScreen* const target = screenAt(frame);
  const bool isShownInFull = isVisible() && isInFullScreen_;
  if (isShownInFull && target == screen()) {
    return;
  }
  if (isShownInFull) {
    hide();  // a window manager keeps a window in full screen where it is
  }
  setScreen(target);
  setGeometry(rectOf(frame).marginsRemoved(isVisible() ? frameMargins() : QMargins()));
  if (isShownInFull) {
    appear(true);
  }
}

// Not by `showFullScreen`, which asks for the keyboard besides.
void StageWindow::appear(bool inFullScreen) {
  isInFullScreen_ = inFullScreen;
  if (inFullScreen) {
    if (!isVisible() && screen() != nullptr) {
      setGeometry(screen()->geometry());  // where no window manager does it
    }
    setWindowStates(Qt::WindowFullScreen);
    setVisible(true);
    if (screen() != nullptr) {
      setGeometry(screen()->geometry());
    }
  } else {
    setWindowStates(Qt::WindowNoState);
    setVisible(true);
    if (normalFrame_.width > 0) {
      setGeometry(rectOf(normalFrame_).marginsRemoved(frameMargins()));
    }
  }
}

// Also what a person makes of it by the mouse; not what the system does when its screen goes.
void StageWindow::keepPlace() {
  const bool isPlaced = isVisible() && !isApplying_ && !isInFullScreen_ && windowStates() == Qt::WindowNoState;
  // A window manager may enlarge it before it says that this is full screen.
  if (isPlaced && QGuiApplication::screens().contains(screen()) && geometry() != screen()->geometry()) {
    normalFrame_ = frameOf(frameGeometry());
  }
}

void StageWindow::followRate() {
  disconnect(rateFollowed_);
  if (screen() != nullptr) {
    rateFollowed_ = connect(screen(), &QScreen::refreshRateChanged, this, &StageWindow::updateTarget);
  }
}

void StageWindow::updateTarget() {
  if (!isExposed() || screen() == nullptr) {
    projector_->hide();
    return;
  }
  const QSize pixels = size() * devicePixelRatio();
  projector_->show({this, pixels.expandedTo({1, 1}), devicePixelRatio(), screen()->refreshRate()});
}

void StageWindow::exposeEvent(QExposeEvent* /*event*/) {
  updateTarget();
}

void StageWindow::moveEvent(QMoveEvent* /*event*/) {
  keepPlace();
}

void StageWindow::resizeEvent(QResizeEvent* /*event*/) {
  keepPlace();
  updateTarget();
}

bool StageWindow::event(QEvent* event) {
  if (event->type() == QEvent::Close) {
    event->ignore();
    closedFront_ = state_.frontNumber;
    hide();
    report(true);
    return true;
  }
  return QWindow::event(event);
}

void StageWindow::report(bool isClosedByPerson) {
  if (isVisible() && screen() != nullptr) {
    lastScreen_ = describeScreen(*screen());
  }
  reporter_({state_.number, state_.frontNumber, isInFullScreen_, isVisible(), isClosedByPerson, lastScreen_});
}

}  // namespace vrel::system
