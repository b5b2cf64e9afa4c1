// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <utility>

#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"

namespace vrel {

/// The factor on a unit's output: set on the main thread, and the block glides to it. Not a number
/// means silence. Before the first block there is nothing to glide from.
class GlidingGain {
 public:
  void set(float linearGain) { gain_.store(linearGain, std::memory_order_relaxed); }
  [[nodiscard]] float get() const { return gain_.load(std::memory_order_relaxed); }

  /// The factors of the next `frameCount` frames; they stand until the next call.
  [[nodiscard]] const float* glide(std::uint32_t frameCount, double sampleRate) noexcept VREL_AUDIO_THREAD {
    constexpr float glideSeconds = 0.01F;
    const float wanted = get();
    const float target = std::isfinite(wanted) ? wanted : 0.0F;
    if (!std::exchange(hasSounded_, true)) {
      sounding_ = target;
    }
    if (sounding_ == target) {
      std::fill_n(gains_.data(), frameCount, target);
      return gains_.data();
    }
    const float step = 1.0F / (glideSeconds * static_cast<float>(sampleRate));
    for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
      sounding_ += std::clamp(target - sounding_, -step, step);
      gains_[frame] = sounding_;
    }
    return gains_.data();
  }

 private:
  std::atomic<float> gain_{1.0F};

  // The block's.
  std::array<float, audio::maximumBlockFrames> gains_{};
  float sounding_ = 1.0F;
  bool hasSounded_ = false;
};

}  // namespace vrel
