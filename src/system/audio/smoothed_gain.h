// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// A level that the main thread sets and the audio thread follows in a linear ramp of 5 ms, whatever the size of the
/// blocks, so that no step is heard.
///
/// Before the first block there is nothing to ramp from: it begins at its level. A factor of exactly 1 leaves samples
/// as they are, exactly 0 makes them zero.
class SmoothedGain {
 public:
  explicit SmoothedGain(float linearGain = 1.0F) noexcept : set_(linearGain) {}

  /// Sets the level; any value is kept and read back. A value that is not finite sounds as 0. Any thread.
  void set(float linearGain) noexcept { set_.store(linearGain, std::memory_order_relaxed); }
  [[nodiscard]] float get() const noexcept { return set_.load(std::memory_order_relaxed); }

  /// Fits the length of the ramp to the rate. Not while a block is being rendered.
  void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD;

  /// Multiplies all channels in place and moves on by `frameCount`.
  void apply(const Stream& stream, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  /// Whether the level is 0, has arrived there, and is to stay.
  [[nodiscard]] bool restsAtZero() const noexcept VREL_AUDIO_THREAD;

 private:
  [[nodiscard]] float target() const noexcept;
  void follow(float target) noexcept;

  std::atomic<float> set_;
  std::uint32_t rampFrames_ = 240;

  // Audio thread.
  bool begun_ = false;
  float from_ = 1.0F;
  float to_ = 1.0F;
  std::uint32_t position_ = 0;  // in the ramp; equal to rampFrames_ when it has arrived
};

}  // namespace vrel::audio
