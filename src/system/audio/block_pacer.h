// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel::audio {

/// Follows the audio clock: gives each block the host time at which it would begin if its device asked for blocks
/// exactly in time.
///
/// A device asks early or late by as much as it buffers, and its clock differs a little from the host's. A second-order
/// loop filters out the first and follows the second. After a gap it starts again. Audio thread.
class BlockPacer {
 public:
  /// The host time of the first frame of the next block, nanoseconds, when the block was asked for at `now`.
  [[nodiscard]] std::uint64_t begin(std::uint64_t now, std::uint32_t frameCount, double sampleRate) noexcept;

 private:
  bool hasBegun_ = false;
  double expected_ = 0;  // of the next block, nanoseconds
  double drift_ = 0;     // of the host's clock against the device's, as a share
};

}  // namespace vrel::audio
