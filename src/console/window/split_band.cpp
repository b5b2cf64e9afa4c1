// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/split_band.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSGImageNode>
#include <QSGTexture>
#include <algorithm>

#include "console/window/scene_scale.h"

namespace vrel::window {
namespace {

constexpr QRgb bandColor = qRgb(15, 15, 15);
constexpr QRgb lineColor = qRgb(45, 45, 45);
constexpr float otherOpacity = 0.65F;  // of the bars of strips that are not selected
constexpr float frameOpacity = 0.35F;
constexpr float handleEdgeOpacity = 0.6F;
// Points.
constexpr qreal lineWidth = 1;
constexpr qreal handleEdge = 0.8;

}  // namespace

SplitBand::SplitBand(QQuickItem* parent) : KeyRangeItem(parent) {}

void SplitBand::splitsChanged() {
  setImplicitHeight(split_band::height(splits().bars().size()));
  Q_EMIT splitsMoved();
}

qreal SplitBand::selectedY() const {
  const auto row = splits().selected();
  return row ? split_band::middle(*row) : -1;
}

QImage SplitBand::picture(qreal scale) const {
  QImage picture((size() * scale).toSize().expandedTo(QSize(1, 1)), QImage::Format_RGB32);
  picture.fill(bandColor);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(scale, scale);
  painter.fillRect(QRectF(0, height() - lineWidth, width(), lineWidth), QColor(lineColor));
  const auto selected = splits().selected();
  for (std::size_t row = 0; row < splits().bars().size(); ++row) {
    QColor color = splits().color(row);
    color.setAlphaF(row == selected ? 1 : otherOpacity);
    painter.fillRect(rectOf(split_band::bar(layout(), splits().bars()[row], row)), color);
  }
  if (selected) {
    const SplitBar& bar = splits().bars()[*selected];
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, frameOpacity), lineWidth));
    painter.drawRect(rectOf(split_band::frame(layout(), bar, *selected)));
    painter.setBrush(Qt::white);
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, handleEdgeOpacity), handleEdge));
    constexpr qreal radius = split_band::handleSize / 2;
    for (const int note : {bar.minNote, bar.maxNote}) {
      if (layout().has(note)) {
        painter.drawEllipse(QPointF(layout().keyX(note), split_band::middle(*selected)), radius, radius);
      }
    }
  }
  return picture;
}

QSGNode* SplitBand::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  auto* node = static_cast<QSGImageNode*>(old);
  if (node == nullptr) {
    node = window()->createImageNode();
    node->setOwnsTexture(true);
  }
  node->setTexture(window()->createTextureFromImage(picture(pixelsPerPoint(*this))));
  node->setRect(boundingRect());
  node->markDirty(QSGNode::DirtyMaterial);
  return node;
}

void SplitBand::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  update();
}

void SplitBand::carryOut(const SplitDrag::Step& step) {
  if (step.chosenRow) {
    Q_EMIT chosen(splits().channelId(*step.chosenRow));
  }
  if (step.change) {
    const QString& channelId = splits().channelId(*splits().selected());
    if (step.change->handle == SplitDrag::Handle::min) {
      Q_EMIT minDragged(channelId, step.change->note);
    } else {
      Q_EMIT maxDragged(channelId, step.change->note);
    }
  }
}

void SplitBand::mousePressEvent(QMouseEvent* event) {
  setKeepMouseGrab(true);
  carryOut(drag_.press(layout(), splits().bars(), splits().selected(), event->position().x(), event->position().y()));
}

void SplitBand::mouseMoveEvent(QMouseEvent* event) {
  carryOut(drag_.move(layout(), splits().bars(), splits().selected(), event->position().x(), event->position().y()));
}

void SplitBand::mouseReleaseEvent(QMouseEvent* /*event*/) {
  drag_.end();
}

void SplitBand::mouseUngrabEvent() {
  drag_.end();
}

}  // namespace vrel::window
