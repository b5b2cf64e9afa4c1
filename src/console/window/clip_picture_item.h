// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QQuickPaintedItem>

#include "console/window/clip_frame.h"

namespace vrel::window {

/// A picture of a clip, fitted into the item.
class ClipPictureItem : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::ClipFrame frame READ frame WRITE setFrame NOTIFY changed FINAL)
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed FINAL)

 public:
  using QQuickPaintedItem::QQuickPaintedItem;

  [[nodiscard]] const ClipFrame& frame() const { return frame_; }
  void setFrame(const ClipFrame& frame);
  /// There is nothing to be seen.
  [[nodiscard]] bool isDark() const { return image_.isNull(); }

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  void changed();

 private:
  QImage image_;
  ClipFrame frame_;
};

}  // namespace vrel::window
