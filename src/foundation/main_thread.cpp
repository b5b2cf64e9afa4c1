// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/main_thread.h"

#include <atomic>

namespace vrel {
namespace {

// A thread is known by the address of its own mark, which costs less to ask for than its id.
constinit thread_local char threadMark = 0;
constinit std::atomic<const char*> mainThreadMark{nullptr};

// Static objects are made on the program's first thread.
[[maybe_unused]] const bool isFirstThreadMarked = [] {
  mainThreadMark.store(&threadMark, std::memory_order_relaxed);
  return true;
}();

}  // namespace

bool isMainThread() noexcept {
  const char* mark = mainThreadMark.load(std::memory_order_relaxed);
  // Nobody is marked yet while static objects are made.
  return mark == &threadMark || mark == nullptr;
}

MainThreadScope::MainThreadScope() noexcept
    : previous_(mainThreadMark.exchange(&threadMark, std::memory_order_relaxed)) {}

MainThreadScope::~MainThreadScope() {
  mainThreadMark.store(previous_, std::memory_order_relaxed);
}

}  // namespace vrel
