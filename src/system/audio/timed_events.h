// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/midi_message.h"
#include "foundation/spsc_ring.h"
#include "foundation/thread_roles.h"
#include "system/audio/device_event.h"
#include "system/audio/owed_messages.h"

namespace vrel::audio {

/// What MIDI sources with a clock of their own have sent, on its way from their reader to the blocks of the device.
///
/// Every message sounds later than it was played by as much as a block lasts, so that its block is still to come when
/// it is read, and two of them are as far apart as they were played.
///
/// A message that the main thread has to route ends the presses that still wait here, which it overtakes: its own press
/// may be among them. A panic ends all that it would reset.
///
/// Threads: `push` and `owe` on the reader's, `endWaiting` on the main thread, `take`, `keep` and `setTaken` on the
/// audio thread; no two readers at a time.
class TimedEvents {
 public:
  /// Takes in what was played at this time, nanoseconds of the monotonic clock. False when no block takes it, when too
  /// much waits, or while the main thread has not routed an earlier one yet: then it has to route this one too, see
  /// `owe`. Wait-free.
  [[nodiscard]] bool push(std::int64_t time, MidiMessage message) noexcept;

  /// To be kept until the main thread has routed the message that was not taken.
  [[nodiscard]] std::shared_ptr<const void> owe();

  /// A panic: what was taken in so far and sounds, or changes a sound until it is reset, does not come any more.
  void endWaiting() noexcept { lastReset_.store(pushed_.load()); }

  /// How often too much waited, each time until the main thread had routed all that followed. Any thread.
  [[nodiscard]] std::uint64_t overruns() const { return overruns_.load(std::memory_order_relaxed); }

  /// What falls into a block that begins at this time, by frame; valid until the next call. Later messages wait.
  [[nodiscard]] std::span<DeviceEvent> take(std::uint64_t blockTime, std::uint32_t frameCount,
                                            double sampleRate) noexcept VREL_AUDIO_THREAD;

  /// Keeps what was taken and not routed for the front of the next `take`. Presses are dropped: by then the main thread
  /// may have sent their releases.
  void keep(std::span<const DeviceEvent> taken) noexcept VREL_AUDIO_THREAD;

  /// Whether instruments get what is taken.
  void setTaken(bool isTaken) noexcept VREL_AUDIO_THREAD { isTaken_.store(isTaken, std::memory_order_relaxed); }

 private:
  void forgetKept() noexcept VREL_AUDIO_THREAD;

  struct Played {
    std::int64_t time;
    std::uint64_t number;  // the first is 1
    MidiMessage message;
  };
  static constexpr std::uint32_t capacity = 4096;

  SpscRing<Played, capacity> ring_;
  std::atomic<bool> isTaken_{false};
  const std::shared_ptr<OwedMessages> owed_ = std::make_shared<OwedMessages>();
  std::atomic<std::uint64_t> overruns_{0};
  std::atomic<std::uint64_t> pushed_{0};
  std::atomic<std::uint64_t> lastOvertaken_{0};  // by a message that the main thread has to route
  std::atomic<std::uint64_t> lastReset_{0};      // by a panic

  // The audio thread's.
  std::array<DeviceEvent, capacity> due_{};
  std::size_t kept_ = 0;  // of those, in front, for the first frame
  std::uint64_t seenReset_ = 0;
};

}  // namespace vrel::audio
