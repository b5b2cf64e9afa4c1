// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/offline_device.h"

#include <algorithm>

namespace vrel::audio {

OfflineDevice::OfflineDevice(double sampleRate, std::uint32_t blockFrames)
    : sampleRate_(sampleRate), blockFrames_(blockFrames), left_(blockFrames), right_(blockFrames) {}

Outcome OfflineDevice::start(BlockRenderer& renderer) {
  if (!(sampleRate_ > 0) || blockFrames_ == 0) {
    return Error{"the offline device needs a sample rate and a block size above zero"};
  }
  if (renderer_ != nullptr) {
    return Error{"the offline device is in use by another engine"};
  }
  renderer_ = &renderer;
  return {};
}

OfflineDevice::Block OfflineDevice::renderBlock(std::uint32_t frameCount) {
  if (frameCount > left_.size()) {
    left_.resize(frameCount);
    right_.resize(frameCount);
  }
  std::fill(left_.begin(), left_.end(), 0.0F);
  std::fill(right_.begin(), right_.end(), 0.0F);
  if (renderer_ != nullptr && frameCount > 0) {
    renderer_->render(left_.data(), right_.data(), frameCount);
    renderer_->pump();
  }
  return {.left = {left_.data(), frameCount}, .right = {right_.data(), frameCount}};
}

}  // namespace vrel::audio
