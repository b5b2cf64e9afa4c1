// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <type_traits>
#include <utility>

#include "foundation/thread_roles.h"
#include "platform/host_callbacks.h"

namespace vrel {

/// The musical position at the first frame of a block. Copied bytewise between processes.
struct MusicalTime {
  double tempoBpm = 120;
  double beat = 0;  // since beat 0 of the song
  double beatsPerBar = 4;
  double barStartBeat = 0;    // the downbeat of the bar that holds `beat`
  double samplePosition = 0;  // frames
  std::int64_t beatUnit = 4;  // a beat is this part of a whole note
  std::uint32_t isKnown = 0;  // 0: there is no host to ask; all else means nothing
  std::uint32_t isMoving = 0;
};
static_assert(std::is_trivially_copyable_v<MusicalTime>);

/// The two blocks that a unit was given to ask its host for the time.
///
/// Threads: set on the main thread, read by the block. A block that finds them being set knows no
/// time just then.
class HostTimeBlocks {
 public:
  void set(AUHostMusicalContextBlock context) VREL_NOT_AUDIO_THREAD {
    exchange([&] { context_.swap(context); });
  }
  void set(AUHostTransportStateBlock transport) VREL_NOT_AUDIO_THREAD {
    exchange([&] { transport_.swap(transport); });
  }

  [[nodiscard]] MusicalTime read() noexcept VREL_AUDIO_THREAD {
    MusicalTime time;
    if (isTaken_.exchange(true, std::memory_order_acquire)) {
      return time;
    }
    std::uint64_t flags = 0;
    const bool isKnown =
        context_ && transport_ &&
        context_(&time.tempoBpm, &time.beatsPerBar, &time.beatUnit, &time.beat, nullptr, &time.barStartBeat) &&
        transport_(&flags, &time.samplePosition, nullptr, nullptr);
    isTaken_.store(false, std::memory_order_release);
    time.isKnown = isKnown ? 1 : 0;
    time.isMoving = (flags & transportStateMoving) != 0 ? 1 : 0;
    return time;
  }

 private:
  // The old block dies behind the exchange, on the main thread.
  template <typename Action>
  void exchange(const Action& action) {
    while (isTaken_.exchange(true, std::memory_order_acquire)) {
      std::this_thread::yield();
    }
    action();
    isTaken_.store(false, std::memory_order_release);
  }

  std::atomic<bool> isTaken_{false};
  AUHostMusicalContextBlock context_;
  AUHostTransportStateBlock transport_;
};

}  // namespace vrel
