// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickItem>
#include <optional>

#include "console/piano_gestures.h"
#include "console/piano_layout.h"
#include "console/window/mirror_store.h"
#include "console/window/performance_board.h"
#include "console/window/strip_splits.h"

namespace vrel::window {

/// The keys of the on-screen keyboard: shows which notes are held, in the colour of the strip that takes each, and
/// plays by pointer and by arrows and Return. A frame draws the keys again that have changed, and no others.
class PianoKeys : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MirrorList* strips READ strips WRITE setStrips NOTIFY stripsChanged REQUIRED FINAL)
  Q_PROPERTY(vrel::window::PerformanceBoard* board READ board WRITE setBoard NOTIFY boardChanged REQUIRED FINAL)
  Q_PROPERTY(int startNote READ startNote WRITE setStartNote NOTIFY rangeChanged REQUIRED FINAL)
  Q_PROPERTY(int keyCount READ keyCount WRITE setKeyCount NOTIFY rangeChanged REQUIRED FINAL)
  /// The width that the keys have; their own, `implicitWidth`, may be more or less.
  Q_PROPERTY(qreal viewWidth READ viewWidth WRITE setViewWidth NOTIFY rangeChanged REQUIRED FINAL)

 public:
  explicit PianoKeys(QQuickItem* parent = nullptr);

  [[nodiscard]] MirrorList* strips() const { return splits_.strips(); }
  void setStrips(MirrorList* strips);
  [[nodiscard]] PerformanceBoard* board() const { return board_; }
  void setBoard(PerformanceBoard* board);
  [[nodiscard]] int startNote() const { return startNote_; }
  void setStartNote(int note);
  [[nodiscard]] int keyCount() const { return keyCount_; }
  void setKeyCount(int keys);
  [[nodiscard]] qreal viewWidth() const { return viewWidth_; }
  void setViewWidth(qreal width);

  /// How many keys the last frame drew again.
  [[nodiscard]] int redrawnKeys() const { return redrawnKeys_; }

 Q_SIGNALS:
  void stripsChanged();
  void boardChanged();
  void rangeChanged();
  void notePressed(int note);
  void noteReleased(int note);

 protected:
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
  void arrange();
  void endAll();
  void moveCursor(int by);
  void releaseCursor();
  /// The fill of a held key; none for one that is not held.
  [[nodiscard]] std::optional<QColor> heldColor(int note) const;

  StripSplits splits_;
  PerformanceBoard* board_ = nullptr;
  QMetaObject::Connection notes_;
  int startNote_ = 0;
  int keyCount_ = 0;
  qreal viewWidth_ = 0;
  PianoLayout layout_;
  bool isLayoutNew_ = true;
  KeyDrag drag_;
  std::optional<int> cursor_;      // the key that Return plays
  std::optional<int> cursorHeld_;  // by Return
  int redrawnKeys_ = 0;
};

}  // namespace vrel::window
