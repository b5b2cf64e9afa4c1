// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "foundation/thread_roles.h"
#include "system/audio/continuation.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Rounds the edges between sound and silence of a stereo output, so that neither clicks: sound that ends is continued
/// (`continueSignal`) and faded out, sound that begins is faded in, each over `edgeFrames`. What has no edge passes
/// unchanged. Audio thread.
class SoftEdges {
 public:
  static constexpr std::uint32_t edgeFrames = 256;

  using Channels = std::array<float*, maximumStreamChannels>;

  explicit SoftEdges(bool beginsSilent) : isSilent_(beginsSilent) {}

  /// Shapes the next frames, 1 or more; those of a silent block must be zero.
  void shape(const Channels& channels, std::uint32_t frameCount, bool isSounding) noexcept VREL_AUDIO_THREAD;

  /// What was heard ended elsewhere: it is not continued, and what comes next begins from silence.
  void forget() noexcept VREL_AUDIO_THREAD;

 private:
  void beginFadeOut() noexcept;
  void fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept;
  void addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept;
  void noteHistory(const Channels& channels, std::uint32_t frameCount) noexcept;

  bool isSilent_;                        // the last block was
  std::uint32_t fadedIn_ = edgeFrames;   // frames of the edge behind silence that are done
  std::uint32_t fadedOut_ = edgeFrames;  // frames of the edge before silence that are done
  std::array<std::array<float, edgeFrames>, maximumStreamChannels> ending_{};            // of the sound before silence
  std::array<std::array<float, continuationHistory>, maximumStreamChannels> history_{};  // rings, of what was heard
  std::uint32_t historyEnd_ = 0;
};

}  // namespace vrel::audio
