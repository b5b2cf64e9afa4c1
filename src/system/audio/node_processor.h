// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "foundation/midi_message.h"
#include "foundation/thread_roles.h"

namespace vrel::audio {

class TapPoint;

/// The largest block any device delivers, frames. Buffers and plug-ins are sized for it once.
inline constexpr std::uint32_t maximumBlockFrames = 1024;

/// A connection carries one or two channels.
inline constexpr std::uint32_t maximumStreamChannels = 2;

/// The samples of one block on one connection. Borrowed; valid during the block.
struct Stream {
  std::array<float*, maximumStreamChannels> channels{};
  std::uint32_t channelCount = 0;
};

/// Gives `input`, of one or two channels, as `output`: mono on all channels, two channels mixed down where there is
/// one.
inline void passOn(const Stream& input, const Stream& output, std::uint32_t frameCount) noexcept {
  const bool isMixedDown = input.channelCount > output.channelCount;
  for (std::uint32_t channel = 0; channel < output.channelCount; ++channel) {
    float* const samples = output.channels[channel];
    std::copy_n(input.channels[std::min(channel, input.channelCount - 1)], frameCount, samples);
    for (std::uint32_t frame = 0; isMixedDown && frame < frameCount; ++frame) {
      samples[frame] = 0.5F * (samples[frame] + input.channels[1][frame]);
    }
  }
}

/// What a node gets to render one block.
struct ProcessBlock {
  std::uint32_t frameCount = 0;    // 1 to maximumBlockFrames
  std::span<const Stream> inputs;  // in the order they were connected; empty for a source
  Stream output;                   // never shares memory with an input; holds silence on entry, unless `fillsOutput`
  TapPoint* tap = nullptr;         // for a processor that serves its tap itself; may be ignored by all others

  // Nobody may wait in this block for longer, nanoseconds of the monotonic clock. None where no time
  // is due: a render that takes as long as it takes.
  std::optional<std::int64_t> deadline{};
};

/// What a node has given in a block.
enum class Delivery {
  whole,     // what it renders
  missing,   // silence, since there was nothing to give: a plug-in is dead, or late
  bypassed,  // its input in place of that
};

/// The audio half of a node: everything of it that the audio thread may touch.
///
/// Order of calls: `prepare` from the control half before the node first is in a plan and again
/// when rate changes, never while a plan with this node is being rendered; then, once per block,
/// `begin` if nothing leads into it, and `process`. One that works elsewhere and has an input gets that by `accept`,
/// and `process` once it is ready. It is kept alive by every plan it is in, so it may outlive its node.
class NodeProcessor {
 public:
  virtual ~NodeProcessor() = default;

  /// Sizes everything for this rate, frames per second. Called again with an equal rate it costs
  /// nothing and changes nothing.
  virtual void prepare(double sampleRate) VREL_NOT_AUDIO_THREAD = 0;

  /// How many channels leave the node, 1 or 2, when `inputChannelCount` (0 to 2) enter it.
  [[nodiscard]] virtual std::uint32_t outputChannelCount(std::uint32_t inputChannelCount) const = 0;

  /// Whether `process` pushes to the tap itself, since what a listener gets is not the output.
  [[nodiscard]] virtual bool servesTap() const { return false; }

  /// Whether `process` writes every sample of its output in every block, so that it need not hold silence before.
  [[nodiscard]] virtual bool fillsOutput() const { return false; }

  /// What the last block was.
  [[nodiscard]] virtual Delivery delivery() const noexcept { return Delivery::whole; }

  /// For an instrument: a message for this block, at a frame of it. Comes before `begin`, in the order of the frames,
  /// and only while the node is attached to a graph. One that the block cannot take goes into the next one.
  virtual void takeEvent(std::uint32_t /*frame*/, MidiMessage /*message*/) noexcept VREL_AUDIO_THREAD {}

  /// Comes before the first `process` of the block, to all processors that are sources in the plan: who
  /// lets others work on the block sets them going here, and collects in `process`.
  virtual void begin(std::uint32_t /*frameCount*/) noexcept VREL_AUDIO_THREAD {}

  /// Whether the work is done by others, a guest say, who can be at it while the block goes on: `begin` or `accept`
  /// sets them going and `process` collects.
  [[nodiscard]] virtual bool worksElsewhere() const { return false; }

  /// The input of the block, for one that works elsewhere. Its `process` then gets no inputs.
  virtual void accept(std::uint32_t /*frameCount*/, const Stream& /*input*/) noexcept VREL_AUDIO_THREAD {}

  /// Whether `process` would not wait any more: the work has been done, or is given up.
  [[nodiscard]] virtual bool isReady(std::optional<std::int64_t> /*deadline*/) noexcept VREL_AUDIO_THREAD {
    return true;
  }

  /// Sleeps until that may have changed, or for a short while.
  virtual void sleepUntilReady(std::optional<std::int64_t> /*deadline*/) noexcept VREL_AUDIO_THREAD {}

  /// Renders one block. An early return leaves silence.
  virtual void process(const ProcessBlock& block) noexcept VREL_AUDIO_THREAD = 0;
};

}  // namespace vrel::audio
