// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/mutex.h"
#include "foundation/thread_roles.h"
#include "platform/audio_buffer.h"
#include "platform/audio_node.h"
#include "system/audio/node_processor.h"
#include "system/audio/tap_fifo.h"

namespace vrel::audio {

/// The place in a node where somebody may listen. Every graph node has one, used or not.
///
/// Threads: the main thread installs and removes; the audio thread pushes, wait-free, into a fifo
/// of whole buffers; a tap thread (or the pump of an offline device) delivers full buffers to the
/// block. Nothing of the listener ever runs on the audio thread: a fifo that is full drops.
///
/// Invariants:
/// 1. While `remove` runs it waits for a push and a delivery under way; after it nobody holds the
///    block, whose captures have died on the thread that called `remove`.
/// 2. The audio thread sees a fifo through `active_` only, and only between its two writes of `pushing_`.
/// 3. One audio thread pushes at a time: a node is in one engine.
class TapPoint {
 public:
  TapPoint();
  ~TapPoint();
  TapPoint(const TapPoint&) = delete;
  TapPoint& operator=(const TapPoint&) = delete;

  /// Delivers every `bufferSize` frames (at least 1) to `block`, in place of what was installed. A
  /// format decides the channel count; without one the stream's own is kept. Main thread.
  void install(std::uint32_t bufferSize, std::optional<AVAudioFormat> format,
               AVAudioNode::TapBlock block) VREL_NOT_AUDIO_THREAD;

  /// Once it has returned the block is not called any more. Nothing when none is installed. Main thread.
  void remove() VREL_NOT_AUDIO_THREAD;

  [[nodiscard]] bool installed() const { return active_.load(std::memory_order_acquire) != nullptr; }

  /// The rate that delivered buffers carry, frames per second. Main thread.
  void setSampleRate(double sampleRate) VREL_NOT_AUDIO_THREAD;

  /// Takes the samples of one block.
  void push(const Stream& stream, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  /// Hands over the buffers that are full by now and returns their number. One caller at a time,
  /// the engine's dispatcher.
  std::size_t deliver() VREL_NOT_AUDIO_THREAD;

  /// Whether there is nothing to deliver or to count, at a look. Any thread.
  [[nodiscard]] bool isIdle() const { return !installed() && dropped_.load(std::memory_order_relaxed) == 0; }

  /// How many buffers found no room in the fifo since it was last asked. Any thread.
  [[nodiscard]] std::uint64_t takeDroppedBuffers() { return dropped_.exchange(0, std::memory_order_relaxed); }

 private:
  void makeBuffers() VREL_REQUIRES(delivery_);
  void endDelivery() VREL_REQUIRES(delivery_);

  // Main thread.
  std::unique_ptr<TapFifo> fifo_;  // kept after a removal for the next one of its size
  double sampleRate_ = 0;

  // Shared with the audio thread.
  std::atomic<TapFifo*> active_{nullptr};
  std::atomic<bool> pushing_{false};
  std::atomic<std::uint64_t> dropped_{0};

  // Recursive, since a block on the main thread may remove its own tap.
  RecursiveMutex delivery_;
  AVAudioNode::TapBlock block_ VREL_GUARDED_BY(delivery_);
  AVAudioNode::TapBlock removedDuringDelivery_ VREL_GUARDED_BY(delivery_);
  bool delivering_ VREL_GUARDED_BY(delivery_) = false;
  std::optional<AVAudioFormat> format_ VREL_GUARDED_BY(delivery_);
  std::shared_ptr<AVAudioPCMBuffer> mono_ VREL_GUARDED_BY(delivery_);
  std::shared_ptr<AVAudioPCMBuffer> stereo_ VREL_GUARDED_BY(delivery_);  // or as many channels as the format asks for
};

}  // namespace vrel::audio
