// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace vrel::audio {

/// Counts the messages of some sources that no block has routed and that the main thread has not routed yet.
///
/// While there is one, what those sources send later goes to the main thread too, so that no release overtakes its
/// press. When there is none, the instruments have all that was counted.
///
/// Any thread, wait-free but for `untilRouted`.
class OwedMessages {
 public:
  /// Before the message is handed on; `settle` when that fails.
  void add() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void settle() noexcept { count_.fetch_sub(1, std::memory_order_release); }

  [[nodiscard]] bool any() const noexcept { return count_.load(std::memory_order_acquire) != 0; }

  /// Settles one that was added when its last copy is released: once it is routed, or by whoever drops the message.
  [[nodiscard]] static std::shared_ptr<const void> untilRouted(std::shared_ptr<OwedMessages> owed) {
    auto* const counted = owed.get();
    return {counted, [owed = std::move(owed)](const void* /*counted*/) { owed->settle(); }};
  }

 private:
  std::atomic<std::uint64_t> count_{0};
};

}  // namespace vrel::audio
