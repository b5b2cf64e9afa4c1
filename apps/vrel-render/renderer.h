// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "foundation/result.h"
#include "vrel-render/show.h"

namespace vrel::system {
class WavWriter;
}  // namespace vrel::system

namespace vrel::render {

class OfflineStage;

/// The time of a show, in whole blocks.
struct ShowLength {
  int rate = 48000;                     // frames per second
  std::uint32_t block = 128;            // frames
  std::optional<double> lastStep = {};  // seconds; none in a show without steps
  double tail = 0;                      // seconds rendered after it

  /// As many as the tail takes, and at least the one that holds the last step.
  [[nodiscard]] std::uint64_t blockCount() const;

  /// The end of the block with this index, which is the start of the next: seconds.
  [[nodiscard]] double blockEnd(std::uint64_t index) const;
};

struct Rendered {
  std::uint64_t frames = 0;
  float peak = 0;  // the largest magnitude of either side
};

/// Plays a show on a stage that has started, block by block: every step acts on the block that holds its
/// time, in order, before that block is rendered. `wav` may be null. Fails when the file can not be written.
[[nodiscard]] Result<Rendered> renderShow(OfflineStage& stage, std::span<const ShowStep> steps,
                                          const ShowLength& length, system::WavWriter* wav);

}  // namespace vrel::render
