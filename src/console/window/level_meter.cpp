// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/level_meter.h"

#include <QColor>
#include <QPainter>
#include <QQuickWindow>
#include <QRectF>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGTexture>
#include <algorithm>
#include <cmath>

#include "console/window/scene_scale.h"

namespace vrel::window {
namespace {

constexpr MeterSegments segments;
constexpr QRgb groundColor = 0xff121212;
constexpr QRgb frameColor = 0xff282828;
constexpr std::array<QRgb, 3> zoneColors{qRgb(105, 220, 120), qRgb(250, 198, 70), qRgb(240, 70, 60)};
constexpr qreal litOpacity = 0.95;
constexpr qreal unlitOpacity = 0.13;
constexpr float holdOpacity = 0.92F;
// Points.
constexpr qreal frameWidth = 0.5;
constexpr qreal groundRadius = 2;
constexpr qreal segmentRadius = 0.8;
constexpr qreal padding = 1;  // left and right of the columns
constexpr qreal widthBeyondColumns = 3.5;
constexpr qreal holdHeight = 1.6;
constexpr qreal holdBeyondColumn = 1;  // in width

constexpr int framesPerText = 15;

/// Where everything is, in pixels of the screen, so that all edges are sharp.
struct MeterPixels {
  MeterPixels(QSizeF size, qreal pixelsPerPoint)
      : point(pixelsPerPoint),
        width(static_cast<int>(std::lround(size.width() * point))),
        height(static_cast<int>(std::lround(size.height() * point))) {
    columnWidth = std::max(1, static_cast<int>(std::lround((width - widthBeyondColumns * point) / 2)));
    const int left = static_cast<int>(std::lround(padding * point));
    columnX = {left, width - left - columnWidth};
    segmentHeight = segments.height(height / point) * point;
  }

  /// From the top to the upper edge of a segment.
  [[nodiscard]] int top(std::size_t segment) const {
    return height - static_cast<int>(std::lround(pitch() * static_cast<qreal>(segment) + segmentHeight));
  }
  [[nodiscard]] int bottom(std::size_t segment) const {
    return height - static_cast<int>(std::lround(pitch() * static_cast<qreal>(segment)));
  }

  qreal point;
  int width;
  int height;
  int columnWidth = 1;
  std::array<int, 2> columnX{};
  qreal segmentHeight = 1;

 private:
  [[nodiscard]] qreal pitch() const { return segmentHeight + MeterSegments::gap * point; }
};

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

/// The meter at silence.
QImage groundPicture(const MeterPixels& pixels) {
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
    paintSegments(painter, pixels, x, unlitOpacity);
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
class MeterNode final : public QSGNode {
 public:
  explicit MeterNode(QQuickWindow& window) : ground_(window.createImageNode()) {
    ground_->setOwnsTexture(true);
    appendChildNode(ground_);
    for (std::size_t column = 0; column < 2; ++column) {
      lit_[column] = window.createImageNode();
      lit_[column]->setOwnsTexture(true);
    }
    for (auto& hold : hold_) {
      hold = window.createRectangleNode();
      hold->setColor(QColor::fromRgbF(1, 1, 1, holdOpacity));
    }
  }
  ~MeterNode() override {
    for (QSGNode* const node : {static_cast<QSGNode*>(lit_[0]), static_cast<QSGNode*>(lit_[1]),
                                static_cast<QSGNode*>(hold_[0]), static_cast<QSGNode*>(hold_[1])}) {
      if (node->parent() == nullptr) {
        delete node;
      }
    }
  }
  MeterNode(const MeterNode&) = delete;
  MeterNode& operator=(const MeterNode&) = delete;

  void setPictures(QQuickWindow& window, const MeterPixels& pixels) {
    ground_->setTexture(window.createTextureFromImage(groundPicture(pixels)));
    for (auto* const lit : lit_) {
      lit->setTexture(window.createTextureFromImage(litPicture(pixels)));
    }
  }

  void setGround(const QRectF& rect) { ground_->setRect(rect); }

  void setLit(std::size_t column, const QRectF& source, qreal point, qreal x) {
    show(*lit_[column], source.height() > 0);
    if (source.height() > 0) {
      lit_[column]->setSourceRect(source);
      lit_[column]->setRect(x / point, source.y() / point, source.width() / point, source.height() / point);
    }
  }

  void setHold(std::size_t column, bool isShown, const QRectF& rect) {
    show(*hold_[column], isShown);
    if (isShown) {
      hold_[column]->setRect(rect);
    }
  }

 private:
  void show(QSGNode& node, bool isShown) {
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

}  // namespace

LevelMeter::LevelMeter(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
}

void LevelMeter::setBoard(MeterBoard* board) {
  if (board == board_) {
    return;
  }
  disconnect(frames_);
  board_ = board;
  if (board != nullptr) {
    frames_ = connect(board, &MeterBoard::frame, this, &LevelMeter::pull);
  }
  findCell();
  Q_EMIT boardChanged();
}

void LevelMeter::setChannelId(const QString& channelId) {
  if (channelId == channelId_) {
    return;
  }
  channelId_ = channelId;
  findCell();
  Q_EMIT channelIdChanged();
}

void LevelMeter::findCell() {
  cell_ = board_ != nullptr ? board_->cell(channelId_) : nullptr;
  framesToText_ = 0;
}

LevelMeter::Column LevelMeter::columnOf(const MeterCell::Bar& bar) const {
  const float hold = bar.hold.load(std::memory_order_relaxed);
  Column column{segments.lit(bar.displayed.load(std::memory_order_relaxed)), -1};
  if (isMeterHoldShown(hold)) {
    column.hold = static_cast<int>(std::lround(std::min(hold, 1.0F) * height() * pixelsPerPoint_));
  }
  return column;
}

void LevelMeter::pull() {
  if (cell_ == nullptr || !isVisible()) {
    return;
  }
  findScale();
  const std::array now{columnOf(cell_->left), columnOf(cell_->right)};
  if (now != columns_) {
    columns_ = now;
    update();
  }
  if (framesToText_-- <= 0) {
    framesToText_ = framesPerText - 1;
    showDecibels(std::max(cell_->left.displayed.load(std::memory_order_relaxed),
                          cell_->right.displayed.load(std::memory_order_relaxed)));
  }
}

void LevelMeter::showDecibels(double displayed) {
  const int now = static_cast<int>(std::lround(meterDecibels(displayed)));
  if (now != decibels_) {
    decibels_ = now;
    Q_EMIT decibelsChanged();
  }
}

void LevelMeter::findScale() {
  const qreal now = pixelsPerPoint(*this);
  if (now != pixelsPerPoint_ && now > 0) {
    pixelsPerPoint_ = now;
    repaint();
  }
}

void LevelMeter::repaint() {
  isPictureOld_ = true;
  update();
}

void LevelMeter::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (now.size() != before.size()) {
    repaint();
  }
}

QSGNode* LevelMeter::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  const MeterPixels pixels(size(), pixelsPerPoint_);
  if (pixels.width <= 0 || pixels.height <= 0) {
    delete old;
    isPictureOld_ = true;
    return nullptr;
  }
  auto* node = static_cast<MeterNode*>(old);
  if (node == nullptr) {
    node = new MeterNode(*window());
    isPictureOld_ = true;
  }
  if (isPictureOld_) {
    isPictureOld_ = false;
    node->setPictures(*window(), pixels);
  }
  node->setGround(boundingRect());
  const int holdPixels = std::max(1, static_cast<int>(std::lround(holdHeight * pixels.point)));
  const int holdWidth = pixels.columnWidth + static_cast<int>(std::lround(holdBeyondColumn * pixels.point));
  for (std::size_t column = 0; column < columns_.size(); ++column) {
    const auto [lit, hold] = columns_[column];
    const int x = pixels.columnX[column];
    const int top = lit > 0 ? std::max(0, pixels.top(lit - 1)) : pixels.height;
    node->setLit(column, QRectF(0, top, pixels.columnWidth, pixels.height - top), pixels.point, x);
    const int holdY = std::clamp(pixels.height - hold - holdPixels / 2, 0, pixels.height - holdPixels);
    const int holdX = x - (holdWidth - pixels.columnWidth) / 2;
    node->setHold(column, hold >= 0,
                  {holdX / pixels.point, holdY / pixels.point, holdWidth / pixels.point, holdPixels / pixels.point});
  }
  return node;
}

}  // namespace vrel::window
