// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/thread_roles.h"

namespace vrel::audio {

/// The frames of one run on their way from the disk to the audio thread: a ring of two sides, with one
/// writer and one reader, neither of whom waits.
class PlaybackFifo {
 public:
  static constexpr std::uint32_t capacity = 1U << 15U;  // frames; more would only push others out of the caches

  PlaybackFifo() {
    for (auto& side : sides_) {
      side.resize(capacity);
    }
  }

  /// An empty fifo with a number of its own. Only while nobody writes or reads.
  void reset(std::uint64_t serial) {
    serial_ = serial;
    written_.store(0);
    read_.store(0);
    isComplete.store(false);
  }

  /// Tells one run from the next on the same fifo.
  [[nodiscard]] std::uint64_t serial() const { return serial_; }

  /// Frames that have been written, and read, since the reset.
  [[nodiscard]] std::uint64_t written() const { return written_.load(std::memory_order_acquire); }
  [[nodiscard]] std::uint64_t read() const { return read_.load(std::memory_order_acquire); }

  [[nodiscard]] std::uint32_t waiting() const { return static_cast<std::uint32_t>(written() - read()); }
  [[nodiscard]] std::uint32_t room() const { return capacity - waiting(); }

  /// The next frames to be written, those in one segment of memory: less than `room` where the ring ends.
  struct Space {
    std::array<float*, 2> sides{};
    std::uint32_t frameCount = 0;
  };
  [[nodiscard]] Space space() {
    const std::uint32_t place = static_cast<std::uint32_t>(written() % capacity);
    return {{sides_[0].data() + place, sides_[1].data() + place}, std::min(room(), capacity - place)};
  }

  /// So many frames of the space hold sound now. Writer.
  void commit(std::uint32_t frameCount) { written_.fetch_add(frameCount, std::memory_order_release); }

  /// Copies at most `room` frames. Writer.
  void write(const std::array<const float*, 2>& input, std::uint32_t frameCount) {
    for (std::uint32_t done = 0; done < frameCount;) {
      const Space segment = space();
      const std::uint32_t count = std::min(frameCount - done, segment.frameCount);
      for (std::size_t side = 0; side < input.size(); ++side) {
        std::copy_n(input[side] + done, count, segment.sides[side]);
      }
      commit(count);
      done += count;
    }
  }

  /// Takes up to `frameCount` frames and returns how many there were. Reader.
  std::uint32_t take(const std::array<float*, 2>& output, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD {
    const std::uint64_t begin = read_.load(std::memory_order_relaxed);
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(frameCount, written() - begin));
    const std::uint32_t place = static_cast<std::uint32_t>(begin % capacity);
    const std::uint32_t first = std::min(count, capacity - place);
    for (std::size_t side = 0; side < sides_.size(); ++side) {
      std::copy_n(sides_[side].data() + place, first, output[side]);
      std::copy_n(sides_[side].data(), count - first, output[side] + first);
    }
    read_.store(begin + count, std::memory_order_release);
    fetchAhead(place + count, frameCount);
    return count;
  }

  /// All that is scheduled has been written: who finds the fifo empty has come to the end.
  std::atomic<bool> isComplete{false};

 private:
  // All fifos together are larger than the near caches: what the next block reads is asked for in time.
  void fetchAhead(std::uint32_t place, std::uint32_t frameCount) const noexcept VREL_AUDIO_THREAD {
    for (const auto& side : sides_) {
      for (std::uint32_t frame = 0; frame < frameCount; frame += floatsPerLine) {
        __builtin_prefetch(side.data() + (place + frame) % capacity);
      }
    }
  }

  static constexpr std::uint32_t floatsPerLine = 16;

  std::uint64_t serial_ = 0;
  std::array<std::vector<float>, 2> sides_;
  alignas(64) std::atomic<std::uint64_t> written_{0};
  alignas(64) std::atomic<std::uint64_t> read_{0};
};

}  // namespace vrel::audio
