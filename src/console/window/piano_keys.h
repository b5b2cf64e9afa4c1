// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <optional>

#include "console/piano_gestures.h"
#include "console/window/key_range_item.h"
#include "console/window/performance_board.h"

namespace vrel::window {

/// The keys of the on-screen keyboard: shows which notes are held, in the colour of the strip that takes each, and
/// plays by pointer and by arrows and Return. A frame draws the keys again that have changed, and no others.
class PianoKeys : public vrel::window::KeyRangeItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::PerformanceBoard* board READ board WRITE setBoard NOTIFY boardChanged REQUIRED FINAL)

 public:
  explicit PianoKeys(QQuickItem* parent = nullptr);

  [[nodiscard]] PerformanceBoard* board() const { return board_; }
  void setBoard(PerformanceBoard* board);

  /// How many keys the last frame drew again.
  [[nodiscard]] int redrawnKeys() const { return redrawnKeys_; }

 Q_SIGNALS:
  void boardChanged();
  void notePressed(int note);
  void noteReleased(int note);

 protected:
  void layoutChanged() override;
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void endAll();
  void moveCursor(int by);
  void releaseCursor();
  /// The fill of a held key; none for one that is not held.
  [[nodiscard]] std::optional<QColor> heldColor(int note) const;

  PerformanceBoard* board_ = nullptr;
  QMetaObject::Connection notes_;
  bool isLayoutNew_ = true;
  KeyDrag drag_;
  std::optional<int> cursor_;      // the key that Return plays
  std::optional<int> cursorHeld_;  // by Return
  int redrawnKeys_ = 0;
};

}  // namespace vrel::window
