// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/guarded_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <new>
#include <utility>

namespace vrel::lv2 {

GuardedMemory::GuardedMemory(std::size_t bytes) {
  constexpr std::size_t alignment = 64;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t aligned = (bytes + alignment - 1) / alignment * alignment;
  const std::size_t inner = (aligned + page - 1) / page * page;
  mappingBytes_ = inner + 2 * page;
  mapping_ = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping_ == MAP_FAILED) {
    throw std::bad_alloc();
  }
  auto* const first = static_cast<std::uint8_t*>(mapping_) + page;
  if (mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) {
    munmap(mapping_, mappingBytes_);
    throw std::bad_alloc();
  }
  data_ = first + inner - aligned;
}

GuardedMemory::~GuardedMemory() {
  if (mapping_ != nullptr) {
    munmap(mapping_, mappingBytes_);
  }
}

GuardedMemory::GuardedMemory(GuardedMemory&& other) noexcept
    : mapping_(std::exchange(other.mapping_, nullptr)), mappingBytes_(other.mappingBytes_), data_(other.data_) {}

}  // namespace vrel::lv2
