// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "foundation/byte_fifo.h"
#include "foundation/thread_roles.h"
#include "system/plugins/lv2/port_buffers.h"

namespace vrel::lv2 {

/// Atoms between the blocks of one plug-in and its editor, a port's number before each.
///
/// Threads: `deliver` and `collect` belong to the block, the rest to one other thread. What finds no room is dropped:
/// an editor that is behind misses what the plug-in shows, and a block that is behind what the editor sent last.
class AtomExchange {
 public:
  static constexpr std::size_t toPluginBytes = std::size_t{1} << 16U;
  static constexpr std::size_t fromPluginBytes = std::size_t{1} << 18U;

  AtomExchange();

  /// Puts an atom, head and body, into a port of the plug-in with the next block. False when there is no room.
  [[nodiscard]] bool send(std::uint32_t port, std::span<const std::uint8_t> atom);

  /// Whether what the plug-in puts out is collected.
  void watch(bool isWatched) { isWatched_ = isWatched; }

  /// Calls `take(port, atom)` for each atom that has been collected.
  void takeAll(const std::function<void(std::uint32_t port, std::span<const std::uint8_t> atom)>& take);

  /// What waits for a block is not delivered. While no block has the plug-in.
  void forget();

  void deliver(PortBuffers& ports) noexcept VREL_AUDIO_THREAD;
  void collect(const PortBuffers& ports) noexcept VREL_AUDIO_THREAD;

 private:
  ByteFifo toPlugin_{toPluginBytes};
  ByteFifo fromPlugin_{fromPluginBytes};
  std::atomic<bool> isWatched_{false};
  std::vector<std::uint8_t> sent_;       // the other thread's
  std::vector<std::uint8_t> taken_;      // the other thread's
  std::vector<std::uint8_t> delivered_;  // the block's
  std::vector<std::uint8_t> collected_;  // the block's
};

}  // namespace vrel::lv2
