// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window_feel.h"

#include <time.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSGSimpleRectNode>
#include <QTimer>
#include <algorithm>
#include <random>
#include <stdexcept>

namespace vrel::app::bench {
namespace {

constexpr int timeoutMs = 5000;
constexpr int framesPerSecond = 60;

/// Changes its colour at each press, and is drawn again at each frame.
class BareItem : public QQuickItem {
 public:
  explicit BareItem(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton);
  }

  bool isLit = false;

 protected:
  void mousePressEvent(QMouseEvent* /*event*/) override {
    isLit = !isLit;
    update();
  }

  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) override {
    auto* const node = old != nullptr ? static_cast<QSGSimpleRectNode*>(old) : new QSGSimpleRectNode;
    node->setRect(boundingRect());
    node->setColor(isLit ? Qt::white : Qt::black);
    node->markDirty(QSGNode::DirtyMaterial);
    return node;
  }
};

void press(QQuickWindow& window, const QPointF& place) {
  const QPointF onScreen = window.mapToGlobal(place);
  for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
    const auto held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
    QMouseEvent event(type, place, onScreen, Qt::LeftButton, held, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
  }
}

}  // namespace

void pump(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
  loop.exec();
}

double threadMilliseconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

Presses measurePresses(QQuickWindow& window, std::size_t presses, const std::function<Press()>& next) {
  Presses measured;
  Press current;
  QElapsedTimer time;
  double shownAt = -1;
  double computed = 0;
  const auto connection = QObject::connect(&window, &QQuickWindow::afterFrameEnd, &window, [&] {
    if (shownAt < 0 && current.isShown && current.isShown()) {
      shownAt = static_cast<double>(time.nsecsElapsed()) / 1e6;
      computed += threadMilliseconds();
    }
  });
  std::mt19937 random(1);
  std::uniform_int_distribution<int> pause(20, 60);  // milliseconds
  while (measured.times.size() < presses) {
    pump(pause(random));
    current = next();
    shownAt = -1;
    computed = -threadMilliseconds();
    time.start();
    press(window, current.place);
    while (shownAt < 0) {
      if (time.elapsed() > timeoutMs) {
        throw std::runtime_error("a press led to nothing");
      }
      pump(1);
    }
    measured.times.push_back(shownAt);
    measured.processor.push_back(computed);
  }
  QObject::disconnect(connection);
  std::sort(measured.times.begin(), measured.times.end());
  std::sort(measured.processor.begin(), measured.processor.end());
  return measured;
}

BareWindow measureBareWindow(std::size_t presses) {
  QQuickWindow window;
  window.resize(200, 200);
  BareItem item(window.contentItem());
  item.setSize(window.size());
  window.show();
  QTimer frames;
  frames.setTimerType(Qt::PreciseTimer);
  QObject::connect(&frames, &QTimer::timeout, &item, &QQuickItem::update);
  frames.start(1000 / framesPerSecond);
  constexpr int settlingMs = 500;
  pump(settlingMs);
  int drawn = 0;
  QObject::connect(&window, &QQuickWindow::afterFrameEnd, &item, [&] { ++drawn; });
  QElapsedTimer time;
  time.start();
  BareWindow measured;
  measured.presses = measurePresses(window, presses, [&] {
    return Press{{100, 100}, [&item, wasLit = item.isLit] { return item.isLit != wasLit; }};
  });
  measured.framesPerSecond = 1000.0 * drawn / static_cast<double>(time.elapsed());
  return measured;
}

}  // namespace vrel::app::bench
