// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

/// Monotonic time. All operations may be called from any thread, the audio thread included.
///
/// Host time is counted in ticks of the platform; only the two conversions know the length of a tick.
class HostClock {
 public:
  virtual ~HostClock() = default;

  [[nodiscard]] virtual std::uint64_t AudioGetCurrentHostTime() const = 0;
  [[nodiscard]] virtual std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) const = 0;
  [[nodiscard]] virtual std::uint64_t AudioConvertNanosToHostTime(std::uint64_t nanoseconds) const = 0;

  /// Seconds since some fixed moment; the media time of meters and playbacks.
  [[nodiscard]] virtual double CACurrentMediaTime() const = 0;
};

}  // namespace vrel
