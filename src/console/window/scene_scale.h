// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QQuickItem>
#include <QQuickWindow>
#include <QRectF>

namespace vrel::window {

/// Pixels of the screen for each point of an item, at the scale of its window; 1 outside a window.
[[nodiscard]] inline qreal pixelsPerPoint(const QQuickItem& item) {
  return item.window() == nullptr
             ? 1
             : item.mapRectToScene(QRectF(0, 0, 1, 1)).width() * item.window()->effectiveDevicePixelRatio();
}

}  // namespace vrel::window
