// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace vrel::audio {

/// Makes the processor treat numbers too small for the normal form as zero, for the time of its
/// life, and restores the thread's own mode after. Decaying tails would otherwise become many
/// times slower just when nothing is heard any more.
class DenormalGuard {
 public:
#if defined(__SSE__)
  DenormalGuard() noexcept : saved_(_mm_getcsr()) {
    _mm_setcsr(static_cast<unsigned>(saved_) | flushBits);
  }
  ~DenormalGuard() {
    _mm_setcsr(static_cast<unsigned>(saved_));
  }
#elif defined(__aarch64__)
  DenormalGuard() noexcept {
    asm volatile("mrs %0, fpcr" : "=r"(saved_));
    asm volatile("msr fpcr, %0" : : "r"(saved_ | flushBits));
  }
  ~DenormalGuard() {
    asm volatile("msr fpcr, %0" : : "r"(saved_));
  }
#else
  DenormalGuard() noexcept = default;
  ~DenormalGuard() {}
#endif
  DenormalGuard(const DenormalGuard&) = delete;
  DenormalGuard& operator=(const DenormalGuard&) = delete;

 private:
#if defined(__SSE__)
  static constexpr unsigned flushBits = 0x8040U;  // results and operands
#elif defined(__aarch64__)
  static constexpr std::uint64_t flushBits = std::uint64_t{1} << 24U;
#endif
  [[maybe_unused]] std::uint64_t saved_ = 0;
};

}  // namespace vrel::audio
