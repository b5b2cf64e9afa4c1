// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_picture.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace vrel::system {
namespace {

constexpr std::size_t pixelBytes = 4;
constexpr int highDefinitionHeight = 720;  // from here on, files without a colour space mean BT.709

struct ScalerRelease {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerRelease>;

int colorsOf(const AVFrame& frame) {
  if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB) {
    return frame.colorspace;
  }
  return frame.height >= highDefinitionHeight ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

}  // namespace

ClipOrientation ClipOrientation::fromDisplayMatrix(const std::int32_t* matrix) {
  if (matrix == nullptr) {
    return {};
  }
  // x' = a x + c y and y' = b x + d y, in the order a b u c d v.
  const std::int64_t a = matrix[0];
  const std::int64_t b = matrix[1];
  const std::int64_t c = matrix[3];
  const std::int64_t d = matrix[4];
  if (std::abs(a) >= std::abs(c)) {
    return {false, a < 0, d < 0};
  }
  return {true, b < 0, c < 0};
}

ClipPicture::ClipPicture(AVFrame* frame, double seconds, double duration, ClipOrientation orientation)
    : frame_(frame), seconds_(seconds), duration_(duration), orientation_(orientation) {}

ClipPicture::~ClipPicture() {
  av_frame_free(&frame_);
}

int ClipPicture::storedWidth() const {
  const AVRational pixel = frame_->sample_aspect_ratio;
  if (pixel.num <= 0 || pixel.den <= 0) {
    return frame_->width;
  }
  const double shape = std::clamp(av_q2d(pixel), 0.25, 4.0);  // beyond that the header is wrong
  return std::max(1, static_cast<int>(std::lround(frame_->width * shape)));
}

std::size_t ClipPicture::width() const {
  return static_cast<std::size_t>(orientation_.transposed ? frame_->height : storedWidth());
}

std::size_t ClipPicture::height() const {
  return static_cast<std::size_t>(orientation_.transposed ? storedWidth() : frame_->height);
}

bool ClipPicture::hasAlpha() const {
  const auto* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame_->format));
  return format != nullptr && (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

std::size_t ClipPicture::byteCount() const {
  std::size_t bytes = 0;
  for (const auto* buffer : frame_->buf) {
    bytes += buffer != nullptr ? buffer->size : 0;
  }
  return bytes;
}

bool ClipPicture::convert(std::span<std::uint8_t> pixels) const {
  const int shownWidth = storedWidth();
  const Scaler scaler(sws_getContext(frame_->width, frame_->height, static_cast<AVPixelFormat>(frame_->format),
                                     shownWidth, frame_->height, AV_PIX_FMT_RGBA, SWS_BILINEAR | SWS_ACCURATE_RND,
                                     nullptr, nullptr, nullptr));
  if (scaler == nullptr) {
    return false;
  }
  const int* const colors = sws_getCoefficients(colorsOf(*frame_));
  const int isFullRange = frame_->color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  sws_setColorspaceDetails(scaler.get(), colors, isFullRange, colors, 1, 0, 1 << 16, 1 << 16);
  std::uint8_t* const rows[] = {pixels.data(), nullptr, nullptr, nullptr};
  const int rowBytes[] = {shownWidth * static_cast<int>(pixelBytes), 0, 0, 0};
  return sws_scale(scaler.get(), frame_->data, frame_->linesize, 0, frame_->height, rows, rowBytes) == frame_->height;
}

bool ClipPicture::copyPixels(std::span<std::uint8_t> pixels) const {
  const std::size_t byteCount = width() * height() * pixelBytes;
  if (pixels.size() < byteCount) {
    return false;
  }
  if (orientation_ == ClipOrientation{}) {
    return convert(pixels.first(byteCount));
  }
  std::vector<std::uint8_t> stored(byteCount);
  if (!convert(stored)) {
    return false;
  }
  const auto rowLength = static_cast<std::size_t>(storedWidth());
  const auto rowCount = static_cast<std::size_t>(frame_->height);
  std::uint8_t* output = pixels.data();
  for (std::size_t y = 0; y < height(); ++y) {
    for (std::size_t x = 0; x < width(); ++x, output += pixelBytes) {
      const auto [alongRow, alongColumn] = orientation_.transposed ? std::pair(y, x) : std::pair(x, y);
      const std::size_t column = orientation_.mirrorsX ? rowLength - 1 - alongRow : alongRow;
      const std::size_t row = orientation_.mirrorsY ? rowCount - 1 - alongColumn : alongColumn;
      std::memcpy(output, &stored[(row * rowLength + column) * pixelBytes], pixelBytes);
    }
  }
  return true;
}

}  // namespace vrel::system
