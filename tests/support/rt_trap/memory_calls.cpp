// SPDX-License-Identifier: GPL-3.0-or-later

// operator new and delete end here too. The C library's other names for its allocator are used
// instead of a symbol lookup, since the lookup itself allocates.

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "trap.h"

using vrel::rt_trap::check;

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept {
  check("malloc");
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  check("calloc");
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  check("realloc");
  return __libc_realloc(block, size);
}

void free(void* block) noexcept {
  if (block == nullptr) {
    return;
  }
  check("free");
  __libc_free(block);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  check("memalign");
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  check("aligned_alloc");
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  check("posix_memalign");
  const bool powerOfTwo = alignment != 0 && (alignment & (alignment - 1)) == 0;
  if (!powerOfTwo || alignment % sizeof(void*) != 0) {
    return EINVAL;
  }
  void* made = __libc_memalign(alignment, size);
  if (made == nullptr) {
    return ENOMEM;
  }
  *block = made;
  return 0;
}
}
