// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/level_meter.h"

#include <QColor>
#include <QQuickWindow>
#include <QRectF>
#include <QSGRectangleNode>
#include <algorithm>
#include <cmath>

namespace vrel::window {
namespace {

constexpr float lowest = -48;  // decibels of full scale
constexpr int silence = -100;  // decibels

struct Zone {
  float topDecibels;
  QRgb color;
};
// From the bottom: safe, hot, over.
constexpr std::array zones{Zone{-12, 0xff2ecc71}, Zone{-3, 0xffffb020}, Zone{0, 0xffff3b30}};
constexpr QRgb groundColor = 0xff161616;
constexpr qreal gap = 1;  // between the two bars, points

float decibelsOf(float level) {
  return level > 0 ? 20 * std::log10(level) : static_cast<float>(silence);
}

float proportionOf(float decibels) {
  return std::clamp((decibels - lowest) / -lowest, 0.0F, 1.0F);
}

}  // namespace

LevelMeter::LevelMeter(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
}

void LevelMeter::setBoard(MeterBoard* board) {
  if (board == board_) {
    return;
  }
  disconnect(frames_);
  board_ = board;
  if (board != nullptr) {
    frames_ = connect(board, &MeterBoard::frame, this, &LevelMeter::pull);
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
}

void LevelMeter::pull() {
  if (cell_ == nullptr || !isVisible()) {
    return;
  }
  const float left = decibelsOf(cell_->left.load(std::memory_order_relaxed));
  const float right = decibelsOf(cell_->right.load(std::memory_order_relaxed));
  const auto pixels = [this](float decibels) {
    return static_cast<int>(std::lround(proportionOf(decibels) * height()));
  };
  const std::array now{pixels(left), pixels(right)};
  if (now != heights_) {
    heights_ = now;
    update();
  }
  const int louder = std::max(silence, static_cast<int>(std::lround(std::max(left, right))));
  if (louder != decibels_) {
    decibels_ = louder;
    Q_EMIT decibelsChanged();
  }
}

void LevelMeter::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  update();
}

QSGNode* LevelMeter::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  // The ground, then for each channel one rectangle for each zone.
  if (old == nullptr) {
    old = new QSGNode;
    for (std::size_t child = 0; child < 1 + 2 * zones.size(); ++child) {
      old->appendChildNode(window()->createRectangleNode());
    }
  }
  auto* node = static_cast<QSGRectangleNode*>(old->firstChild());
  const auto paint = [&node](const QRectF& rect, QRgb color) {
    node->setRect(rect);
    node->setColor(QColor(color));
    node = static_cast<QSGRectangleNode*>(node->nextSibling());
  };
  paint(boundingRect(), groundColor);
  const qreal barWidth = std::max<qreal>(0, (width() - gap) / 2);
  for (std::size_t channel = 0; channel < 2; ++channel) {
    const qreal x = channel == 0 ? 0 : barWidth + gap;
    qreal bottom = 0;  // above the item's lower edge
    for (const Zone& zone : zones) {
      const qreal zoneTop = proportionOf(zone.topDecibels) * height();
      const qreal top = std::clamp<qreal>(heights_[channel], bottom, zoneTop);
      paint({x, height() - top, barWidth, top - bottom}, zone.color);
      bottom = top;
    }
  }
  return old;
}

}  // namespace vrel::window
