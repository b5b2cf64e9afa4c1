// SPDX-License-Identifier: GPL-3.0-or-later
#include "trap.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "foundation/thread_roles.h"

namespace vrel::rt_trap {
namespace {

// Reporting a violation calls functions that the trap watches.
constinit thread_local bool reporting = false;

constexpr int deepestBacktrace = 48;
constexpr int standardError = 2;

void report(const char* text) noexcept {
  if (::syscall(SYS_write, standardError, text, std::strlen(text)) < 0) {
    return;  // no other place to report it
  }
}

[[noreturn]] void stop(const char* call) noexcept {
  reporting = true;
  report("rt trap: ");
  report(call);
  report(" inside an audio block\n");
  std::array<void*, deepestBacktrace> frames{};
  const int count = ::backtrace(frames.data(), deepestBacktrace);
  ::backtrace_symbols_fd(frames.data(), count, standardError);
  std::abort();
}

}  // namespace

void check(const char* call) noexcept {
  if (audioScopeDepth() > 0 && !reporting) {
    stop(call);
  }
}

void* nextDefinition(const char* name) noexcept {
  void* found = ::dlsym(RTLD_NEXT, name);
  if (found == nullptr) {
    report("rt trap: the C library has no ");
    report(name);
    report("\n");
    std::abort();
  }
  return found;
}

}  // namespace vrel::rt_trap
