// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/tap_ring.h"

#include <algorithm>

namespace vrel::audio {
namespace {

constexpr std::size_t minimumFrames = 7200;
constexpr std::size_t minimumSlots = 4;

static_assert(minimumFrames >= std::size_t{4} * maximumBlockFrames);

}  // namespace

TapRing::TapRing(std::uint32_t bufferSize)
    : bufferSize_(std::max<std::uint32_t>(bufferSize, 1)),
      slotCount_(std::max(minimumSlots, minimumFrames / bufferSize_ + 1)),
      samples_(slotCount_ * bufferSize_ * maximumStreamChannels),
      channelCounts_(slotCount_) {}

void TapRing::reset() {
  written_.store(0, std::memory_order_relaxed);
  read_.store(0, std::memory_order_relaxed);
  fill_ = 0;
  fillChannels_ = 0;
  discarding_ = false;
}

float* TapRing::samples(std::uint64_t index, std::uint32_t channel) {
  const std::size_t slot = static_cast<std::size_t>(index % slotCount_);
  return samples_.data() + (slot * maximumStreamChannels + channel) * bufferSize_;
}

std::uint32_t TapRing::write(const Stream& stream, std::uint32_t frameCount) noexcept {
  if (stream.channelCount != fillChannels_) {
    fill_ = 0;
    discarding_ = false;
    fillChannels_ = stream.channelCount;
  }
  std::uint32_t dropped = 0;
  for (std::uint32_t done = 0; done < frameCount;) {
    const std::uint64_t index = written_.load(std::memory_order_relaxed);
    if (fill_ == 0) {
      discarding_ = index - read_.load(std::memory_order_acquire) >= slotCount_;
    }
    const std::uint32_t count = std::min(frameCount - done, bufferSize_ - fill_);
    for (std::uint32_t channel = 0; !discarding_ && channel < stream.channelCount; ++channel) {
      std::copy_n(stream.channels[channel] + done, count, samples(index, channel) + fill_);
    }
    fill_ += count;
    done += count;
    if (fill_ == bufferSize_) {
      dropped += endBuffer();
    }
  }
  return dropped;
}

std::uint32_t TapRing::endBuffer() noexcept {
  fill_ = 0;
  if (discarding_) {
    return 1;
  }
  const std::uint64_t index = written_.load(std::memory_order_relaxed);
  channelCounts_[static_cast<std::size_t>(index % slotCount_)] = fillChannels_;
  written_.store(index + 1, std::memory_order_release);
  return 0;
}

std::size_t TapRing::fullBuffers() const {
  return static_cast<std::size_t>(written_.load(std::memory_order_acquire) - read_.load(std::memory_order_relaxed));
}

std::uint32_t TapRing::nextChannelCount() const {
  return channelCounts_[static_cast<std::size_t>(read_.load(std::memory_order_relaxed) % slotCount_)];
}

void TapRing::read(AVAudioPCMBuffer& buffer) {
  const std::uint64_t index = read_.load(std::memory_order_relaxed);
  const std::uint32_t have = nextChannelCount();
  const std::uint32_t want = buffer.format().channelCount;
  float* const* const target = buffer.floatChannelData();
  for (std::uint32_t channel = 0; channel < want; ++channel) {
    if (channel < have) {
      std::copy_n(samples(index, channel), bufferSize_, target[channel]);
    } else if (channel < maximumStreamChannels && have == 1) {
      std::copy_n(samples(index, 0), bufferSize_, target[channel]);
    } else {
      std::fill_n(target[channel], bufferSize_, 0.0F);
    }
  }
  if (want == 1 && have == 2) {
    const float* const right = samples(index, 1);
    for (std::uint32_t frame = 0; frame < bufferSize_; ++frame) {
      target[0][frame] = 0.5F * (target[0][frame] + right[frame]);
    }
  }
  buffer.frameLength = bufferSize_;
  read_.store(index + 1, std::memory_order_release);
}

}  // namespace vrel::audio
