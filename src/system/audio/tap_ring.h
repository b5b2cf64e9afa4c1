// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/thread_roles.h"
#include "platform/audio_buffer.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// A fixed ring of buffers of one size, from one audio thread to one tap thread. Wait-free on both
/// sides. Holds at least four of the largest blocks, or 0.15 seconds at 48 kHz, so that a block
/// that fills many buffers at once and a reader that comes late both fit.
class TapRing {
 public:
  /// Buffers of `bufferSize` frames, at least 1.
  explicit TapRing(std::uint32_t bufferSize);

  [[nodiscard]] std::uint32_t bufferSize() const { return bufferSize_; }

  /// Forgets everything inside. Neither side may be at work.
  void reset();

  /// Cuts the block into buffers. A stream that changes its channel count begins a new buffer.
  /// Returns how many buffers found no room.
  std::uint32_t write(const Stream& stream, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  /// The number of full buffers, the channel count of the oldest (there must be one), and its move
  /// into `buffer`: into both sides when mono meets two channels, as the mean when stereo meets one.
  [[nodiscard]] std::size_t fullBuffers() const;
  [[nodiscard]] std::uint32_t nextChannelCount() const;
  void read(AVAudioPCMBuffer& buffer);

 private:
  [[nodiscard]] float* samples(std::uint64_t index, std::uint32_t channel);
  std::uint32_t endBuffer() noexcept;

  const std::uint32_t bufferSize_;
  const std::size_t slotCount_;
  std::vector<float> samples_;                // slot by slot, two channels each
  std::vector<std::uint32_t> channelCounts_;  // one per slot
  alignas(64) std::atomic<std::uint64_t> written_{0};
  std::uint32_t fill_ = 0;          // audio thread: frames in the slot begun
  std::uint32_t fillChannels_ = 0;  // audio thread
  bool discarding_ = false;         // audio thread: the slot begun found no room
  alignas(64) std::atomic<std::uint64_t> read_{0};
};

}  // namespace vrel::audio
