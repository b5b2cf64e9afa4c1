// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QString>

#include "console/piano_gestures.h"
#include "console/window/key_range_item.h"

namespace vrel::window {

/// The band above the keys: a bar for each strip over the keys that it takes, drawn as one picture. A press chooses a
/// strip, and the ends of the chosen strip's bar can be dragged.
class SplitBand : public vrel::window::KeyRangeItem {
  Q_OBJECT
  QML_ELEMENT
  /// The middle of the selected strip's row; -1 without one.
  Q_PROPERTY(qreal selectedY READ selectedY NOTIFY splitsMoved FINAL)

 public:
  explicit SplitBand(QQuickItem* parent = nullptr);

  [[nodiscard]] qreal selectedY() const;

 Q_SIGNALS:
  void splitsMoved();
  void chosen(const QString& channelId);
  void minDragged(const QString& channelId, int note);
  void maxDragged(const QString& channelId, int note);

 protected:
  void splitsChanged() override;
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override;

 private:
  void carryOut(const SplitDrag::Step& step);
  [[nodiscard]] QImage picture(qreal scale) const;

  SplitDrag drag_;
};

}  // namespace vrel::window
