// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>

#include "foundation/block_time.h"
#include "platform/clock.h"

namespace vrel::system {

/// The machine's monotonic clock; within a block of a device, the time of the block (BlockTime). A host tick is a
/// nanosecond. Any thread.
class SystemClock final : public HostClock {
 public:
  [[nodiscard]] std::uint64_t AudioGetCurrentHostTime() const override {
    if (const auto time = BlockTime::current()) {
      return *time;
    }
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(sinceStart).count());
  }
  [[nodiscard]] std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) const override { return hostTime; }
  [[nodiscard]] std::uint64_t AudioConvertNanosToHostTime(std::uint64_t nanoseconds) const override {
    return nanoseconds;
  }
  [[nodiscard]] double CACurrentMediaTime() const override {
    return static_cast<double>(AudioGetCurrentHostTime()) * 1e-9;
  }
};

}  // namespace vrel::system
