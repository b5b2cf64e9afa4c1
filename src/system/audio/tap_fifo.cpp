// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/tap_fifo.h"

#include <algorithm>

namespace vrel::audio {
namespace {

constexpr std::uint32_t minimumFrames = 7200;
constexpr std::uint32_t minimumBuffers = 4;

static_assert(minimumFrames >= 4 * maximumBlockFrames);

}  // namespace

TapFifo::TapFifo(std::uint32_t bufferSize)
    : bufferSize_(std::max<std::uint32_t>(bufferSize, 1)),
      bufferCount_(std::max(minimumBuffers, minimumFrames / bufferSize_ + 1)),
      frames_(bufferCount_ * bufferSize_),
      channelCounts_(bufferCount_),
      right_(bufferSize_) {}

void TapFifo::reset() {
  frames_.reset();
  nextBuffer_ = 0;
  fill_ = 0;
  fillChannels_ = 0;
  discarding_ = false;
  oldestBuffer_ = 0;
}

std::uint32_t TapFifo::write(const Stream& stream, std::uint32_t frameCount) noexcept {
  if (stream.channelCount != fillChannels_) {
    fill_ = 0;
    discarding_ = false;
    fillChannels_ = stream.channelCount;
  }
  std::uint32_t dropped = 0;
  for (std::uint32_t done = 0; done < frameCount;) {
    if (fill_ == 0) {
      discarding_ = fullBuffers() >= bufferCount_;
    }
    const std::uint32_t count = std::min(frameCount - done, bufferSize_ - fill_);
    for (std::uint32_t channel = 0; !discarding_ && channel < stream.channelCount; ++channel) {
      frames_.place(channel, fill_, stream.channels[channel] + done, count);
    }
    fill_ += count;
    done += count;
    if (fill_ == bufferSize_) {
      dropped += endBuffer();
    }
  }
  return dropped;
}

std::uint32_t TapFifo::endBuffer() noexcept {
  fill_ = 0;
  if (discarding_) {
    return 1;
  }
  channelCounts_[nextBuffer_] = fillChannels_;
  nextBuffer_ = nextBuffer_ + 1 == bufferCount_ ? 0 : nextBuffer_ + 1;
  frames_.commit(bufferSize_);
  return 0;
}

std::uint32_t TapFifo::nextChannelCount() const {
  return channelCounts_[oldestBuffer_];
}

void TapFifo::read(AVAudioPCMBuffer& buffer) {
  const std::uint32_t have = nextChannelCount();
  const std::uint32_t want = buffer.format().channelCount;
  float* const* const target = buffer.floatChannelData();
  for (std::uint32_t channel = 0; channel < want; ++channel) {
    if (channel < have) {
      frames_.copyOldest(channel, target[channel], bufferSize_);
    } else if (channel < maximumStreamChannels && have == 1) {
      frames_.copyOldest(0, target[channel], bufferSize_);
    } else {
      std::fill_n(target[channel], bufferSize_, 0.0F);
    }
  }
  if (want == 1 && have == 2) {
    frames_.copyOldest(1, right_.data(), bufferSize_);
    for (std::uint32_t frame = 0; frame < bufferSize_; ++frame) {
      target[0][frame] = 0.5F * (target[0][frame] + right_[frame]);
    }
  }
  buffer.frameLength = bufferSize_;
  oldestBuffer_ = oldestBuffer_ + 1 == bufferCount_ ? 0 : oldestBuffer_ + 1;
  frames_.release(bufferSize_);
}

}  // namespace vrel::audio
