// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/meter_node.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGRendererInterface>
#include <QSGTexture>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "console/meter_bar.h"

namespace vrel::window {
namespace {

constexpr MeterSegments segments;
constexpr QRgb groundColor = 0xff121212;
constexpr QRgb frameColor = 0xff282828;
constexpr std::array<QRgb, 3> zoneColors{qRgb(105, 220, 120), qRgb(250, 198, 70), qRgb(240, 70, 60)};
constexpr qreal litOpacity = 0.95;
constexpr qreal unlitOpacity = 0.13;
constexpr qreal holdOpacity = 0.92;
// Points.
constexpr qreal frameWidth = 0.5;
constexpr qreal groundRadius = 2;
constexpr qreal segmentRadius = 0.8;
constexpr qreal padding = 1;  // left and right of the columns
constexpr qreal widthBeyondColumns = 3.5;
constexpr qreal holdHeight = 1.6;
constexpr qreal holdBeyondColumn = 1;  // in width

int whole(qreal pixels) {
  return static_cast<int>(std::lround(pixels));
}

void paintSegments(QPainter& painter, const MeterPixels& pixels, int x, qreal opacity) {
  painter.setPen(Qt::NoPen);
  for (std::size_t segment = 0; segment < segments.count; ++segment) {
    QColor color(zoneColors[static_cast<std::size_t>(segments.zone(segment))]);
    color.setAlphaF(static_cast<float>(opacity));
    painter.setBrush(color);
    const int top = pixels.top(segment);
    const qreal radius = segmentRadius * pixels.point;
    painter.drawRoundedRect(x, top, pixels.columnWidth, pixels.bottom(segment) - top, radius, radius);
  }
}

/// Not every renderer compares, and the one in software would draw again what lies below.
void place(QSGImageNode& node, const QRectF& rect) {
  if (node.rect() != rect) {
    node.setRect(rect);
  }
}

/// The meter with all its segments at this opacity.
QImage meterPicture(const MeterPixels& pixels, qreal opacity) {
  QImage picture(pixels.width, pixels.height, QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  const qreal line = frameWidth * pixels.point;
  const qreal radius = groundRadius * pixels.point;
  painter.setPen(QPen(QColor(frameColor), line));
  painter.setBrush(QColor(groundColor));
  painter.drawRoundedRect(QRectF(picture.rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2), radius, radius);
  for (const int x : pixels.columnX) {
    paintSegments(painter, pixels, x, opacity);
  }
  return picture;
}

/// A column with all its segments lit, to be shown from the bottom up.
QImage litPicture(const MeterPixels& pixels) {
  QImage picture(pixels.columnWidth, pixels.height, QImage::Format_RGB32);
  picture.fill(groundColor);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  paintSegments(painter, pixels, 0, litOpacity);
  return picture;
}

/// What has no extent is taken out, since not every renderer takes an empty picture.
class LayeredMeter final : public MeterNode {
 public:
  explicit LayeredMeter(QQuickWindow& window) : ground_(window.createImageNode()) {
    ground_->setOwnsTexture(true);
    appendChildNode(ground_);
    for (std::size_t column = 0; column < 2; ++column) {
      lit_[column] = window.createImageNode();
      lit_[column]->setOwnsTexture(true);
    }
    for (auto& hold : hold_) {
      hold = window.createRectangleNode();
      hold->setColor(QColor::fromRgbF(1, 1, 1, static_cast<float>(holdOpacity)));
    }
  }
  ~LayeredMeter() override {
    for (QSGNode* const node : {static_cast<QSGNode*>(lit_[0]), static_cast<QSGNode*>(lit_[1]),
                                static_cast<QSGNode*>(hold_[0]), static_cast<QSGNode*>(hold_[1])}) {
      if (node->parent() == nullptr) {
        delete node;
      }
    }
  }
  LayeredMeter(const LayeredMeter&) = delete;
  LayeredMeter& operator=(const LayeredMeter&) = delete;

  void setSize(QQuickWindow& window, const MeterPixels& pixels) override {
    ground_->setTexture(window.createTextureFromImage(meterPicture(pixels, unlitOpacity)));
    for (auto* const lit : lit_) {
      lit->setTexture(window.createTextureFromImage(litPicture(pixels)));
    }
  }

  void show(QQuickWindow& /*window*/, const MeterPixels& pixels, const MeterColumns& columns) override {
    place(*ground_, pixels.points({0, 0, pixels.width, pixels.height}));
    for (std::size_t column = 0; column < columns.size(); ++column) {
      const int top = pixels.litTop(columns[column]);
      add(*lit_[column], top < pixels.height);
      if (top < pixels.height) {
        lit_[column]->setSourceRect(QRectF(0, top, pixels.columnWidth, pixels.height - top));
        lit_[column]->setRect(pixels.points({pixels.columnX[column], top, pixels.columnWidth, pixels.height - top}));
      }
      add(*hold_[column], columns[column].hold >= 0);
      hold_[column]->setRect(pixels.points(pixels.hold(column, columns[column].hold)));
    }
  }

 private:
  void add(QSGNode& node, bool isShown) {
    if (isShown == (node.parent() != nullptr)) {
      return;
    }
    if (!isShown) {
      removeChildNode(&node);
    } else if (&node == lit_[0] || &node == lit_[1]) {
      insertChildNodeAfter(&node, ground_);  // behind the bars
    } else {
      appendChildNode(&node);
    }
  }

  QSGImageNode* ground_;
  std::array<QSGImageNode*, 2> lit_{};
  std::array<QSGRectangleNode*, 2> hold_{};
};

/// The software renderer adds up what is to be drawn again, for every item of the window, and the time of that grows
/// with the number and the variety of the rectangles. So all that moves is one opaque picture: a row of meters is a row
/// of equal rectangles, and nothing below them is drawn again.
class PicturedMeter final : public MeterNode {
 public:
  explicit PicturedMeter(QQuickWindow& window) : frame_(window.createImageNode()), picture_(window.createImageNode()) {
    for (auto* const node : {frame_, picture_}) {
      node->setOwnsTexture(true);
      appendChildNode(node);
    }
  }

  void setSize(QQuickWindow& window, const MeterPixels& pixels) override {
    const QImage silent = meterPicture(pixels, unlitOpacity);
    frame_->setTexture(window.createTextureFromImage(silent));
    unlit_ = silent.copy(pixels.inside()).convertToFormat(QImage::Format_RGB32);
    lit_ = meterPicture(pixels, litOpacity).copy(pixels.inside()).convertToFormat(QImage::Format_RGB32);
    composed_ = {};
  }

  void show(QQuickWindow& window, const MeterPixels& pixels, const MeterColumns& columns) override {
    place(*frame_, pixels.points({0, 0, pixels.width, pixels.height}));
    std::swap(composed_[0], composed_[1]);  // the texture that is shown shares the other one's pixels
    compose(composed_[0], pixels, columns);
    picture_->setTexture(window.createTextureFromImage(composed_[0].picture, QQuickWindow::TextureIsOpaque));
    place(*picture_, pixels.points(pixels.inside()));
  }

 private:
  struct Composed {
    QImage picture;
    MeterColumns columns{};  // that it shows
  };

  /// Of what it shows, only what is to be another is written.
  void compose(Composed& composed, const MeterPixels& pixels, const MeterColumns& columns) const {
    const std::array tops{pixels.litTop(columns[0]), pixels.litTop(columns[1])};
    QImage& picture = composed.picture;
    if (picture.isNull()) {
      picture = QImage(unlit_.size(), QImage::Format_RGB32);
      copyRows(picture, pixels, tops, 0, picture.height());
    } else {
      for (std::size_t column = 0; column < columns.size(); ++column) {
        const int before = pixels.litTop(composed.columns[column]);
        copyRows(picture, pixels, tops, std::min(before, tops[column]), std::max(before, tops[column]));
        if (composed.columns[column].hold >= 0) {
          const QRect bar = barOf(pixels, column, composed.columns[column].hold);
          copyRows(picture, pixels, tops, bar.top(), bar.bottom() + 1);
        }
      }
    }
    for (std::size_t column = 0; column < columns.size(); ++column) {
      if (columns[column].hold >= 0) {
        blendHold(picture, barOf(pixels, column, columns[column].hold));
      }
    }
    composed.columns = columns;
  }

  [[nodiscard]] QRect barOf(const MeterPixels& pixels, std::size_t column, int hold) const {
    return pixels.hold(column, hold).translated(-pixels.inside().topLeft()).intersected(unlit_.rect());
  }

  void copyRows(QImage& picture, const MeterPixels& pixels, const std::array<int, 2>& tops, int from, int to) const {
    // Left and right of the gap between the columns.
    const int middle = std::clamp(
        (pixels.columnX[0] + pixels.columnWidth + pixels.columnX[1]) / 2 - pixels.inside().left(), 0, picture.width());
    const auto leftBytes = static_cast<std::size_t>(middle) * sizeof(QRgb);
    const std::size_t bytes = static_cast<std::size_t>(picture.width()) * sizeof(QRgb);
    for (int y = from; y < to; ++y) {
      uchar* const row = picture.scanLine(y);
      const uchar* const left = (y < tops[0] ? unlit_ : lit_).constScanLine(y);
      const uchar* const right = (y < tops[1] ? unlit_ : lit_).constScanLine(y);
      if (left == right) {
        std::memcpy(row, left, bytes);
      } else {
        std::memcpy(row, left, leftBytes);
        std::memcpy(row + leftBytes, right + leftBytes, bytes - leftBytes);
      }
    }
  }

  static void blendHold(QImage& picture, const QRect& bar) {
    const auto blend = [](int part) { return whole(255 * holdOpacity + part * (1 - holdOpacity)); };
    for (int y = bar.top(); y <= bar.bottom(); ++y) {
      auto* const row = reinterpret_cast<QRgb*>(picture.scanLine(y));
      for (int x = bar.left(); x <= bar.right(); ++x) {
        row[x] = qRgb(blend(qRed(row[x])), blend(qGreen(row[x])), blend(qBlue(row[x])));
      }
    }
  }

  QSGImageNode* frame_;
  QSGImageNode* picture_;
  QImage unlit_;
  QImage lit_;
  std::array<Composed, 2> composed_;
};

}  // namespace

MeterPixels::MeterPixels(QSizeF size, qreal pixelsPerPoint, QPointF place)
    : point(pixelsPerPoint), width(whole(size.width() * point)), height(whole(size.height() * point)) {
  columnWidth = std::max(1, whole((width - widthBeyondColumns * point) / 2));
  const int left = whole(padding * point);
  columnX = {left, width - left - columnWidth};
  segmentHeight = segments.height(height / point) * point;
  toWholePixels = QPointF(std::round(place.x()) - place.x(), std::round(place.y()) - place.y()) / point;
}

qreal MeterPixels::pitch() const {
  return segmentHeight + MeterSegments::gap * point;
}

int MeterPixels::top(std::size_t segment) const {
  return height - whole(pitch() * static_cast<qreal>(segment) + segmentHeight);
}

int MeterPixels::bottom(std::size_t segment) const {
  return height - whole(pitch() * static_cast<qreal>(segment));
}

int MeterPixels::litTop(const MeterColumn& column) const {
  return column.lit > 0 ? std::max(0, top(column.lit - 1)) : height;
}

QRect MeterPixels::hold(std::size_t column, int fromBottom) const {
  const int rows = std::max(1, whole(holdHeight * point));
  const int wide = columnWidth + whole(holdBeyondColumn * point);
  const QRect around = inside();
  return {std::clamp(columnX[column] - (wide - columnWidth) / 2, around.left(),
                     std::max(around.left(), around.left() + around.width() - wide)),
          std::clamp(height - fromBottom - rows / 2, 0, std::max(0, height - rows)), wide, rows};
}

QRect MeterPixels::inside() const {
  const int line = whole(frameWidth * point);
  return {line, 0, width - 2 * line, height};
}

QRectF MeterPixels::points(const QRect& rect) const {
  return QRectF(rect.x() / point, rect.y() / point, rect.width() / point, rect.height() / point)
      .translated(toWholePixels);
}

MeterNode::Way MeterNode::wayOf(const QQuickWindow& window) {
  return window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software ? Way::pictures : Way::layers;
}

std::unique_ptr<MeterNode> MeterNode::make(QQuickWindow& window, Way way) {
  if (way == Way::pictures) {
    return std::make_unique<PicturedMeter>(window);
  }
  return std::make_unique<LayeredMeter>(window);
}

}  // namespace vrel::window
