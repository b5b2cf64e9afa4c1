// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vrel {

/// The control ports of one plug-in, shared by who shows them and the block that plays them, in one process or two;
/// begins as zeros. By port number; a port beyond the capacity is neither shown nor set.
///
/// A change waits in `wanted`, marked in `changed`, until the next block takes it: later ones replace it, so none needs
/// room and none is lost. Who shows the controls reads `values`. All fields are accessed atomically, by the functions
/// below alone, which are wait-free.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): lies in shared memory, which begins as zeros
struct ControlTable {
  static constexpr std::uint32_t capacity = 4096;
  static constexpr std::uint32_t wordBits = 64;

  std::array<std::uint64_t, capacity / wordBits> changed;  // bits by port
  std::uint32_t hasChanges;                                // 1 after a change; spares the block the search
  std::uint32_t reserved;
  std::array<float, capacity> wanted;
  std::array<float, capacity> values;
};

static_assert(std::is_trivially_copyable_v<ControlTable> && std::is_standard_layout_v<ControlTable>);
static_assert(std::atomic_ref<float>::is_always_lock_free && std::atomic_ref<std::uint64_t>::is_always_lock_free);

namespace control_table {

[[nodiscard]] constexpr std::uint64_t bitOf(std::uint32_t port) {
  return std::uint64_t{1} << (port % ControlTable::wordBits);
}

[[nodiscard]] inline std::atomic_ref<std::uint64_t> wordOf(ControlTable& table, std::uint32_t port) {
  return std::atomic_ref(table.changed[port / ControlTable::wordBits]);
}

/// Lets the next block look at what is wanted of this control. Any thread.
inline void mark(ControlTable& table, std::uint32_t port) {
  wordOf(table, port).fetch_or(bitOf(port));
  std::atomic_ref(table.hasChanges).store(1);
}

/// Lets the next block set this control. One thread.
inline void want(ControlTable& table, std::uint32_t port, float value) {
  if (port < ControlTable::capacity) {
    std::atomic_ref(table.wanted[port]).store(value);
    mark(table, port);
  }
}

/// Whether a change of this control waits for a block. Any thread.
[[nodiscard]] inline bool isWanted(ControlTable& table, std::uint32_t port) {
  return port < ControlTable::capacity && (wordOf(table, port).load() & bitOf(port)) != 0;
}

/// What the control is, or will be with the next block. Any thread.
[[nodiscard]] inline float valueOf(ControlTable& table, std::uint32_t port) {
  if (port >= ControlTable::capacity) {
    return 0;
  }
  return isWanted(table, port) ? std::atomic_ref(table.wanted[port]).load()
                               : std::atomic_ref(table.values[port]).load();
}

inline void show(ControlTable& table, std::uint32_t port, float value) noexcept {
  if (port < ControlTable::capacity) {
    std::atomic_ref(table.values[port]).store(value, std::memory_order_relaxed);
  }
}

/// Calls `set(port, value)` for each change that waits, and marks it as taken after that: at every moment a change is
/// either wanted or set. One thread at a time.
template <typename Set>
void takeChanges(ControlTable& table, Set set) noexcept {
  if (std::atomic_ref(table.hasChanges).exchange(0) == 0) {
    return;
  }
  for (std::uint32_t first = 0; first < ControlTable::capacity; first += ControlTable::wordBits) {
    for (std::uint64_t bits = wordOf(table, first).load(); bits != 0; bits &= bits - 1) {
      const std::uint32_t port = first + static_cast<std::uint32_t>(std::countr_zero(bits));
      const float value = std::atomic_ref(table.wanted[port]).load();
      set(port, value);
      wordOf(table, port).fetch_and(~bitOf(port));
      const float next = std::atomic_ref(table.wanted[port]).load();
      if (std::bit_cast<std::uint32_t>(next) != std::bit_cast<std::uint32_t>(value)) {
        mark(table, port);  // came in between, and by now there may be a newer one
      }
    }
  }
}

/// What waits is not set any more. As takeChanges.
inline void forgetChanges(ControlTable& table) noexcept {
  for (auto& word : table.changed) {
    std::atomic_ref(word).store(0);
  }
}

}  // namespace control_table
}  // namespace vrel
