// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_envelope.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vrel {
namespace {

constexpr std::uint32_t framesPerEntry = 512;  // at least
constexpr std::uint32_t mostEntries = 240;

float peakOf(const float* begin, const float* end) {
  float peak = 0;
  for (const float* sample = begin; sample != end; ++sample) {
    peak = std::max(peak, std::fabs(*sample));
  }
  return peak;
}

}  // namespace

std::vector<std::pair<float, float>> playbackEnvelope(const AVAudioPCMBuffer& buffer) {
  const std::uint32_t frames = buffer.frameLength;
  const float* const* const channels = buffer.floatChannelData();
  if (channels == nullptr || frames == 0) {
    return {};
  }
  const std::uint32_t entries = frames < framesPerEntry ? 1 : std::min(frames / framesPerEntry, mostEntries);
  const std::uint32_t entryFrames = frames / entries;
  std::vector<std::pair<float, float>> envelope(entries);
  for (std::uint32_t entry = 0; entry < entries; ++entry) {
    const std::uint32_t begin = entry * entryFrames;
    const std::uint32_t end = std::min(begin + entryFrames, frames);
    const float left = peakOf(channels[0] + begin, channels[0] + end);
    const bool isStereo = buffer.format().channelCount >= 2;
    envelope[entry] = {left, isStereo ? peakOf(channels[1] + begin, channels[1] + end) : left};
  }
  return envelope;
}

}  // namespace vrel
