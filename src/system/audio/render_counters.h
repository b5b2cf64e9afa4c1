// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace vrel::audio {

/// What went by and what went wrong since the program started, for the console to show. One object
/// is shared by the engine, its units and whoever reads. Any thread; the audio thread only adds.
struct RenderCounters {
  using Count = std::atomic<std::uint64_t>;

  Count blocks{0};                // rendered with a plan
  Count silentBlocks{0};          // rendered without one: the engine was stopped
  Count lateBlocks{0};            // took longer than they last
  Count nonFiniteBlocks{0};       // held NaN or infinity, and were silenced
  Count droppedTapBuffers{0};     // the listener was too slow
  Count refusedConnections{0};    // would have closed a cycle, or between nodes that are not attached
  Count refusedNodes{0};          // made by another system, or attached to another engine
  Count underrunBlocks{0};        // of players, whose frames were not read in time
  Count silencedPlayerBlocks{0};  // of players, whose file held what is not finite or too large
  Count unreadFrames{0};          // of files, that could not be read and were silent
  Count overdueWaits{0};          // a block that did not end within the time a stop waits for it

  /// Adds to a counter. Wait-free.
  static void add(Count& counter, std::uint64_t amount = 1) noexcept {
    counter.fetch_add(amount, std::memory_order_relaxed);
  }
};

}  // namespace vrel::audio
