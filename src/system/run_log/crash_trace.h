// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <memory>

namespace vrel::system {

/// When the process dies by a fault (SIGSEGV, SIGBUS, SIGILL, SIGFPE) or gives up (SIGABRT), writes to a file which
/// signal it was, the stack of the thread and where the program's files are in memory, for `addr2line`. Then the
/// process ends by that signal as it would have.
///
/// A signal that somebody else handles already, such as a sanitizer, stays theirs. The stack of a thread that has used
/// up its own can be written only for the thread that makes this. Where the trace itself hangs, the process ends after
/// some seconds.
///
/// Made and destroyed on one thread, one at a time; the end restores what was before.
class CrashTrace {
 public:
  explicit CrashTrace(const std::filesystem::path& file);
  ~CrashTrace();
  CrashTrace(const CrashTrace&) = delete;
  CrashTrace& operator=(const CrashTrace&) = delete;

 private:
  static constexpr std::array signals{SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
  static constexpr std::size_t stackBytes = 128 * 1024;

  std::unique_ptr<std::byte[]> stack_;  // NOLINT(*-avoid-c-arrays): memory for the system, without a type
  stack_t stackBefore_{};
  std::array<struct sigaction, signals.size()> before_{};
};

}  // namespace vrel::system
