// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vrel {

/// Carries messages of any length, whole and in order, from one thread to one other, wait-free for both.
class ByteFifo {
 public:
  /// A message takes so many bytes more than it has.
  static constexpr std::size_t headBytes = sizeof(std::uint32_t);

  /// Room for `capacityBytes`, a power of two.
  explicit ByteFifo(std::size_t capacityBytes);

  /// Stores the message; false, and nothing stored, when there is no room, which is counted. The writing thread.
  [[nodiscard]] bool push(std::span<const std::uint8_t> message) noexcept { return push(message, {}); }
  /// The same for a message in two pieces.
  [[nodiscard]] bool push(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) noexcept;

  /// Bytes that are free at least. The writing thread.
  [[nodiscard]] std::size_t room() const noexcept {
    return bytes_.size() - (written_.load(std::memory_order_relaxed) - read_.load(std::memory_order_acquire));
  }

  /// Moves the oldest message into `message`; false when there is none. Allocates only for a message that is longer
  /// than the vector's capacity. The reading thread.
  [[nodiscard]] bool pop(std::vector<std::uint8_t>& message);

  /// Messages that found no room. Any thread.
  [[nodiscard]] std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  void copyIn(std::size_t position, std::span<const std::uint8_t> from) noexcept;
  void copyOut(std::size_t position, std::span<std::uint8_t> to) const;

  static constexpr std::size_t cacheLineBytes = 64;

  std::vector<std::uint8_t> bytes_;
  const std::size_t mask_;
  alignas(cacheLineBytes) std::atomic<std::size_t> written_{0};  // bytes since the beginning
  alignas(cacheLineBytes) std::atomic<std::size_t> read_{0};
  std::atomic<std::uint64_t> dropped_{0};
};

}  // namespace vrel
