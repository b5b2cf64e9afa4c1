// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/word_wait.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

#include "foundation/thread_roles.h"

namespace vrel::sandbox {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

// Not the private kind: the word is shared with another process.
void sleepWhile(SharedWord& word, Sequence old, std::optional<std::int64_t> deadline) noexcept {
  timespec until{};
  if (deadline) {
    until.tv_sec = *deadline / nanosecondsPerSecond;
    until.tv_nsec = *deadline % nanosecondsPerSecond;
  }
  // What is waited for is a plug-in's own processing: the one wait that a block may make.
  const ForeignCodeScope foreignCode;
  syscall(SYS_futex, &word.value, FUTEX_WAIT_BITSET, old, deadline ? &until : nullptr, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace

void post(SharedWord& word, Sequence value) noexcept {
  std::atomic_ref(word.value).store(value);
  // Together with the order in `waitWhile`: either this sees the sleeper, or the sleeper the new value.
  if (std::atomic_ref(word.sleeps).load() != 0) {
    syscall(SYS_futex, &word.value, FUTEX_WAKE, 1, nullptr, nullptr, 0);
  }
}

Sequence read(SharedWord& word) noexcept {
  return std::atomic_ref(word.value).load(std::memory_order_acquire);
}

Sequence waitWhile(SharedWord& word, Sequence old, std::optional<std::int64_t> deadline) noexcept {
  // No spinning: it takes the processor from the process that is waited for. On two processors any of it made the
  // hand-over slower, however short.
  std::atomic_ref sleeps(word.sleeps);
  sleeps.store(1);
  if (std::atomic_ref(word.value).load() == old) {
    sleepWhile(word, old, deadline);
  }
  sleeps.store(0);
  return read(word);
}

std::int64_t monotonicNanoseconds() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

}  // namespace vrel::sandbox
