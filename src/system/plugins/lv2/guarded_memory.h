// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace vrel::lv2 {

/// Memory, all zero, with a guard page before and behind it that may not be
/// touched. The memory ends exactly at the page behind it when its size is a multiple of 64 bytes.
class GuardedMemory {
 public:
  /// At least 1 byte. Throws std::bad_alloc when the system has none.
  explicit GuardedMemory(std::size_t bytes);
  ~GuardedMemory();
  GuardedMemory(GuardedMemory&& other) noexcept;
  GuardedMemory& operator=(GuardedMemory&&) = delete;

  /// On 64 bytes.
  [[nodiscard]] void* data() const { return data_; }

 private:
  void* mapping_;
  std::size_t mappingBytes_;
  void* data_;
};

}  // namespace vrel::lv2
