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
    beginFadeOut();
  }
  isSilent_ = !isSounding;
  addFadeOut(channels, frameCount);
  noteHistory(channels, frameCount);
}

void SoftEdges::forget() noexcept {
  isSilent_ = true;
  fadedOut_ = edgeFrames;
  history_ = {};
}

// The history is what was heard, fades included: so what an earlier edge still had to play goes on in this one.
void SoftEdges::beginFadeOut() noexcept {
  fadedOut_ = 0;
  for (std::size_t channel = 0; channel < history_.size(); ++channel) {
    std::array<float, continuationHistory> past;
    std::rotate_copy(history_[channel].begin(), history_[channel].begin() + historyEnd_, history_[channel].end(),
                     past.begin());
    continueSignal(past, ending_[channel]);
  }
}

void SoftEdges::fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedIn_);
  for (float* const samples : channels) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      samples[frame] *= fadeInAt(fadedIn_ + frame, edgeFrames);
    }
  }
  fadedIn_ += count;
}

void SoftEdges::addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedOut_);
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const std::uint32_t at = fadedOut_ + frame;
      channels[channel][frame] += ending_[channel][at] * (1.0F - fadeInAt(at, edgeFrames));
    }
  }
  fadedOut_ += count;
}

void SoftEdges::noteHistory(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, continuationHistory);
  const std::uint32_t first = std::min(count, continuationHistory - historyEnd_);
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    const float* const newest = channels[channel] + frameCount - count;
    std::copy_n(newest, first, history_[channel].begin() + historyEnd_);
    std::copy_n(newest + first, count - first, history_[channel].begin());
  }
  historyEnd_ = (historyEnd_ + count) % continuationHistory;
}

}  // namespace vrel::audio
