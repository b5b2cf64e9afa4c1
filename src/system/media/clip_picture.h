// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

#include "platform/video_player.h"

struct AVFrame;
struct SwsContext;

namespace vrel::system {

/// How stored rows become the picture as it is meant to be seen: first mirrored along the stored axes, then, where
/// `transposed`, rows and columns change places.
struct ClipOrientation {
  bool transposed = false;
  bool mirrorsX = false;
  bool mirrorsY = false;

  /// From the nine numbers of a display matrix; null means upright. Other angles than quarter turns go to the nearest.
  [[nodiscard]] static ClipOrientation fromDisplayMatrix(const std::int32_t* matrix);

  bool operator==(const ClipOrientation&) const = default;
};

/// A decoded picture with its samples as the codec gave them: colours are converted by what shows it. Only a format
/// that `planes` cannot describe is converted once (`ClipFrameConverter`).
class ClipPicture final : public VideoPicture {
 public:
  /// Takes over the frame, which must not be null and have a format that `planes` can describe.
  ClipPicture(AVFrame* frame, double seconds, double duration, ClipOrientation orientation);
  ~ClipPicture() override;
  ClipPicture(const ClipPicture&) = delete;
  ClipPicture& operator=(const ClipPicture&) = delete;

  [[nodiscard]] std::size_t width() const override;
  [[nodiscard]] std::size_t height() const override;
  [[nodiscard]] double seconds() const override { return seconds_; }
  [[nodiscard]] bool hasAlpha() const override;
  [[nodiscard]] bool copyPixels(std::span<std::uint8_t> pixels) const override;
  [[nodiscard]] PicturePlanes planes() const override;

  [[nodiscard]] double endSeconds() const { return seconds_ + duration_; }
  /// The memory it takes.
  [[nodiscard]] std::size_t byteCount() const;

 private:
  [[nodiscard]] int storedWidth() const;  // with square pixels
  [[nodiscard]] bool convert(std::span<std::uint8_t> pixels) const;

  AVFrame* frame_;
  double seconds_;
  double duration_;
  ClipOrientation orientation_;
};

/// Brings frames of other formats into one that pictures have: 8-bit planes, with the subsampling, matrix and range
/// that they have, or RGBA. One thread at a time.
class ClipFrameConverter {
 public:
  ClipFrameConverter() = default;
  ~ClipFrameConverter();
  ClipFrameConverter(const ClipFrameConverter&) = delete;
  ClipFrameConverter& operator=(const ClipFrameConverter&) = delete;

  /// The frame itself where it is fine, or another in its place, with what it belongs to released; null when it cannot
  /// be converted. One with a longer side than `longestSide` is made smaller.
  [[nodiscard]] AVFrame* convert(AVFrame* frame, int longestSide = std::numeric_limits<int>::max());

 private:
  SwsContext* scaler_ = nullptr;  // of the last conversion
};

using ClipPicturePointer = std::shared_ptr<const ClipPicture>;

}  // namespace vrel::system
