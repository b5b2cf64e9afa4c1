// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/clip_picture_item.h"

#include <QPainter>
#include <QRectF>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/video_player.h"

namespace vrel::window {
namespace {

QImage imageOf(const VideoPicture& picture) {
  QImage image(static_cast<int>(picture.width()), static_cast<int>(picture.height()), QImage::Format_RGBA8888);
  const bool isPlain = !image.isNull() && static_cast<std::size_t>(image.bytesPerLine()) == picture.width() * 4;
  const auto bytes = static_cast<std::size_t>(image.sizeInBytes());
  return isPlain && picture.copyPixels(std::span<std::uint8_t>(image.bits(), bytes)) ? image : QImage();
}

}  // namespace

void ClipPictureItem::setFrame(const ClipFrame& frame) {
  if (frame == frame_) {
    return;
  }
  frame_ = frame;
  image_ = frame.picture != nullptr ? imageOf(*frame.picture) : frame.image;
  update();
  Q_EMIT changed();
}

void ClipPictureItem::paint(QPainter* painter) {
  if (image_.isNull()) {
    return;
  }
  QSizeF size(image_.size());
  size.scale(boundingRect().size(), Qt::KeepAspectRatio);
  QRectF place(QPointF(), size);
  place.moveCenter(boundingRect().center());
  painter->setRenderHint(QPainter::SmoothPixmapTransform);
  painter->drawImage(place, image_);
}

}  // namespace vrel::window
