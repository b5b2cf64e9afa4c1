// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "system/audio/frame_fifo.h"

namespace vrel::audio {

/// The frames of one run on their way from the disk to the audio thread. Of a run that repeats they may be those of
/// several passes; whether the next pass is played is decided by the reader at the end of each.
class PlaybackFifo : public FrameFifo {
 public:
  static constexpr std::uint32_t capacityFrames = 1U << 15U;  // more would only push others out of the caches

  PlaybackFifo() : FrameFifo(capacityFrames) {}

  /// Empty, with a number of its own. Only while nobody writes or reads.
  void begin(std::uint64_t serial) {
    serial_ = serial;
    reset();
    passesWritten_.store(0);
    passesRead_.store(0);
    hasEnded_.store(false);
    isComplete.store(false);
  }

  /// Distinguishes one run from the next on the same fifo.
  [[nodiscard]] std::uint64_t serial() const { return serial_; }

  /// A pass ends in front of this frame, and another is written behind it. Writer; there is room for its mark.
  void endPass(std::uint64_t frame) {
    const std::uint64_t pass = passesWritten_.load(std::memory_order_relaxed);
    passEnds_[pass % mostPasses] = frame;
    passesWritten_.store(pass + 1, std::memory_order_release);
  }
  [[nodiscard]] bool hasRoomForPass() const { return passesWritten_.load() - passesRead() < mostPasses; }

  /// Passes that were read to their end with another one following.
  [[nodiscard]] std::uint64_t passesRead() const { return passesRead_.load(std::memory_order_acquire); }

  /// The end of the pass that is read, as far as it is marked. Writer.
  [[nodiscard]] std::optional<std::uint64_t> nextPassEnd() const {
    const std::uint64_t pass = passesRead();
    return pass == passesWritten_.load() ? std::nullopt : std::optional(passEnds_[pass % mostPasses]);
  }

  /// The reader came to the end of a pass, and was not to go on: nothing more is read.
  [[nodiscard]] bool hasEnded() const { return hasEnded_.load(std::memory_order_acquire); }

  /// Moves up to `frameCount` frames to `output` and returns how many there were; behind the end of a pass only when
  /// the run is repeating.
  std::uint32_t takePasses(const Output& output, std::uint32_t frameCount,
                           bool isRepeating) noexcept VREL_AUDIO_THREAD {
    if (hasEnded_.load(std::memory_order_relaxed)) {
      return 0;
    }
    const std::uint64_t begin = read();
    std::uint32_t count = std::min(frameCount, waiting());
    std::uint64_t pass = passesRead_.load(std::memory_order_relaxed);
    bool ends = false;
    while (!ends && pass != passesWritten_.load(std::memory_order_acquire) &&
           passEnds_[pass % mostPasses] <= begin + count) {
      if (isRepeating) {
        ++pass;
      } else {
        count = static_cast<std::uint32_t>(std::max(passEnds_[pass % mostPasses], begin) - begin);
        ends = true;
      }
    }
    const std::uint32_t taken = take(output, count);
    passesRead_.store(pass, std::memory_order_release);
    hasEnded_.store(ends, std::memory_order_release);
    return taken;
  }

  /// All that is scheduled has been written: who finds the fifo empty has come to the end.
  std::atomic<bool> isComplete{false};

 private:
  static constexpr std::uint32_t mostPasses = 4096;  // in the fifo at once

  std::uint64_t serial_ = 0;
  std::array<std::uint64_t, mostPasses> passEnds_{};
  std::atomic<std::uint64_t> passesWritten_{0};
  std::atomic<std::uint64_t> passesRead_{0};
  std::atomic<bool> hasEnded_{false};
};

}  // namespace vrel::audio
