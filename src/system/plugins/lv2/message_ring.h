// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vrel::lv2 {

/// A queue of messages of any length from one thread to one other, wait-free on both sides. A message
/// is stored as its length, 4 bytes, and its bytes; it is written whole or not at all.
class MessageRing {
 public:
  static constexpr std::uint32_t capacityBytes = 1U << 16U;

  /// The longest message that an empty ring takes.
  static constexpr std::uint32_t maximumMessageBytes = capacityBytes - sizeof(std::uint32_t);

  /// False, and nothing stored, when there is no room.
  bool write(std::span<const std::byte> message);

  /// Moves the oldest message into `out`, which must hold maximumMessageBytes; its length, or nothing
  /// when there is no message.
  std::optional<std::uint32_t> read(std::span<std::byte> out);

 private:
  void copyIn(std::uint32_t position, std::span<const std::byte> bytes);
  void copyOut(std::uint32_t position, std::span<std::byte> bytes) const;

  std::vector<std::byte> storage_ = std::vector<std::byte>(capacityBytes);
  std::atomic<std::uint32_t> begin_{0};
  std::atomic<std::uint32_t> end_{0};
};

}  // namespace vrel::lv2
