// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/level_meter.h"

#include <QQuickWindow>
#include <algorithm>
#include <cmath>

#include "console/meter_bar.h"
#include "console/window/scene_scale.h"

namespace vrel::window {
namespace {

constexpr int framesPerText = 15;

}  // namespace

LevelMeter::LevelMeter(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
  setFlag(ItemObservesViewport);
}

void LevelMeter::setBoard(MeterBoard* board) {
  if (board == board_) {
    return;
  }
  disconnect(frames_);
  board_ = board;
  if (board != nullptr) {
    frames_ = connect(board, &MeterBoard::frame, this, &LevelMeter::pull);
    number_ = board->turns.join();
  }
  findCell();
  Q_EMIT boardChanged();
}

void LevelMeter::setChannelId(const QString& channelId) {
  if (channelId == channelId_) {
    return;
  }
  channelId_ = channelId;
  findCell();
  Q_EMIT channelIdChanged();
}

void LevelMeter::findCell() {
  cell_ = board_ != nullptr ? board_->cell(channelId_) : nullptr;
  framesToText_ = 0;
}

MeterColumn LevelMeter::columnOf(const MeterCell::Bar& bar) const {
  const float hold = bar.hold.load(std::memory_order_relaxed);
  MeterColumn column{MeterSegments().lit(bar.displayed.load(std::memory_order_relaxed)), -1};
  if (isMeterHoldShown(hold)) {
    column.hold = static_cast<int>(std::lround(std::min(hold, 1.0F) * height() * pixelsPerPoint_));
  }
  return column;
}

bool LevelMeter::isDrawnInThisFrame() {
  if (clipRect().isEmpty()) {
    return false;
  }
  if (wayToDraw_.value_or(MeterNode::wayOf(*window())) == MeterNode::Way::layers) {
    return true;
  }
  board_->turns.count(width() * height() * pixelsPerPoint_ * pixelsPerPoint_);
  return board_->turns.isInTurn(number_);
}

void LevelMeter::pull() {
  if (cell_ == nullptr || !isVisible() || window() == nullptr) {
    return;
  }
  if (isDrawnInThisFrame()) {
    draw();
  }
  if (framesToText_-- <= 0) {
    framesToText_ = framesPerText - 1;
    showDecibels(std::max(cell_->left.displayed.load(std::memory_order_relaxed),
                          cell_->right.displayed.load(std::memory_order_relaxed)));
  }
}

void LevelMeter::draw() {
  findScale();
  const MeterColumns now{columnOf(cell_->left), columnOf(cell_->right)};
  if (now != columns_) {
    columns_ = now;
    update();
  }
}

void LevelMeter::showDecibels(double displayed) {
  const int now = static_cast<int>(std::lround(meterDecibels(displayed)));
  if (now != decibels_) {
    decibels_ = now;
    Q_EMIT decibelsChanged();
  }
}

void LevelMeter::findScale() {
  const qreal now = pixelsPerPoint(*this);
  if (now != pixelsPerPoint_ && now > 0) {
    pixelsPerPoint_ = now;
    repaint();
  }
}

void LevelMeter::repaint() {
  isSizeNew_ = true;
  update();
}

void LevelMeter::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() != before.size()) {
    repaint();
  }
}

QSGNode* LevelMeter::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  const QPointF place = mapToScene({}) * window()->effectiveDevicePixelRatio();
  const MeterPixels pixels(size(), pixelsPerPoint_, place);
  if (pixels.inside().isEmpty()) {
    delete old;
    isSizeNew_ = true;
    return nullptr;
  }
  auto* node = static_cast<MeterNode*>(old);
  if (node == nullptr) {
    node = MeterNode::make(*window(), wayToDraw_.value_or(MeterNode::wayOf(*window()))).release();
    isSizeNew_ = true;
  }
  if (isSizeNew_) {
    isSizeNew_ = false;
    node->setSize(*window(), pixels);
  }
  node->show(*window(), pixels, columns_);
  return node;
}

}  // namespace vrel::window
