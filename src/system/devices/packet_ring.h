// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/thread_roles.h"

namespace vrel::system {

/// Carries packets of any length, whole and in order, from one thread to one other, without locks.
class PacketRing {
 public:
  /// Room for `capacity` bytes, a power of two; each packet takes four more than it has.
  explicit PacketRing(std::size_t capacity) : bytes_(capacity), mask_(capacity - 1) {}

  /// Puts one in; false when there is no room, which is counted. The writing thread.
  [[nodiscard]] bool push(std::span<const std::uint8_t> packet) noexcept VREL_AUDIO_THREAD;

  /// Takes the oldest one out; false when there is none. The reading thread.
  [[nodiscard]] bool pop(std::vector<std::uint8_t>& packet);

  /// Packets that found no room. Any thread.
  [[nodiscard]] std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  void write(std::size_t position, std::span<const std::uint8_t> from) noexcept;
  void read(std::size_t position, std::span<std::uint8_t> to) const;

  std::vector<std::uint8_t> bytes_;
  const std::size_t mask_;
  std::atomic<std::size_t> written_{0};  // bytes since the beginning
  std::atomic<std::size_t> taken_{0};
  std::atomic<std::uint64_t> dropped_{0};
};

}  // namespace vrel::system
