// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The trap of the `rtcheck` preset: aborts on allocation, locks, waits and files inside a block.
//
// The executable interposes the C library's functions: the dynamic linker finds these definitions
// first. Each checks the audio scope of its thread, and either aborts or forwards the call. Calls
// from loaded libraries are caught too.
//
// Not caught: calls inside the C library (so `fopen` shows up as its `malloc`), and direct system
// calls.

#include <atomic>

namespace vrel::rt_trap {

/// Aborts when this thread is inside a block, with a line on standard error that names the call and
/// a backtrace.
void check(const char* call) noexcept;

/// The next definition of a name after the executable's: the C library's. Never null.
void* nextDefinition(const char* name) noexcept;

/// The C library's function of one name, looked up at its first use. Usable before any constructor
/// has run and from any thread.
template <typename Function>
class Real {
 public:
  explicit constexpr Real(const char* name) : name_(name) {}

  template <typename... Arguments>
  auto operator()(Arguments... arguments) noexcept {
    void* found = address_.load(std::memory_order_acquire);
    if (found == nullptr) {
      found = nextDefinition(name_);
      address_.store(found, std::memory_order_release);
    }
    return reinterpret_cast<Function*>(found)(arguments...);
  }

 private:
  const char* name_;
  std::atomic<void*> address_{nullptr};
};

}  // namespace vrel::rt_trap
