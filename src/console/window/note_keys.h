// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

#include "console/note_picker.h"

namespace vrel::window {

/// All keys of MIDI side by side, to choose a note by pointer. It plays nothing.
class NoteKeys : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(int selectedNote READ selectedNote WRITE setSelectedNote NOTIFY changed FINAL)
  Q_PROPERTY(QColor accent READ accent WRITE setAccent NOTIFY changed FINAL)

 public:
  explicit NoteKeys(QQuickItem* parent = nullptr);

  [[nodiscard]] int selectedNote() const { return selectedNote_; }
  void setSelectedNote(int note);
  [[nodiscard]] const QColor& accent() const { return accent_; }
  void setAccent(const QColor& accent);

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  void changed();
  void picked(int note);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  void paintKey(QPainter& painter, int note, const QColor& fill, const QColor& edge) const;

  static constexpr int keyCount = 128;

  NotePicker keys_;
  int selectedNote_ = 0;
  QColor accent_;
};

}  // namespace vrel::window
