// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickItem>
#include <QString>

#include "console/piano_gestures.h"
#include "console/piano_layout.h"
#include "console/window/mirror_store.h"
#include "console/window/strip_splits.h"

namespace vrel::window {

/// The band above the keys: a bar for each strip over the keys that it takes, drawn as one picture. A press chooses a
/// strip, and the ends of the chosen strip's bar can be dragged.
class SplitBand : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MirrorList* strips READ strips WRITE setStrips NOTIFY stripsChanged REQUIRED FINAL)
  Q_PROPERTY(int startNote READ startNote WRITE setStartNote NOTIFY rangeChanged REQUIRED FINAL)
  Q_PROPERTY(int keyCount READ keyCount WRITE setKeyCount NOTIFY rangeChanged REQUIRED FINAL)
  /// As of the keys.
  Q_PROPERTY(qreal viewWidth READ viewWidth WRITE setViewWidth NOTIFY rangeChanged REQUIRED FINAL)

 public:
  explicit SplitBand(QQuickItem* parent = nullptr);

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
  void chosen(const QString& channelId);
  void minDragged(const QString& channelId, int note);
  void maxDragged(const QString& channelId, int note);

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override;

 private:
  void arrange();
  void splitsChanged();
  void carryOut(const SplitDrag::Step& step);
  [[nodiscard]] QImage picture(qreal scale) const;

  StripSplits splits_;
  int startNote_ = 0;
  int keyCount_ = 0;
  qreal viewWidth_ = 0;
  PianoLayout layout_;
  SplitDrag drag_;
};

}  // namespace vrel::window
