// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vrel {

/// The content of a stereo WAV file of 32-bit floats.
struct SoundFile {
  std::size_t rate = 0;  // frames per second
  std::vector<float> left;
  std::vector<float> right;

  [[nodiscard]] std::size_t frameCount() const { return left.size(); }
  [[nodiscard]] bool isFinite() const;
  [[nodiscard]] float peak() const;

  /// The first frame that is not silent; the number of frames when all are.
  [[nodiscard]] std::size_t firstSound() const;

  /// Between two frames: the level, and the zero crossings per second of the left channel.
  [[nodiscard]] double rmsDecibels(std::size_t begin, std::size_t end) const;
  [[nodiscard]] double crossingsPerSecond(std::size_t begin, std::size_t end) const;
};

/// Parses the bytes of a file; no frames and rate 0 for any other format.
[[nodiscard]] SoundFile soundIn(const std::string& bytes);

}  // namespace vrel
