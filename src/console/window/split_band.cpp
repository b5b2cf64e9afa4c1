// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/split_band.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSGImageNode>
#include <QSGTexture>
#include <algorithm>
#include <utility>

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

QRectF barRect(const KeyRect& key) {
  return {key.x, key.y, key.width, key.height};
}

}  // namespace

SplitBand::SplitBand(QQuickItem* parent) : QQuickItem(parent), splits_([this] { splitsChanged(); }) {
  setFlag(ItemHasContents);
  setAcceptedMouseButtons(Qt::LeftButton);
}

void SplitBand::setStrips(MirrorList* strips) {
  if (strips != splits_.strips()) {
    splits_.setStrips(strips);
    Q_EMIT stripsChanged();
  }
}

void SplitBand::setStartNote(int note) {
  if (std::exchange(startNote_, note) != note) {
    arrange();
  }
}

void SplitBand::setKeyCount(int keys) {
  if (std::exchange(keyCount_, keys) != keys) {
    arrange();
  }
}

void SplitBand::setViewWidth(qreal width) {
  if (std::exchange(viewWidth_, width) != width) {
    arrange();
  }
}

void SplitBand::arrange() {
  layout_ = PianoLayout(startNote_, keyCount_, viewWidth_);
  setImplicitWidth(layout_.width());
  update();
  Q_EMIT rangeChanged();
}

void SplitBand::splitsChanged() {
  setImplicitHeight(split_band::height(splits_.bars().size()));
  update();
}

QImage SplitBand::picture(qreal scale) const {
  QImage picture((size() * scale).toSize().expandedTo(QSize(1, 1)), QImage::Format_RGB32);
  picture.fill(bandColor);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(scale, scale);
  painter.fillRect(QRectF(0, height() - lineWidth, width(), lineWidth), QColor(lineColor));
  const auto selected = splits_.selected();
  for (std::size_t row = 0; row < splits_.bars().size(); ++row) {
    QColor color = splits_.color(row);
    color.setAlphaF(row == selected ? 1 : otherOpacity);
    painter.fillRect(barRect(split_band::bar(layout_, splits_.bars()[row], row)), color);
  }
  if (selected) {
    const SplitBar& bar = splits_.bars()[*selected];
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, frameOpacity), lineWidth));
    painter.drawRect(barRect(split_band::frame(layout_, bar, *selected)));
    painter.setBrush(Qt::white);
    painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, handleEdgeOpacity), handleEdge));
    constexpr qreal radius = split_band::handleSize / 2;
    for (const int note : {bar.minNote, bar.maxNote}) {
      if (layout_.has(note)) {
        painter.drawEllipse(QPointF(layout_.keyX(note), split_band::middle(*selected)), radius, radius);
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
    Q_EMIT chosen(splits_.channelId(*step.chosenRow));
  }
  if (step.change) {
    const QString& channelId = splits_.channelId(*splits_.selected());
    if (step.change->handle == SplitDrag::Handle::min) {
      Q_EMIT minDragged(channelId, step.change->note);
    } else {
      Q_EMIT maxDragged(channelId, step.change->note);
    }
  }
}

void SplitBand::mousePressEvent(QMouseEvent* event) {
  setKeepMouseGrab(true);
  carryOut(drag_.press(layout_, splits_.bars(), splits_.selected(), event->position().x(), event->position().y()));
}

void SplitBand::mouseMoveEvent(QMouseEvent* event) {
  carryOut(drag_.move(layout_, splits_.bars(), splits_.selected(), event->position().x(), event->position().y()));
}

void SplitBand::mouseReleaseEvent(QMouseEvent* /*event*/) {
  drag_.end();
}

void SplitBand::mouseUngrabEvent() {
  drag_.end();
}

}  // namespace vrel::window
