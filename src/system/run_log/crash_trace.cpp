// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/run_log/crash_trace.h"

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace vrel::system {
namespace {

constexpr int mostFrames = 128;
constexpr unsigned longestTraceSeconds = 5;

// Read by the handler: prepared before, and never freed while it may run.
std::array<char, 4096> tracePath{};
std::atomic<pid_t> tracingThread{0};

// From here on, only what a signal handler may call.

void write(int file, std::string_view text) {
  (void)!::write(file, text.data(), text.size());
}

void writeNumber(int file, std::uintptr_t number, unsigned base) {
  std::array<char, 24> digits{};
  auto begin = digits.end();
  do {
    *--begin = "0123456789abcdef"[number % base];
    number /= base;
  } while (number != 0);
  write(file, {begin, static_cast<std::size_t>(digits.end() - begin)});
}

std::string_view nameOf(int signal) {
  switch (signal) {
    case SIGSEGV:
      return "SIGSEGV";
    case SIGBUS:
      return "SIGBUS";
    case SIGILL:
      return "SIGILL";
    case SIGFPE:
      return "SIGFPE";
    default:
      return "SIGABRT";
  }
}

void copyMemoryMap(int file) {
  const int map = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (map < 0) {
    return;
  }
  std::array<char, 4096> bytes;  // NOLINT(*-member-init): read into
  for (ssize_t size = 0; (size = ::read(map, bytes.data(), bytes.size())) > 0;) {
    write(file, {bytes.data(), static_cast<std::size_t>(size)});
  }
  ::close(map);
}

void writeTrace(int signal, const void* address) {
  const int file = ::open(tracePath.data(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0) {
    return;
  }
  write(file, nameOf(signal));
  if (signal != SIGABRT) {
    write(file, " at 0x");
    writeNumber(file, reinterpret_cast<std::uintptr_t>(address), 16);  // NOLINT(*-reinterpret-cast): printed
  }
  write(file, ", thread ");
  writeNumber(file, static_cast<std::uintptr_t>(::gettid()), 10);
  write(file, "\n\nStack:\n");
  std::array<void*, mostFrames> frames;  // NOLINT(*-member-init): written by the next line
  ::backtrace_symbols_fd(frames.data(), ::backtrace(frames.data(), mostFrames), file);
  write(file, "\nMemory:\n");
  copyMemoryMap(file);
  ::close(file);
}

void endBy(int signal) {
  struct sigaction byDefault {};
  byDefault.sa_handler = SIG_DFL;
  ::sigaction(signal, &byDefault, nullptr);
  ::raise(signal);  // comes when the handler returns
}

void handle(int signal, siginfo_t* info, void* /*context*/) {
  const pid_t thread = ::gettid();
  pid_t other = 0;
  if (!tracingThread.compare_exchange_strong(other, thread) && other != thread) {
    for (;;) {
      ::pause();  // the other thread ends the process
    }
  }
  if (other == 0) {
    // Looking at a stack may wait for a lock that nobody will open any more.
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    ::sigaction(SIGALRM, &byDefault, nullptr);
    ::alarm(longestTraceSeconds);
    writeTrace(signal, info->si_addr);
  }
  endBy(signal);
}

}  // namespace

CrashTrace::CrashTrace(const std::filesystem::path& file)
    : stack_(std::make_unique<std::byte[]>(stackBytes)) {  // NOLINT(*-avoid-c-arrays)
  const std::string path = file.string().substr(0, tracePath.size() - 1);
  tracePath.fill(0);
  std::copy(path.begin(), path.end(), tracePath.begin());
  // The first call loads a library, for which a handler is too late.
  void* frame = nullptr;
  (void)::backtrace(&frame, 1);

  stack_t stack{};
  stack.ss_sp = stack_.get();
  stack.ss_size = stackBytes;
  ::sigaltstack(&stack, &stackBefore_);
  struct sigaction action {};
  action.sa_sigaction = handle;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (std::size_t index = 0; index < signals.size(); ++index) {
    ::sigaction(signals.at(index), nullptr, &before_.at(index));
    if (before_.at(index).sa_handler == SIG_DFL) {  // NOLINT(*-union-access): the system's
      ::sigaction(signals.at(index), &action, nullptr);
    }
  }
}

CrashTrace::~CrashTrace() {
  for (std::size_t index = 0; index < signals.size(); ++index) {
    ::sigaction(signals.at(index), &before_.at(index), nullptr);
  }
  ::sigaltstack(&stackBefore_, nullptr);
}

}  // namespace vrel::system
