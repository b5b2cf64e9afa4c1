// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "system/media/clip_picture.h"

namespace vrel::system {

/// What the bytes of a still picture say of it; all of it may be wrong.
struct StillHeader {
  enum class Kind { png, jpeg, webp };
  Kind kind = Kind::png;
  std::uint32_t width = 0;  // pixels, as stored; 0 where it is not found
  std::uint32_t height = 0;
  ClipOrientation orientation{};  // of the Exif data

  /// None for bytes that do not begin as such a picture.
  [[nodiscard]] static std::optional<StillHeader> read(std::span<const std::uint8_t> bytes);
};

/// A still picture in a file (PNG, JPEG, WebP), known by its content and not by its name. One thread at a time.
///
/// Photos may have many more pixels than any stage: they are decoded once and kept with at most `longestSide`.
class StillFile {
 public:
  static constexpr std::uint64_t mostPixels = std::uint64_t{64} << 20;
  static constexpr std::uint64_t mostBytes = std::uint64_t{128} << 20;
  static constexpr int longestSide = 3840;

  /// Reads the file, which need not be there afterwards. None for any other kind of file.
  [[nodiscard]] static std::optional<StillFile> open(const std::string& path);

  /// It has more pixels or bytes than are decoded.
  [[nodiscard]] bool isTooLarge() const;

  /// Null when it is too large or damaged.
  [[nodiscard]] ClipPicturePointer decode() const;

 private:
  explicit StillFile(StillHeader header) : header_(header) {}

  StillHeader header_;
  bool hasTooManyBytes_ = false;
  std::vector<std::uint8_t> bytes_;  // with the zeros behind them that decoders want
};

}  // namespace vrel::system
