// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel::system {

/// Maps the time of a sequencer's queue to the monotonic clock; all in nanoseconds. One thread.
///
/// Who asks a queue for its time may be held up between the question and the answer. So an observation counts for
/// little, and not at all when it took long; unless the clocks differ by so much that one of them has jumped.
class SequencerClock {
 public:
  /// The queue said `queueTime` between these two times of the monotonic clock.
  void observe(std::int64_t before, std::int64_t queueTime, std::int64_t after);

  [[nodiscard]] bool isKnown() const { return isKnown_; }
  [[nodiscard]] std::int64_t monotonic(std::int64_t queueTime) const { return queueTime + offset_; }

 private:
  bool isKnown_ = false;
  std::int64_t offset_ = 0;
  std::int64_t uncertainty_ = 0;  // of the offset
};

}  // namespace vrel::system
