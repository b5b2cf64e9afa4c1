// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/soft_edges.h"

#include <algorithm>
#include <cstddef>

namespace vrel::audio {

void SoftEdges::shape(const Channels& channels, std::uint32_t frameCount, bool isSounding) noexcept {
  if (isSounding) {
    if (isSilent_) {
      fadedIn_ = 0;
    }
    fadeIn(channels, frameCount);
  } else if (!isSilent_) {
    fadedOut_ = 0;
    edgeSamples_ = lastSamples_;
  }
  isSilent_ = !isSounding;
  addFadeOut(channels, frameCount);
  lastSamples_ = {channels[0][frameCount - 1], channels[1][frameCount - 1]};
}

void SoftEdges::fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedIn_);
  for (float* const samples : channels) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      samples[frame] *= static_cast<float>(fadedIn_ + frame + 1) / static_cast<float>(edgeFrames);
    }
  }
  fadedIn_ += count;
}

void SoftEdges::addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedOut_);
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const auto left = static_cast<float>(edgeFrames - fadedOut_ - frame - 1);
      channels[channel][frame] += edgeSamples_[channel] * left / static_cast<float>(edgeFrames);
    }
  }
  fadedOut_ += count;
}

}  // namespace vrel::audio
