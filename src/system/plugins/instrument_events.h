// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "foundation/thread_roles.h"
#include "system/plugins/midi_queue.h"

namespace vrel {

/// The events of one instrument, in one order: what the main thread sends, and what is routed within a block.
///
/// What was sent before a block comes at its first frame, before what is routed in it. What a block does not take comes
/// at the first frame of the next one, before anything later; so a panic never overtakes a note. In both queues what
/// ends a sound is never lost (see MidiQueue).
///
/// Threads: `send` and `forget` on the main thread; `route`, `front`, `pop` and `endBlock` belong to the block.
class InstrumentEvents {
 public:
  /// `dropped` counts what found no room, beside `dropped()`. Borrowed.
  explicit InstrumentEvents(std::atomic<std::uint64_t>& dropped) : dropped_(dropped) {}

  /// Takes one message in, wait-free; false when it is dropped.
  bool send(const MidiRecord& record) { return count(sent_.push(record)); }

  /// What came so far never comes out any more.
  void forget() {
    sent_.forget();
    resets_.fetch_add(1, std::memory_order_release);
  }

  /// Events that were dropped. Any thread.
  [[nodiscard]] std::uint64_t dropped() const { return sent_.dropped() + events_.dropped(); }

  /// Takes one message for this block in, behind all others.
  void route(const MidiRecord& record) noexcept VREL_AUDIO_THREAD {
    takeSent();
    if (record.frame < lastRouted_) {
      waiting_ = events_.size();  // of a block that has not called the instrument
    }
    lastRouted_ = record.frame;
    (void)count(events_.push(record));
  }

  /// The next event, at no frame before the last one; until `pop`; null when there is none.
  [[nodiscard]] const MidiRecord* front() noexcept VREL_AUDIO_THREAD {
    takeSent();
    const MidiRecord* const record = events_.front();
    if (record == nullptr) {
      return nullptr;
    }
    shown_ = *record;
    shown_.frame = std::max(waiting_ > 0 ? std::uint16_t{0} : record->frame, lastFrame_);
    return &shown_;
  }

  /// Removes what `front` has returned.
  void pop() noexcept VREL_AUDIO_THREAD {
    lastFrame_ = shown_.frame;
    waiting_ -= waiting_ > 0 ? 1 : 0;
    events_.pop();
  }

  /// The block takes no more: what is left waits for the next one.
  void endBlock() noexcept VREL_AUDIO_THREAD {
    waiting_ = events_.size();
    lastFrame_ = 0;
    lastRouted_ = 0;
  }

 private:
  // Always all of it, so that nothing that is routed later is in front of it.
  void takeSent() noexcept {
    forgetReset();
    while (const MidiRecord* const record = sent_.front()) {
      if (forgetReset()) {
        continue;  // what was sent before it is not in front any more
      }
      (void)count(events_.push(*record));
      sent_.pop();
    }
  }

  bool forgetReset() noexcept {
    const std::uint32_t resets = resets_.load(std::memory_order_acquire);
    if (resets == seenResets_) {
      return false;
    }
    seenResets_ = resets;
    waiting_ = 0;
    while (events_.front() != nullptr) {
      events_.pop();
    }
    return true;
  }

  bool count(bool isTaken) noexcept {
    if (!isTaken) {
      dropped_.fetch_add(1, std::memory_order_relaxed);
    }
    return isTaken;
  }

  std::atomic<std::uint64_t>& dropped_;
  MidiQueue sent_;
  std::atomic<std::uint32_t> resets_{0};

  // The block's.
  MidiQueue events_;
  std::uint32_t seenResets_ = 0;
  std::uint32_t waiting_ = 0;  // those in front that an earlier block has left
  std::uint16_t lastFrame_ = 0;
  std::uint16_t lastRouted_ = 0;
  MidiRecord shown_{};
};

}  // namespace vrel
