// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vrel {

/// A queue of small records from one thread to one other, wait-free for both.
///
/// One thread pushes, one thread looks at the front and pops. Who plays either part may change as
/// long as the change itself is a synchronisation.
template <typename Record, std::uint32_t capacityRecords>
class SpscRing {
  static_assert(std::is_trivially_copyable_v<Record>, "records are copied bytewise");
  static_assert((capacityRecords & (capacityRecords - 1)) == 0, "positions wrap by a mask");
  static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "the audio thread takes no lock");

 public:
  static constexpr std::uint32_t capacity = capacityRecords;

  /// False, and nothing stored, when the ring is full.
  bool push(const Record& record) {
    const std::uint32_t end = end_.load(std::memory_order_relaxed);
    if (end - begin_.load(std::memory_order_acquire) == capacity) {
      return false;
    }
    records_[end & mask] = record;
    end_.store(end + 1, std::memory_order_release);
    return true;
  }

  /// How many records wait; for the pushing thread at most so many.
  [[nodiscard]] std::uint32_t size() const {
    return end_.load(std::memory_order_relaxed) - begin_.load(std::memory_order_acquire);
  }

  /// The oldest record; null when there is none. Stays valid until `pop`.
  [[nodiscard]] const Record* front() const {
    const std::uint32_t begin = begin_.load(std::memory_order_relaxed);
    return begin == end_.load(std::memory_order_acquire) ? nullptr : &records_[begin & mask];
  }

  /// Removes the oldest record; there must be one.
  void pop() { begin_.store(begin_.load(std::memory_order_relaxed) + 1, std::memory_order_release); }

 private:
  static constexpr std::uint32_t mask = capacity - 1;
  static constexpr std::size_t cacheLineBytes = 64;

  alignas(cacheLineBytes) std::atomic<std::uint32_t> begin_{0};
  alignas(cacheLineBytes) std::atomic<std::uint32_t> end_{0};
  std::array<Record, capacity> records_{};
};

}  // namespace vrel
