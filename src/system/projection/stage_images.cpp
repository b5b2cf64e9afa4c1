// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_images.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QString>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace vrel::system {
namespace {

constexpr double placeholderPoints = 40;
constexpr int greySteps = 11;

class ImagePicture final : public VideoPicture {
 public:
  explicit ImagePicture(QImage image) : image_(std::move(image)) {}
  [[nodiscard]] std::size_t width() const override { return static_cast<std::size_t>(image_.width()); }
  [[nodiscard]] std::size_t height() const override { return static_cast<std::size_t>(image_.height()); }
  [[nodiscard]] double seconds() const override { return 0; }
  [[nodiscard]] bool hasAlpha() const override { return image_.hasAlphaChannel(); }
  [[nodiscard]] bool copyPixels(std::span<std::uint8_t> pixels) const override {
    const std::size_t bytes = width() * height() * 4;
    if (pixels.size() < bytes) {
      return false;
    }
    std::memcpy(pixels.data(), image_.constBits(), bytes);  // its rows have no gaps
    return true;
  }
  [[nodiscard]] PicturePlanes planes() const override {
    PicturePlanes planes;
    planes.hasAlpha = hasAlpha();
    planes.planeCount = 1;
    planes.planes[0] = {image_.constBits(), width(), height(), static_cast<std::size_t>(image_.bytesPerLine())};
    return planes;
  }

 private:
  const QImage image_;
};

QFont fontOf(double pixels) {
  QFont font;
  font.setPixelSize(std::max(1, static_cast<int>(pixels)));
  return font;
}

QImage blank(QSize size, const QColor& color) {
  QImage image(size.expandedTo({1, 1}), QImage::Format_RGBA8888);
  image.fill(color);
  return image;
}

}  // namespace

std::shared_ptr<const VideoPicture> placeholderPicture(const std::string& words, QSize size, double scale) {
  QImage image = blank(size, Qt::transparent);
  QPainter painter(&image);
  painter.setPen(Qt::white);
  painter.setFont(fontOf(placeholderPoints * scale));
  painter.drawText(image.rect(), Qt::AlignCenter, QString::fromStdString(words));
  painter.end();
  return std::make_shared<ImagePicture>(std::move(image));
}

std::shared_ptr<const VideoPicture> testPicture(const std::string& lines, QSize size, double scale) {
  QImage image = blank(size, Qt::black);
  QPainter painter(&image);
  const int width = image.width();
  const int height = image.height();
  constexpr std::array bars{Qt::white, Qt::yellow, Qt::cyan, Qt::green, Qt::magenta, Qt::red, Qt::blue};
  const int count = static_cast<int>(bars.size());
  for (int index = 0; index < count; ++index) {
    const int left = width * index / count;
    painter.fillRect(left, 0, width * (index + 1) / count - left, height / 4, bars[static_cast<std::size_t>(index)]);
  }
  for (int index = 0; index < greySteps; ++index) {
    const int left = width * index / greySteps;
    const int grey = 255 * index / (greySteps - 1);
    painter.fillRect(left, height - height / 4, width * (index + 1) / greySteps - left, height,
                     QColor(grey, grey, grey));
  }
  const int line = std::max(1, static_cast<int>(scale));
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Qt::gray, 2 * line));
  const int radius = std::min(width, height) * 9 / 20;
  painter.drawEllipse(QPoint(width / 2, height / 2), radius, radius);
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setPen(QPen(Qt::white, line));
  painter.drawRect(0, 0, width - 1, height - 1);
  painter.setFont(fontOf(std::max(12 * scale, height / 16.0)));
  painter.drawText(image.rect().adjusted(0, height / 4, 0, -height / 4), Qt::AlignCenter | Qt::TextWordWrap,
                   QString::fromStdString(lines));
  painter.end();
  return std::make_shared<ImagePicture>(std::move(image));
}

}  // namespace vrel::system
