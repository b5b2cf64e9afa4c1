// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/video_player.h"

namespace vrel::system::test {

inline std::string clipFile(const std::string& name) {
  return std::string(VREL_CLIP_FOLDER) + "/" + name;
}

/// Missing, empty or damaged beyond use, or without pictures to show, or with some that nothing here decodes.
inline std::vector<std::string> filesWithoutPictures() {
  return {"gone.mp4",
          "empty.mp4",
          "text.mov",
          "without-index.mp4",
          "only-header.mkv",
          "only-sound.mp4",
          "only-cover.mp4",
          "text.png",
          "only-header.png",
          "only-header.jpg",
          "only-header.webp",
          "no-end.jpg",
          "too-large.png",
          "too-large.jpg",
          "too-large.webp",
          "unknown-codec.mkv",
          "."};
}

using Pixel = std::array<std::uint8_t, 4>;  // red, green, blue, alpha

/// The pixel in the middle of a quarter: 0 or 1 from the left and from the top.
inline Pixel pixelOf(const VideoPicture& picture, std::size_t right, std::size_t down) {
  std::vector<std::uint8_t> pixels(picture.width() * picture.height() * 4);
  EXPECT_TRUE(picture.copyPixels(pixels));
  const std::size_t x = picture.width() * (1 + 2 * right) / 4;
  const std::size_t y = picture.height() * (1 + 2 * down) / 4;
  Pixel pixel{};
  for (std::size_t part = 0; part < pixel.size(); ++part) {
    pixel[part] = pixels[(y * picture.width() + x) * 4 + part];
  }
  return pixel;
}

inline double lumaOf(const Pixel& pixel) {
  return 16 + pixel[0] * 219.0 / 255;
}

/// The number of a picture of a "count" clip; -1 for no picture.
inline int countOf(const std::shared_ptr<const VideoPicture>& picture) {
  return picture == nullptr ? -1 : static_cast<int>(std::lround((lumaOf(pixelOf(*picture, 0, 0)) - 20) / 8));
}

}  // namespace vrel::system::test
