// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSGNode>
#include <QSizeF>
#include <array>
#include <cstddef>
#include <memory>

class QQuickWindow;

namespace vrel::window {

/// What is drawn of one channel of a level meter.
struct MeterColumn {
  std::size_t lit = 0;  // segments
  int hold = -1;        // pixels from the bottom; below 0 without a bar

  friend bool operator==(const MeterColumn& a, const MeterColumn& b) { return a.lit == b.lit && a.hold == b.hold; }
};
using MeterColumns = std::array<MeterColumn, 2>;  // left and right

/// Where everything of a meter is, in pixels of the screen, so that all edges are sharp.
struct MeterPixels {
  MeterPixels(QSizeF size, qreal pixelsPerPoint, QPointF place);

  /// From the top to the upper edge of a segment.
  [[nodiscard]] int top(std::size_t segment) const;
  [[nodiscard]] int bottom(std::size_t segment) const;
  /// To the upper edge of the lit segments.
  [[nodiscard]] int litTop(const MeterColumn& column) const;
  /// The bar that holds the peak.
  [[nodiscard]] QRect hold(std::size_t column, int fromBottom) const;
  /// Within the frame's left and right lines.
  [[nodiscard]] QRect inside() const;
  /// In points of the item, on whole pixels of the screen.
  [[nodiscard]] QRectF points(const QRect& rect) const;

  qreal point;
  int width;
  int height;
  int columnWidth = 1;
  std::array<int, 2> columnX{};
  qreal segmentHeight = 1;
  QPointF toWholePixels;  // points

 private:
  [[nodiscard]] qreal pitch() const;
};

/// Draws a level meter. Used by its item only, while the scene is synchronized.
class MeterNode : public QSGNode {
 public:
  /// Draws the same with any renderer, but each at a price:
  enum class Way {
    layers,   // pictures that never change, of which more or less is shown; for a graphics card
    pictures  // a new picture for each change; for the software renderer
  };

  [[nodiscard]] static Way wayOf(const QQuickWindow& window);
  [[nodiscard]] static std::unique_ptr<MeterNode> make(QQuickWindow& window, Way way);

  /// For a new size.
  virtual void setSize(QQuickWindow& window, const MeterPixels& pixels) = 0;
  virtual void show(QQuickWindow& window, const MeterPixels& pixels, const MeterColumns& columns) = 0;
};

}  // namespace vrel::window
