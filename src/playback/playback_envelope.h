// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <vector>

#include "platform/audio_buffer.h"

namespace vrel {

/// The peaks (left, right) of equal segments of a buffer, in their order, at most 240: what the meter of a preloaded
/// playback shows. A mono buffer gives equal peaks; channels after the second are ignored.
[[nodiscard]] std::vector<std::pair<float, float>> playbackEnvelope(const AVAudioPCMBuffer& buffer);

}  // namespace vrel
