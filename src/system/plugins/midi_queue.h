// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/midi_releases.h"
#include "system/plugins/midi_record.h"

namespace vrel {

/// The events of one instrument on their way to the block, wait-free for both: from the main thread, or from an earlier
/// part of the block.
///
/// A queue that the instrument does not empty never loses what ends a sound. Controllers find no room first, then
/// keys pressed; what releases (keys, pedal and wheel, the messages of a panic) has room of its own, and when that is
/// full too, each is kept once and goes out after the queue. Until it has, nothing else is taken in, so the order is
/// kept. What is dropped is counted.
class MidiQueue {
 public:
  /// What controllers, and then pressed keys, leave free.
  static constexpr std::uint32_t reservedForKeys = 512;
  static constexpr std::uint32_t reservedForReleases = 256;

  /// Takes one message in; false when it is dropped. The thread that sends.
  bool push(const MidiRecord& record) {
    const auto release = releaseOf(record);
    const bool isKey = (record.bytes[0] & 0xF0U) == 0x90;
    const std::uint32_t reserved = release ? 0 : isKey ? reservedForReleases : reservedForKeys;
    if (overdueCount_.load(std::memory_order_acquire) == 0 && ring_.size() + reserved < MidiRing::capacity) {
      (void)ring_.push(record);
      ++pushed_;
      return true;
    }
    if (release) {
      keep(*release);
      return true;
    }
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return false;
  }

  /// What has been pushed so far never comes out any more. The thread that sends.
  void forget() {
    forgotten_.store(pushed_, std::memory_order_release);
    for (std::size_t word = 0; word < overdue_.size(); ++word) {
      giveBack(overdue_[word].exchange(0));
    }
  }

  /// Events that were dropped. Any thread.
  [[nodiscard]] std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed); }

  /// How many wait, but for releases that are kept. The block.
  [[nodiscard]] std::uint32_t size() const noexcept { return ring_.size(); }

  /// The oldest message, until `pop`; null when there is none. The block, as `pop`.
  [[nodiscard]] const MidiRecord* front() noexcept {
    const std::uint32_t forgotten = forgotten_.load(std::memory_order_acquire);
    while (const MidiRecord* const record = ring_.front()) {
      if (static_cast<std::int32_t>(forgotten - popped_) <= 0) {
        shown_ = inRing;
        return record;
      }
      popFromRing();
    }
    return overdueCount_.load(std::memory_order_acquire) == 0 ? nullptr : firstOverdue();
  }

  /// Removes what `front` has returned.
  void pop() noexcept {
    if (shown_ == inRing) {
      popFromRing();
    } else {
      giveBack(overdue_[shown_ / wordBits].fetch_and(~(std::uint64_t{1} << (shown_ % wordBits))) &
               (std::uint64_t{1} << (shown_ % wordBits)));
    }
  }

 private:
  static constexpr std::uint32_t wordBits = 64;
  static constexpr std::uint32_t inRing = MidiReleases::count;

  [[nodiscard]] static std::optional<std::uint32_t> releaseOf(const MidiRecord& record) {
    return MidiReleases::numberOf({record.bytes[0], record.bytes[1], record.bytes[2]});
  }

  [[nodiscard]] static MidiRecord recordOf(std::uint32_t release) noexcept {
    const MidiMessage message = MidiReleases::messageOf(release);
    return {{message.status, message.data1, message.data2}};
  }

  void keep(std::uint32_t release) {
    auto& word = overdue_[release / wordBits];
    const std::uint64_t bit = std::uint64_t{1} << (release % wordBits);
    if ((word.load() & bit) == 0) {
      overdueCount_.fetch_add(1);  // first: while it is not 0, the ring takes nothing in
      word.fetch_or(bit);
    }
  }

  void giveBack(std::uint64_t cleared) noexcept {
    overdueCount_.fetch_sub(static_cast<std::uint32_t>(std::popcount(cleared)));
  }

  [[nodiscard]] const MidiRecord* firstOverdue() noexcept {
    for (std::uint32_t word = 0; word < overdue_.size(); ++word) {
      if (const std::uint64_t bits = overdue_[word].load(); bits != 0) {
        shown_ = word * wordBits + static_cast<std::uint32_t>(std::countr_zero(bits));
        shownRecord_ = recordOf(shown_);
        return &shownRecord_;
      }
    }
    return nullptr;
  }

  void popFromRing() noexcept {
    ring_.pop();
    ++popped_;
  }

  MidiRing ring_;
  std::array<std::atomic<std::uint64_t>, (MidiReleases::count + wordBits - 1) / wordBits> overdue_{};
  std::atomic<std::uint32_t> overdueCount_{0};
  std::atomic<std::uint32_t> forgotten_{0};  // of those that went into the ring
  std::atomic<std::uint64_t> dropped_{0};

  std::uint32_t pushed_ = 0;  // of the thread that sends

  // The block's.
  std::uint32_t popped_ = 0;
  std::uint32_t shown_ = inRing;
  MidiRecord shownRecord_{};
};

}  // namespace vrel
