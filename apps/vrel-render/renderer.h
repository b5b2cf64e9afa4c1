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

/// The duration of a show, in whole blocks.
struct ShowLength {
  int rate = 48000;                     // frames per second
  std::uint32_t block = 128;            // frames
  std::optional<double> lastStep = {};  // seconds; none in a show without steps
  double tail = 0;                      // seconds rendered after it

  /// Enough for the tail, and at least the block with the last step.
  [[nodiscard]] std::uint64_t blockCount() const;

  /// The end of the block with this index, which is the start of the next: seconds.
  [[nodiscard]] double blockEnd(std::uint64_t index) const;
};

struct Rendered {
  std::uint64_t frames = 0;
  float peak = 0;  // of both channels
};

/// Renders a show on a started stage, block by block: the steps within a block's time are performed, in order,
/// before that block is rendered. `wav` may be null. Fails when the file cannot be written.
[[nodiscard]] Result<Rendered> renderShow(OfflineStage& stage, std::span<const ShowStep> steps,
                                          const ShowLength& length, system::WavWriter* wav);

}  // namespace vrel::render
