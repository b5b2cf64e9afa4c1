// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

#include "system/audio/frame_fifo.h"

namespace vrel::audio {

/// The frames of one run on their way from the disk to the audio thread.
class PlaybackFifo : public FrameFifo {
 public:
  static constexpr std::uint32_t capacityFrames = 1U << 15U;  // more would only push others out of the caches

  PlaybackFifo() : FrameFifo(capacityFrames) {}

  /// Empty, with a number of its own. Only while nobody writes or reads.
  void begin(std::uint64_t serial) {
    serial_ = serial;
    reset();
    isComplete.store(false);
  }

  /// Distinguishes one run from the next on the same fifo.
  [[nodiscard]] std::uint64_t serial() const { return serial_; }

  /// All that is scheduled has been written: who finds the fifo empty has come to the end.
  std::atomic<bool> isComplete{false};

 private:
  std::uint64_t serial_ = 0;
};

}  // namespace vrel::audio
