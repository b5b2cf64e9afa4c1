// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace vrel {

/// What went wrong in the blocks of the plug-ins that share it. Any thread may add and read.
struct PluginCounters {
  std::atomic<std::uint64_t> droppedEvents{0};   // the instrument's ring was full
  std::atomic<std::uint64_t> silencedBlocks{0};  // the plug-in's output was not finite or too large
  std::atomic<std::uint64_t> skippedBlocks{0};   // the unit was being reset or restored just then
  std::atomic<std::uint64_t> refusedWork{0};     // a worker message found no room
  std::atomic<std::uint64_t> mutedLogLines{0};   // written inside a block, where nothing may be logged

  // Of plug-ins in processes of their own.
  std::atomic<std::uint64_t> lateBlocks{0};          // the answer was not there in time; the block was silent
  std::atomic<std::uint64_t> lateAnswersDropped{0};  // an answer came after its block had been given up
  std::atomic<std::uint64_t> deaths{0};              // the process ended by itself
};

}  // namespace vrel
