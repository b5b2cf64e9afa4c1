// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "foundation/thread_roles.h"

namespace vrel::audio {

/// Rounds the edges between sound and silence of a stereo output, so that neither clicks: silence begins with a ramp
/// from the last sample to zero, sound begins with a ramp from zero, each over 64 frames. What has no edge passes
/// unchanged. Audio thread.
class SoftEdges {
 public:
  using Channels = std::array<float*, 2>;

  explicit SoftEdges(bool beginsSilent) : isSilent_(beginsSilent) {}

  /// Shapes the next frames, 1 or more; those of a silent block must be zero.
  void shape(const Channels& channels, std::uint32_t frameCount, bool isSounding) noexcept VREL_AUDIO_THREAD;

 private:
  static constexpr std::uint32_t edgeFrames = 64;

  void fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept;
  void addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept;

  bool isSilent_;                        // the last block was
  std::uint32_t fadedIn_ = edgeFrames;   // frames of the edge behind silence that are done
  std::uint32_t fadedOut_ = edgeFrames;  // frames of the edge before silence that are done
  std::array<float, 2> lastSamples_{};
  std::array<float, 2> edgeSamples_{};
};

}  // namespace vrel::audio
