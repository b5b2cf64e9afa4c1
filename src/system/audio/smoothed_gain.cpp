// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/smoothed_gain.h"

#include <algorithm>
#include <cmath>

namespace vrel::audio {
namespace {

constexpr double rampSeconds = 0.005;

void scale(const Stream& stream, std::uint32_t begin, std::uint32_t end, float factor) noexcept {
  if (factor == 1.0F) {
    return;
  }
  for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
    float* const samples = stream.channels[channel];
    if (factor == 0.0F) {
      std::fill(samples + begin, samples + end, 0.0F);
      continue;
    }
    for (std::uint32_t frame = begin; frame < end; ++frame) {
      samples[frame] *= factor;
    }
  }
}

}  // namespace

void SmoothedGain::prepare(double sampleRate) {
  const auto frames = static_cast<std::uint32_t>(std::max(1.0, std::round(sampleRate * rampSeconds)));
  if (frames != rampFrames_) {
    rampFrames_ = frames;
    from_ = to_;
    position_ = frames;
  }
}

float SmoothedGain::target() const noexcept {
  const float gain = get();
  return std::isfinite(gain) ? gain : 0.0F;
}

void SmoothedGain::follow(float target) noexcept {
  if (!begun_) {
    begun_ = true;
    from_ = target;
    to_ = target;
    position_ = rampFrames_;
  } else if (target != to_) {
    const float progress = static_cast<float>(position_) / static_cast<float>(rampFrames_);
    from_ = position_ >= rampFrames_ ? to_ : from_ + (to_ - from_) * progress;
    to_ = target;
    position_ = 0;
  }
}

void SmoothedGain::apply(const Stream& stream, std::uint32_t frameCount) noexcept {
  follow(target());
  const std::uint32_t ramped = std::min(frameCount, rampFrames_ - position_);
  if (ramped > 0) {
    // Counted back from the end, so that the last frame is at the level exactly.
    const float end = to_;
    const float step = (to_ - from_) / static_cast<float>(rampFrames_);
    const auto left = static_cast<float>(rampFrames_ - position_ - 1);
    for (std::uint32_t channel = 0; channel < stream.channelCount; ++channel) {
      float* const samples = stream.channels[channel];
      for (std::uint32_t frame = 0; frame < ramped; ++frame) {
        samples[frame] *= end - step * (left - static_cast<float>(frame));
      }
    }
    position_ += ramped;
  }
  scale(stream, ramped, frameCount, to_);
}

bool SmoothedGain::restsAtZero() const noexcept {
  return target() == 0.0F && (!begun_ || (to_ == 0.0F && position_ >= rampFrames_));
}

}  // namespace vrel::audio
