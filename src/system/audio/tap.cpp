// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/tap.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace vrel::audio {

TapPoint::TapPoint() = default;

TapPoint::~TapPoint() {
  remove();
}

void TapPoint::install(std::uint32_t bufferSize, std::optional<AVAudioFormat> format, AVAudioNode::TapBlock block) {
  remove();
  if (!block) {
    return;
  }
  const RecursiveMutexLock lock(delivery_);
  if (!fifo_ || fifo_->bufferSize() != std::max<std::uint32_t>(bufferSize, 1)) {
    fifo_ = std::make_unique<TapFifo>(bufferSize);
  } else {
    fifo_->reset();
  }
  block_ = std::move(block);
  format_ = format;
  makeBuffers();
  active_.store(fifo_.get());
}

void TapPoint::remove() {
  active_.store(nullptr);
  // Sequentially consistent in both threads: either the audio thread sees the null, or we see it at work.
  while (pushing_.load()) {
    std::this_thread::yield();
  }
  AVAudioNode::TapBlock released;
  const RecursiveMutexLock lock(delivery_);
  if (delivering_ && !removedDuringDelivery_) {
    removedDuringDelivery_ = std::move(block_);
  } else {
    released = std::move(block_);
  }
  block_ = nullptr;
}

void TapPoint::setSampleRate(double sampleRate) {
  if (sampleRate == sampleRate_) {
    return;
  }
  const RecursiveMutexLock lock(delivery_);
  sampleRate_ = sampleRate;
  if (block_) {
    makeBuffers();
  }
}

void TapPoint::makeBuffers() {
  const double rate = format_ && format_->sampleRate > 0 ? format_->sampleRate : sampleRate_;
  const std::uint32_t size = fifo_->bufferSize();
  const std::uint32_t channels = format_ ? format_->channelCount : maximumStreamChannels;
  const auto make = [&](std::shared_ptr<AVAudioPCMBuffer>& buffer, std::uint32_t channelCount) {
    const AVAudioFormat format{rate, channelCount};
    if (!buffer || buffer->format() != format || buffer->frameCapacity() != size) {
      buffer = std::make_shared<AVAudioPCMBuffer>(format, size);
    }
  };
  make(stereo_, channels);
  make(mono_, format_ ? channels : 1);
}

void TapPoint::push(const Stream& stream, std::uint32_t frameCount) noexcept {
  if (active_.load(std::memory_order_relaxed) == nullptr) {
    return;
  }
  pushing_.store(true);
  if (TapFifo* const fifo = active_.load(); fifo != nullptr) {
    if (const std::uint32_t dropped = fifo->write(stream, frameCount); dropped > 0) {
      dropped_.fetch_add(dropped, std::memory_order_relaxed);
    }
  }
  pushing_.store(false);
}

std::size_t TapPoint::deliver() {
  const RecursiveMutexLock lock(delivery_);
  if (delivering_ || !block_) {
    return 0;
  }
  delivering_ = true;
  const std::size_t full = fifo_->fullBuffers();
  std::size_t done = 0;
  // What the block does may be anything, its own removal and a new tap included: look each time.
  while (done < full && block_ && !removedDuringDelivery_ && fifo_->fullBuffers() > 0) {
    const std::shared_ptr<AVAudioPCMBuffer> buffer = fifo_->nextChannelCount() == 1 ? mono_ : stereo_;
    fifo_->read(*buffer);
    block_(*buffer);
    ++done;
  }
  endDelivery();
  return done;
}

void TapPoint::endDelivery() {
  delivering_ = false;
  const AVAudioNode::TapBlock released = std::exchange(removedDuringDelivery_, nullptr);
}

}  // namespace vrel::audio
