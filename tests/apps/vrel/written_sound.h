// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>

namespace vrel::app::test {

/// Writes a WAV file, mono, 16 bits; a sample is from -32768 to 32767.
inline void writeSound(const std::filesystem::path& path, std::uint32_t rate, std::uint32_t frames,
                       const std::function<double(std::uint32_t frame)>& sample) {
  std::ofstream out(path, std::ios::binary);
  const auto put = [&out](std::uint32_t value, int bytes) {
    for (int byte = 0; byte < bytes; ++byte) {
      out.put(static_cast<char>(value >> (8 * byte)));
    }
  };
  out << "RIFF";
  put(36 + 2 * frames, 4);
  out << "WAVEfmt ";
  put(16, 4);
  put(1, 2);
  put(1, 2);
  put(rate, 4);
  put(2 * rate, 4);
  put(2, 2);
  put(16, 2);
  out << "data";
  put(2 * frames, 4);
  for (std::uint32_t frame = 0; frame < frames; ++frame) {
    put(static_cast<std::uint32_t>(std::lround(sample(frame))) & 0xFFFFU, 2);
  }
}

}  // namespace vrel::app::test
