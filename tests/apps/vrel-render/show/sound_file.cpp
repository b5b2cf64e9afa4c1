// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/show/sound_file.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace vrel {
namespace {

std::uint32_t number(const std::string& bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t index = 0; index < width; ++index) {
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(offset + index))) << (8 * index);
  }
  return value;
}

}  // namespace

bool SoundFile::isFinite() const {
  const auto finite = [](float sample) { return std::isfinite(sample); };
  return std::all_of(left.begin(), left.end(), finite) && std::all_of(right.begin(), right.end(), finite);
}

float SoundFile::peak() const {
  float peak = 0;
  for (std::size_t frame = 0; frame < frameCount(); ++frame) {
    peak = std::max({peak, std::abs(left[frame]), std::abs(right[frame])});
  }
  return peak;
}

std::size_t SoundFile::firstSound() const {
  std::size_t frame = 0;
  while (frame < frameCount() && left[frame] == 0 && right[frame] == 0) {
    ++frame;
  }
  return frame;
}

double SoundFile::rmsDecibels(std::size_t begin, std::size_t end) const {
  double sum = 0;
  for (std::size_t frame = begin; frame < end; ++frame) {
    sum += 0.5 * (std::pow(left[frame], 2) + std::pow(right[frame], 2));
  }
  return 10 * std::log10(sum / static_cast<double>(end - begin));
}

double SoundFile::crossingsPerSecond(std::size_t begin, std::size_t end) const {
  std::size_t count = 0;
  for (std::size_t frame = begin + 1; frame < end; ++frame) {
    count += (left[frame - 1] < 0) != (left[frame] < 0) ? 1U : 0U;
  }
  return static_cast<double>(count * rate) / static_cast<double>(end - begin);
}

SoundFile soundIn(const std::string& bytes) {
  SoundFile sound;
  if (bytes.size() < 12 || !bytes.starts_with("RIFF") || bytes.substr(8, 4) != "WAVE") {
    return sound;
  }
  for (std::size_t offset = 12; offset + 8 <= bytes.size(); offset += 8 + number(bytes, offset + 4, 4)) {
    const std::string name = bytes.substr(offset, 4);
    const std::size_t content = offset + 8;
    if (name == "fmt " && number(bytes, content, 2) == 3 && number(bytes, content + 2, 2) == 2) {
      sound.rate = number(bytes, content + 4, 4);
    } else if (name == "data" && sound.rate != 0) {
      for (std::size_t at = content; at < content + number(bytes, offset + 4, 4); at += 8) {
        sound.left.push_back(std::bit_cast<float>(number(bytes, at, 4)));
        sound.right.push_back(std::bit_cast<float>(number(bytes, at + 4, 4)));
      }
    }
  }
  return sound;
}

}  // namespace vrel
