// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/thread_roles.h"
#include "platform/audio_buffer.h"
#include "system/audio/frame_fifo.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Whole buffers of one size, cut from the blocks of one audio thread for one tap thread, wait-free for both. Holds at
/// least four of the largest blocks, or 0.15 seconds at 48 kHz, so that a block that fills many buffers at once and a
/// reader that comes late both fit.
class TapFifo {
 public:
  /// Buffers of `bufferSize` frames, at least 1.
  explicit TapFifo(std::uint32_t bufferSize);

  [[nodiscard]] std::uint32_t bufferSize() const { return bufferSize_; }

  /// Empty again. Only while nobody writes or reads.
  void reset();

  /// Cuts the block into buffers. A stream that changes its channel count begins a new buffer.
  /// Returns how many buffers found no room.
  std::uint32_t write(const Stream& stream, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  /// The number of full buffers, the channel count of the oldest (there must be one), and its move into `buffer`: into
  /// both channels when mono meets stereo, as the mean when stereo meets mono.
  [[nodiscard]] std::size_t fullBuffers() const { return frames_.waiting() / bufferSize_; }
  [[nodiscard]] std::uint32_t nextChannelCount() const;
  void read(AVAudioPCMBuffer& buffer);

 private:
  std::uint32_t endBuffer() noexcept;

  const std::uint32_t bufferSize_;
  const std::uint32_t bufferCount_;
  FrameFifo frames_;                          // whole buffers only
  std::vector<std::uint32_t> channelCounts_;  // by buffer

  // Audio thread.
  std::uint32_t nextBuffer_ = 0;  // below bufferCount_
  std::uint32_t fill_ = 0;        // frames in the buffer begun
  std::uint32_t fillChannels_ = 0;
  bool discarding_ = false;  // the buffer begun found no room

  // Tap thread.
  std::uint32_t oldestBuffer_ = 0;  // below bufferCount_
  std::vector<float> right_;
};

}  // namespace vrel::audio
