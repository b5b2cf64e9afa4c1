// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QQuickItem>
#include <QRectF>

#include "console/piano_layout.h"
#include "console/window/mirror_store.h"
#include "console/window/strip_splits.h"

namespace vrel::window {

[[nodiscard]] inline QRectF rectOf(const KeyRect& key) {
  return {key.x, key.y, key.width, key.height};
}

/// What the items of the on-screen keyboard share: its range of keys, where each is, and the splits of the strips.
class KeyRangeItem : public QQuickItem {
  Q_OBJECT
  QML_ANONYMOUS
  Q_PROPERTY(vrel::window::MirrorList* strips READ strips WRITE setStrips NOTIFY stripsChanged REQUIRED FINAL)
  Q_PROPERTY(int startNote READ startNote WRITE setStartNote NOTIFY rangeChanged REQUIRED FINAL)
  Q_PROPERTY(int keyCount READ keyCount WRITE setKeyCount NOTIFY rangeChanged REQUIRED FINAL)
  /// The width that the keys have; their own, `implicitWidth`, may be more or less.
  Q_PROPERTY(qreal viewWidth READ viewWidth WRITE setViewWidth NOTIFY rangeChanged REQUIRED FINAL)

 public:
  explicit KeyRangeItem(QQuickItem* parent);

  [[nodiscard]] MirrorList* strips() const { return splits_.strips(); }
  void setStrips(MirrorList* strips);
  [[nodiscard]] int startNote() const { return startNote_; }
  void setStartNote(int note);
  [[nodiscard]] int keyCount() const { return keyCount_; }
  void setKeyCount(int keys);
  [[nodiscard]] qreal viewWidth() const { return viewWidth_; }
  void setViewWidth(qreal width);

 Q_SIGNALS:
  void stripsChanged();
  void rangeChanged();

 protected:
  [[nodiscard]] const StripSplits& splits() const { return splits_; }
  [[nodiscard]] const PianoLayout& layout() const { return layout_; }

  /// After a change of the splits; the item is drawn again in any case.
  virtual void splitsChanged() {}
  /// After a change of the keys; the item is drawn again in any case.
  virtual void layoutChanged() {}

 private:
  void arrange();

  StripSplits splits_;
  int startNote_ = 0;
  int keyCount_ = 0;
  qreal viewWidth_ = 0;
  PianoLayout layout_;
};

}  // namespace vrel::window
