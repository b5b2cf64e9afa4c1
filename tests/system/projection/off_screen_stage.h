// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSize>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "platform/video_player.h"
#include "system/projection/stage_painter.h"

namespace vrel::system::test {

/// A picture of RGBA that a test computes.
class MadePicture final : public VideoPicture {
 public:
  using Colour = std::array<std::uint8_t, 4>;
  MadePicture(std::size_t width, std::size_t height, const std::function<Colour(std::size_t, std::size_t)>& colourAt)
      : width_(width), height_(height) {
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) {
        const Colour colour = colourAt(x, y);
        pixels_.insert(pixels_.end(), colour.begin(), colour.end());
        hasAlpha_ = hasAlpha_ || colour[3] < 255;
      }
    }
  }
  [[nodiscard]] std::size_t width() const override { return width_; }
  [[nodiscard]] std::size_t height() const override { return height_; }
  [[nodiscard]] double seconds() const override { return 0; }
  [[nodiscard]] bool hasAlpha() const override { return hasAlpha_; }
  [[nodiscard]] bool copyPixels(std::span<std::uint8_t> pixels) const override {
    std::memcpy(pixels.data(), pixels_.data(), pixels_.size());
    return true;
  }
  [[nodiscard]] PicturePlanes planes() const override {
    PicturePlanes planes;
    planes.hasAlpha = hasAlpha_;
    planes.planeCount = 1;
    planes.planes[0] = {pixels_.data(), width_, height_, width_ * 4};
    return planes;
  }

 private:
  std::size_t width_;
  std::size_t height_;
  bool hasAlpha_ = false;
  std::vector<std::uint8_t> pixels_;
};

/// Draws stages into a buffer of its own, with the software OpenGL of the tests' display.
class OffScreenStage {
 public:
  OffScreenStage() {
    surface_.create();
    EXPECT_TRUE(context_.create());
    EXPECT_TRUE(context_.makeCurrent(&surface_));
    auto painter = StagePainter::make(context_);
    EXPECT_TRUE(painter.ok()) << (painter.ok() ? "" : painter.error().description);
    painter_ = std::move(painter).value();
  }
  ~OffScreenStage() {
    context_.makeCurrent(&surface_);
    painter_.reset();
    context_.doneCurrent();
  }
  OffScreenStage(const OffScreenStage&) = delete;
  OffScreenStage& operator=(const OffScreenStage&) = delete;

  /// What is seen, from the top left.
  [[nodiscard]] QImage paint(const StageFrame& frame, QSize size, double scale = 1) {
    auto& gl = *context_.functions();
    unsigned buffer = 0;
    unsigned pixels = 0;
    gl.glGenRenderbuffers(1, &pixels);
    gl.glBindRenderbuffer(GL_RENDERBUFFER, pixels);
    gl.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, size.width(), size.height());
    gl.glGenFramebuffers(1, &buffer);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, buffer);
    gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, pixels);
    EXPECT_EQ(gl.glCheckFramebufferStatus(GL_FRAMEBUFFER), static_cast<unsigned>(GL_FRAMEBUFFER_COMPLETE));
    painter_->paint(frame, size, scale);
    QImage image(size, QImage::Format_RGBA8888);
    gl.glPixelStorei(GL_PACK_ALIGNMENT, 4);
    gl.glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    EXPECT_EQ(gl.glGetError(), static_cast<unsigned>(GL_NO_ERROR));
    gl.glDeleteFramebuffers(1, &buffer);
    gl.glDeleteRenderbuffers(1, &pixels);
    return image.mirrored();
  }

 private:
  QOffscreenSurface surface_;
  QOpenGLContext context_;
  std::unique_ptr<StagePainter> painter_;
};

}  // namespace vrel::system::test
