// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_range.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace vrel {

PlaybackRange normalisedPlaybackRange(double start, double end, double duration, double sampleRate) {
  PlaybackRange range;
  range.start = std::min(start, duration);
  if (!(range.start >= 0)) {  // no number counts as negative
    range.start = 0;
  }
  range.end = end > range.start ? end : duration;
  range.end = std::max(range.start, std::min(range.end, duration));
  range.startFrame = std::llround(sampleRate * range.start);
  const std::int64_t frames = std::llround(sampleRate * range.end) - range.startFrame;
  if (frames > std::numeric_limits<std::uint32_t>::max()) {
    std::fputs("a playback range must have fewer than 2^32 frames\n", stderr);
    std::abort();
  }
  range.frameCount = static_cast<std::uint32_t>(std::max<std::int64_t>(frames, 1));
  return range;
}

}  // namespace vrel
