// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vrel {

/// What a WAV file of 32-bit floats in two channels holds.
struct SoundFile {
  std::size_t rate = 0;  // frames per second
  std::vector<float> left;
  std::vector<float> right;

  [[nodiscard]] std::size_t frameCount() const { return left.size(); }
  [[nodiscard]] bool isFinite() const;
  [[nodiscard]] float peak() const;

  /// The first frame that is not silent; the number of frames when all are.
  [[nodiscard]] std::size_t firstSound() const;

  /// From one frame up to another: the level, and how often the left side crosses zero in a second.
  [[nodiscard]] double rmsDecibels(std::size_t begin, std::size_t end) const;
  [[nodiscard]] double crossingsPerSecond(std::size_t begin, std::size_t end) const;
};

/// Takes the bytes of a file; one that has another form gives no frames and rate 0.
[[nodiscard]] SoundFile soundIn(const std::string& bytes);

}  // namespace vrel
