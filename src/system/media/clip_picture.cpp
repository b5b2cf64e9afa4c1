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
#include <iterator>
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

bool isFullRange(const AVFrame& frame) {
  switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P:
      return true;
    default:
      return frame.color_range == AVCOL_RANGE_JPEG;
  }
}

PicturePlanes::Matrix matrixOf(const AVFrame& frame) {
  switch (colorsOf(frame)) {
    case AVCOL_SPC_BT709:
    case AVCOL_SPC_SMPTE240M:  // almost the same
      return PicturePlanes::Matrix::bt709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return PicturePlanes::Matrix::bt2020;
    default:
      return PicturePlanes::Matrix::bt601;
  }
}

/// The format that a picture of this one is kept in: itself, unless it has other samples than bytes or another layout
/// than `PicturePlanes`.
AVPixelFormat keptFormat(AVPixelFormat format) {
  const auto* const described = av_pix_fmt_desc_get(format);
  if (described == nullptr) {
    return AV_PIX_FMT_NONE;
  }
  const bool isColour = described->nb_components >= 3;
  const bool hasAlphaPlane = (described->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  constexpr std::uint64_t otherwise =
      AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_BAYER;
  if ((described->flags & (otherwise | AV_PIX_FMT_FLAG_HWACCEL)) != 0 || (!isColour && hasAlphaPlane)) {
    return AV_PIX_FMT_RGBA;
  }
  const bool isPlanar = !isColour || (described->flags & AV_PIX_FMT_FLAG_PLANAR) != 0;
  if (format == AV_PIX_FMT_NV12 ||
      (isPlanar && described->comp[0].depth == 8 && format != AV_PIX_FMT_NV21 && format != AV_PIX_FMT_NV16 &&
       format != AV_PIX_FMT_NV24 && format != AV_PIX_FMT_NV42)) {
    return format;
  }
  if (!isColour) {
    return AV_PIX_FMT_GRAY8;
  }
  const bool halvesX = described->log2_chroma_w > 0;
  const bool halvesY = described->log2_chroma_h > 0;
  if (hasAlphaPlane) {
    return halvesY ? AV_PIX_FMT_YUVA420P : halvesX ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUVA444P;
  }
  return halvesY ? AV_PIX_FMT_YUV420P : halvesX ? AV_PIX_FMT_YUV422P : AV_PIX_FMT_YUV444P;
}

}  // namespace

ClipFrameConverter::~ClipFrameConverter() {
  sws_freeContext(scaler_);
}

AVFrame* ClipFrameConverter::convert(AVFrame* frame, int longestSide) {
  const auto format = static_cast<AVPixelFormat>(frame->format);
  const AVPixelFormat kept = keptFormat(format);
  const bool isUpsideDown =
      std::any_of(std::begin(frame->linesize), std::end(frame->linesize), [](int bytes) { return bytes < 0; });
  const int longest = std::max(frame->width, frame->height);
  const bool isTooLong = longest > longestSide;
  if (kept == format && !isUpsideDown && !isTooLong) {
    return frame;
  }
  const auto shortened = [&](int side) {
    return isTooLong ? std::max(1, static_cast<int>(std::int64_t{side} * longestSide / longest)) : side;
  };
  AVFrame* converted = av_frame_alloc();
  if (converted != nullptr) {
    converted->format = kept;
    converted->width = shortened(frame->width);
    converted->height = shortened(frame->height);
  }
  bool isDone = converted != nullptr && kept != AV_PIX_FMT_NONE && av_frame_get_buffer(converted, 0) >= 0 &&
                av_frame_copy_props(converted, frame) >= 0;
  if (isDone) {
    scaler_ =
        sws_getCachedContext(scaler_, frame->width, frame->height, format, converted->width, converted->height, kept,
                             (isTooLong ? SWS_AREA : SWS_BILINEAR) | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
    isDone = scaler_ != nullptr;
  }
  if (isDone) {
    const int* const colors = sws_getCoefficients(colorsOf(*frame));
    const int range = isFullRange(*frame) ? 1 : 0;
    sws_setColorspaceDetails(scaler_, colors, range, colors, kept == AV_PIX_FMT_RGBA ? 1 : range, 0, 1 << 16, 1 << 16);
    isDone = sws_scale(scaler_, frame->data, frame->linesize, 0, frame->height, converted->data, converted->linesize) ==
             converted->height;
  }
  av_frame_free(&frame);
  if (!isDone) {
    av_frame_free(&converted);
  }
  return converted;
}

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
  sws_setColorspaceDetails(scaler.get(), colors, isFullRange(*frame_) ? 1 : 0, colors, 1, 0, 1 << 16, 1 << 16);
  std::uint8_t* const rows[] = {pixels.data(), nullptr, nullptr, nullptr};
  const int rowBytes[] = {shownWidth * static_cast<int>(pixelBytes), 0, 0, 0};
  return sws_scale(scaler.get(), frame_->data, frame_->linesize, 0, frame_->height, rows, rowBytes) == frame_->height;
}

PicturePlanes ClipPicture::planes() const {
  PicturePlanes planes;
  const auto format = static_cast<AVPixelFormat>(frame_->format);
  const auto* const described = av_pix_fmt_desc_get(format);
  planes.hasAlpha = hasAlpha();
  planes.matrix = matrixOf(*frame_);
  planes.isFullRange = isFullRange(*frame_);
  planes.mirrorsX = orientation_.mirrorsX;
  planes.mirrorsY = orientation_.mirrorsY;
  planes.transposed = orientation_.transposed;
  const int count = av_pix_fmt_count_planes(format);
  if (described == nullptr || count <= 0) {
    return planes;
  }
  using Layout = PicturePlanes::Layout;
  planes.layout = format == AV_PIX_FMT_RGBA   ? Layout::rgba
                  : format == AV_PIX_FMT_NV12 ? Layout::interleaved
                                              : Layout::separate;
  planes.planeCount = static_cast<std::size_t>(count);
  planes.chromaColumns = std::size_t{1} << described->log2_chroma_w;
  planes.chromaRows = std::size_t{1} << described->log2_chroma_h;
  // What says nothing of it is video, where they lie to the left; a JPEG says that it has them in the middle.
  planes.isChromaLeft = planes.chromaColumns > 1 && frame_->chroma_location != AVCHROMA_LOC_CENTER &&
                        frame_->chroma_location != AVCHROMA_LOC_TOP;
  const auto width = static_cast<std::size_t>(frame_->width);
  const auto height = static_cast<std::size_t>(frame_->height);
  for (std::size_t index = 0; index < planes.planeCount; ++index) {
    const bool isChroma = planes.layout != Layout::rgba && (index == 1 || index == 2);
    const std::size_t columns = isChroma ? planes.chromaColumns : 1;
    const std::size_t rows = isChroma ? planes.chromaRows : 1;
    planes.planes[index] = {frame_->data[index], (width + columns - 1) / columns, (height + rows - 1) / rows,
                            static_cast<std::size_t>(frame_->linesize[index])};
  }
  return planes;
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
