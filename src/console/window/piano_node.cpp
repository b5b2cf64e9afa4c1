// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/piano_node.h"

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGTexture>
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "console/window/key_range_item.h"
#include "document/note_name.h"

namespace vrel::window {
namespace {

constexpr QRgb keyColor = qRgb(18, 18, 18);
constexpr QRgb whiteEdgeColor = qRgb(60, 60, 60);
constexpr QRgb blackEdgeColor = qRgb(130, 130, 130);
constexpr QRgb heldEdgeColor = qRgb(255, 255, 255);
constexpr QRgb nameColor = qRgb(100, 100, 100);
constexpr QRgb cursorColor = qRgb(0, 194, 194);
// Points.
constexpr qreal edgeWidth = 0.5;
constexpr qreal cornerRadius = 2.5;
constexpr qreal nameSize = 12.5;
constexpr qreal namePadding = 6;
constexpr qreal cursorHeight = 4;

constexpr int octave = 12;
constexpr int lastNamedNote = 255;

QSize pixelsOf(const QSizeF& points, qreal scale) {
  return QSizeF(std::max(1.0, points.width() * scale), std::max(1.0, points.height() * scale)).toSize();
}

/// A key with round corners at its lower end.
QImage keyPicture(const QSizeF& size, qreal scale, QRgb fill, QRgb edge) {
  QImage picture(pixelsOf(size, scale), QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  const qreal line = std::max(edgeWidth * scale, 1.0);
  const qreal radius = cornerRadius * scale;
  // The upper corners are beyond the picture.
  const QRectF key = QRectF(picture.rect()).adjusted(line / 2, -2 * radius, -line / 2, -line / 2);
  painter.setPen(QPen(QColor(edge), line));
  painter.setBrush(QColor(fill));
  painter.drawRoundedRect(key, radius, radius);
  painter.drawLine(QPointF(0, line / 2), QPointF(picture.width(), line / 2));
  return picture;
}

QImage namePicture(const QSizeF& size, qreal scale, const QString& name) {
  QImage picture(pixelsOf(size, scale), QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  QFont font;
  font.setPixelSize(std::max(1, static_cast<int>(std::lround(nameSize * scale))));
  painter.setFont(font);
  painter.setPen(QColor(nameColor));
  painter.drawText(picture.rect(), Qt::AlignHCenter | Qt::AlignBottom, name);
  return picture;
}

}  // namespace

PianoNode::PianoNode(QQuickWindow& window, const PianoLayout& layout, qreal pixelsPerPoint)
    : window_(window), layout_(layout), scale_(pixelsPerPoint), cursor_(window.createRectangleNode()) {
  for (const int note : layout_.whites()) {
    addKey(note);
  }
  for (const int note : layout_.whites()) {
    if (note % octave == 0 && note <= lastNamedNote) {
      addName(note);
    }
  }
  for (const int note : layout_.blacks()) {
    addKey(note);
  }
  cursor_->setColor(QColor(cursorColor));
  appendChildNode(cursor_);
}

PianoNode::~PianoNode() = default;

void PianoNode::addKey(int note) {
  auto* const node = window_.createImageNode();
  node->setOwnsTexture(false);
  node->setRect(rectOf(layout_.keyRect(note)));
  node->setTexture(picture(isBlackKey(note), std::nullopt));
  appendChildNode(node);
  keys_.push_back({note, node, std::nullopt});
}

void PianoNode::addName(int note) {
  constexpr qreal height = nameSize * 1.5;
  const QRectF key = rectOf(layout_.keyRect(note));
  // Wider than a narrow key, so that no name is cut.
  const qreal width = std::max(key.width(), 3 * nameSize);
  const QRectF place(key.center().x() - width / 2, key.bottom() - namePadding - height, width, height);
  const QString name = QString::fromStdString(noteName(static_cast<std::uint8_t>(note)));
  auto* const node = window_.createImageNode();
  node->setOwnsTexture(true);
  node->setRect(place);
  node->setTexture(window_.createTextureFromImage(namePicture(place.size(), scale_, name)));
  appendChildNode(node);
}

QSGTexture* PianoNode::picture(bool isBlack, std::optional<QRgb> fill) {
  auto& made = pictures_[{isBlack, fill}];
  if (made == nullptr) {
    const auto& keys = isBlack ? layout_.blacks() : layout_.whites();
    const QRectF key = rectOf(layout_.keyRect(keys.front()));
    const QRgb edge = fill ? heldEdgeColor : isBlack ? blackEdgeColor : whiteEdgeColor;
    made.reset(window_.createTextureFromImage(keyPicture(key.size(), scale_, fill.value_or(keyColor), edge)));
  }
  return made.get();
}

int PianoNode::show(const HeldColor& heldColor) {
  int redrawn = 0;
  for (Key& key : keys_) {
    const auto color = heldColor(key.note);
    const auto fill = color ? std::optional(color->rgb()) : std::nullopt;
    if (fill != key.fill) {
      key.fill = fill;
      key.node->setTexture(picture(isBlackKey(key.note), fill));
      key.node->markDirty(DirtyMaterial);
      ++redrawn;
    }
  }
  return redrawn;
}

void PianoNode::showCursor(const std::optional<int>& note) {
  QRectF mark;
  if (note && layout_.has(*note)) {
    const QRectF key = rectOf(layout_.keyRect(*note));
    mark = QRectF(key.left() + 1, key.bottom() - cursorHeight - 1, key.width() - 2, cursorHeight);
  }
  if (mark != cursor_->rect()) {
    cursor_->setRect(mark);
  }
}

}  // namespace vrel::window
