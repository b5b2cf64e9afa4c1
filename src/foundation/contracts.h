// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a function expects of its caller, checked at the doors of a class where the check is cheap:
//
//   if (!VREL_EXPECTS(isMainThread())) {
//     return;
//   }
//
// The branch is the recovery: the least harmful thing to do instead. In development and in tests it is never reached,
// since a violation ends the program. On stage a violation is logged once for each place, counted, and recovered from.
// A check is for faults of the program only; what a person, a file or a device can cause is an error (result.h).

#include <atomic>
#include <cstdint>

namespace vrel {

enum class ContractPolicy : std::uint8_t { terminate, recover };

/// At first `recover` in a build with NDEBUG, which is the one for the stage, and `terminate` in all others. Any
/// thread.
[[nodiscard]] ContractPolicy contractPolicy() noexcept;
void setContractPolicy(ContractPolicy policy) noexcept;

/// How many violations were recovered from so far, over all places. Any thread.
[[nodiscard]] std::uint64_t contractViolations() noexcept;

/// One VREL_EXPECTS in the source. Any thread; on the audio thread it counts and leaves the logging to a later time.
class ContractPlace {
 public:
  constexpr ContractPlace(const char* condition, const char* file, int line)
      : condition_(condition), file_(file), line_(line) {}

  /// The condition does not hold.
  void violated() noexcept;

 private:
  const char* condition_;
  const char* file_;
  int line_;
  std::atomic<bool> isLogged_{false};
};

template <typename Place>
[[nodiscard]] inline bool expectationHolds(bool holds, Place place) noexcept {
  if (!holds) [[unlikely]] {
    place().violated();
  }
  return holds;
}

}  // namespace vrel

/// Whether the condition holds; see above.
#define VREL_EXPECTS(condition)                                                           \
  ::vrel::expectationHolds(static_cast<bool>(condition), []() -> ::vrel::ContractPlace& { \
    static constinit ::vrel::ContractPlace contractPlace(#condition, __FILE__, __LINE__); \
    return contractPlace;                                                                 \
  })
