// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Carries stereo frames from one thread to one other, wait-free for both.
///
/// The writer's part is `space`, `place`, `commit` and `write`; the reader's is `copyOldest`, `release` and `take`.
/// Which threads play them may change as long as the change itself is a synchronisation.
class FrameFifo {
 public:
  using Output = std::array<float*, maximumStreamChannels>;

  /// Room for at least `frames`: the next power of two.
  explicit FrameFifo(std::uint32_t frames) : mask_(std::bit_ceil(std::max(frames, 1U)) - 1) {
    for (auto& samples : channels_) {
      samples.resize(capacity());
    }
  }

  [[nodiscard]] std::uint32_t capacity() const { return mask_ + 1; }

  /// Empty again. Only while nobody writes or reads.
  void reset() {
    written_.store(0);
    read_.store(0);
  }

  /// Frames that have been written, and read, since the reset.
  [[nodiscard]] std::uint64_t written() const { return written_.load(std::memory_order_acquire); }
  [[nodiscard]] std::uint64_t read() const { return read_.load(std::memory_order_acquire); }

  [[nodiscard]] std::uint32_t waiting() const { return static_cast<std::uint32_t>(written() - read()); }
  [[nodiscard]] std::uint32_t room() const { return capacity() - waiting(); }

  /// The next frames to be written, those in one segment of memory: less than `room` where the memory ends.
  struct Space {
    Output channels{};
    std::uint32_t frameCount = 0;
  };
  [[nodiscard]] Space space() {
    const std::uint32_t start = startOf(written());
    return {{channels_[0].data() + start, channels_[1].data() + start}, std::min(room(), capacity() - start)};
  }

  /// Copies frames of one channel to where they will be once `offset` frames have been committed. There is room.
  void place(std::uint32_t channel, std::uint32_t offset, const float* samples, std::uint32_t frameCount) noexcept {
    const std::uint32_t start = startOf(written_.load(std::memory_order_relaxed) + offset);
    const std::uint32_t first = std::min(frameCount, capacity() - start);
    std::copy_n(samples, first, channels_[channel].data() + start);
    std::copy_n(samples + first, frameCount - first, channels_[channel].data());
  }

  /// So many more frames hold sound now.
  void commit(std::uint32_t frameCount) noexcept { written_.fetch_add(frameCount, std::memory_order_release); }

  /// Places and commits. There is room.
  void write(const std::array<const float*, maximumStreamChannels>& input, std::uint32_t frameCount) noexcept {
    for (std::uint32_t channel = 0; channel < input.size(); ++channel) {
      place(channel, 0, input[channel], frameCount);
    }
    commit(frameCount);
  }

  /// Copies the oldest frames of one channel, of which there are so many.
  void copyOldest(std::uint32_t channel, float* output, std::uint32_t frameCount) const noexcept {
    const std::uint32_t start = startOf(read_.load(std::memory_order_relaxed));
    const std::uint32_t first = std::min(frameCount, capacity() - start);
    std::copy_n(channels_[channel].data() + start, first, output);
    std::copy_n(channels_[channel].data(), frameCount - first, output + first);
  }

  /// So many of the oldest frames are not needed any more.
  void release(std::uint32_t frameCount) noexcept { read_.fetch_add(frameCount, std::memory_order_release); }

  /// Moves up to `frameCount` frames to `output` and returns how many there were. Fetches what the next block of this
  /// size reads: all fifos together are larger than the near caches.
  std::uint32_t take(const Output& output, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD {
    const std::uint32_t count = std::min(frameCount, waiting());
    for (std::uint32_t channel = 0; channel < output.size(); ++channel) {
      copyOldest(channel, output[channel], count);
    }
    const std::uint64_t end = read_.load(std::memory_order_relaxed) + count;
    read_.store(end, std::memory_order_release);
    for (const auto& samples : channels_) {
      for (std::uint32_t frame = 0; frame < frameCount; frame += floatsPerLine) {
        __builtin_prefetch(samples.data() + startOf(end + frame));
      }
    }
    return count;
  }

 private:
  [[nodiscard]] std::uint32_t startOf(std::uint64_t frame) const { return static_cast<std::uint32_t>(frame) & mask_; }

  static constexpr std::uint32_t floatsPerLine = 16;

  const std::uint32_t mask_;
  std::array<std::vector<float>, maximumStreamChannels> channels_;
  alignas(64) std::atomic<std::uint64_t> written_{0};
  alignas(64) std::atomic<std::uint64_t> read_{0};
};

}  // namespace vrel::audio
