// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/allocations/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count{0};

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  count.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace vrel::test {

std::size_t allocationCount() noexcept {
  return count.load(std::memory_order_relaxed);
}

}  // namespace vrel::test
