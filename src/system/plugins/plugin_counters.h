// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace vrel {

/// What went wrong in the blocks of the plug-ins that share it. Any thread may add and read.
struct PluginCounters {
  std::atomic<std::uint64_t> droppedEvents{0};   // the instrument's ring was full
  std::atomic<std::uint64_t> silencedBlocks{0};  // the plug-in's output was not finite
  std::atomic<std::uint64_t> skippedBlocks{0};   // the unit was being reset or restored just then
  std::atomic<std::uint64_t> refusedWork{0};     // a worker message found no room
  std::atomic<std::uint64_t> mutedLogLines{0};   // written inside a block, where nothing may be logged
};

}  // namespace vrel
