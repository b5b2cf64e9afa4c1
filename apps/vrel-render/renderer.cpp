// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "system/media/wav_writer.h"
#include "vrel-render/offline_stage.h"

namespace vrel::render {
namespace {

float peakOf(std::span<const float> samples) {
  float peak = 0;
  for (const float sample : samples) {
    peak = std::max(peak, std::abs(sample));
  }
  return peak;
}

}  // namespace

std::uint64_t ShowLength::blockCount() const {
  const double end = lastStep.value_or(0) + tail;
  // An estimate; the loops below settle it by the same block ends that assign steps to blocks.
  auto count = static_cast<std::uint64_t>(end * rate / block);
  count -= std::min<std::uint64_t>(count, 2);
  while (count == 0 ? end > 0 : blockEnd(count - 1) < end) {
    ++count;
  }
  while (lastStep && (count == 0 || blockEnd(count - 1) <= *lastStep)) {
    ++count;
  }
  return count;
}

double ShowLength::blockEnd(std::uint64_t index) const {
  return static_cast<double>((index + 1) * block) / rate;
}

Result<Rendered> renderShow(OfflineStage& stage, std::span<const ShowStep> steps, const ShowLength& length,
                            system::WavWriter* wav) {
  Rendered rendered;
  std::size_t next = 0;
  const std::uint64_t blockCount = length.blockCount();
  for (std::uint64_t index = 0; index < blockCount; ++index) {
    const double end = length.blockEnd(index);
    for (; next < steps.size() && steps[next].seconds < end; ++next) {
      stage.perform(steps[next]);
    }
    const auto block = stage.renderBlockUntil(end);
    rendered.frames += block.left.size();
    rendered.peak = std::max({rendered.peak, peakOf(block.left), peakOf(block.right)});
    if (wav != nullptr) {
      if (auto failure = wav->write(block.left, block.right)) {
        return *failure;
      }
    }
  }
  return rendered;
}

}  // namespace vrel::render
