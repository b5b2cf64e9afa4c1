// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/note_keys.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QRectF>

namespace vrel::window {
namespace {

const QColor whiteNoteFill(30, 30, 30);
const QColor whiteNoteEdge(70, 70, 70);
const QColor blackNoteFill(18, 18, 18);
const QColor blackNoteEdge(130, 130, 130);
constexpr double keyEdgeWidth = 0.5;

}  // namespace

NoteKeys::NoteKeys(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setAcceptedMouseButtons(Qt::LeftButton);
}

void NoteKeys::setSelectedNote(int note) {
  if (note != selectedNote_) {
    selectedNote_ = note;
    update();
    Q_EMIT changed();
  }
}

void NoteKeys::setAccent(const QColor& accent) {
  if (accent != accent_) {
    accent_ = accent;
    update();
    Q_EMIT changed();
  }
}

void NoteKeys::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickPaintedItem::geometryChange(now, before);
  keys_ = NotePicker(0, keyCount, now.width(), now.height());
  update();
}

void NoteKeys::paint(QPainter* painter) {
  for (const int note : keys_.whites()) {
    paintKey(*painter, note, whiteNoteFill, whiteNoteEdge);
  }
  for (const int note : keys_.blacks()) {
    paintKey(*painter, note, blackNoteFill, blackNoteEdge);
  }
}

void NoteKeys::paintKey(QPainter& painter, int note, const QColor& fill, const QColor& edge) const {
  const KeyRect key = keys_.keyRect(note);
  painter.setPen(QPen(edge, keyEdgeWidth));
  painter.setBrush(note == selectedNote_ ? accent_ : fill);
  painter.drawRect(QRectF(key.x, key.y, key.width, key.height));
}

void NoteKeys::mousePressEvent(QMouseEvent* event) {
  if (const auto note = keys_.noteAt(event->position().x(), event->position().y())) {
    Q_EMIT picked(*note);
  }
}

}  // namespace vrel::window
