// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

#include "foundation/thread_roles.h"
#include "system/audio/continuation.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Keeps a change of links from being heard as a click. Every node has one, for what leaves it and what enters it.
///
/// When the input of a node changes between two consecutive blocks, what entered it until then is continued and faded
/// out, and what enters it now is faded in, both over `fadeFrames`. The processor of the earlier input is not called
/// for that: it may be gone. An input whose processor has nothing to give counts as gone until it has, and one that
/// gives something else (`NodeProcessor::delivery`) as another one. Inputs that stay are not touched.
///
/// Nothing fades behind a block without sound: the edges of the whole mix cover that.
///
/// Threads: the audio thread, once per block and node, `enter` before and `leave` after the node's `process`;
/// `lastReadBlock` any. Blocks are numbered from 1. A plan that renders keeps those of its nodes, and of nodes
/// that were linked to them, alive.
class LinkFades {
 public:
  static constexpr std::uint32_t fadeFrames = 256;

  struct Inputs {
    std::span<const Stream> streams;       // each read by this node alone
    std::span<LinkFades* const> sources;   // the same nodes, in the same order
    std::span<LinkFades* const> departed;  // nodes that may have been linked to this one before, and are not now
  };

  /// Fades what enters in this block, in place. What the node is to read is `inputs.streams`, or `spare` where the end
  /// of an earlier input does not fit into them; the result says which. `spare` has two channels of memory.
  [[nodiscard]] bool enter(const Inputs& inputs, Stream& spare, std::uint32_t frameCount,
                           std::uint64_t block) noexcept VREL_AUDIO_THREAD;

  /// Takes note of what left the node in this block.
  void leave(const Stream& output, std::uint32_t frameCount, std::uint64_t block,
             Delivery delivery) noexcept VREL_AUDIO_THREAD;

  /// The last block in which another node read this one's output; 0 for none.
  [[nodiscard]] std::uint64_t lastReadBlock() const { return lastReadBlock_.load(std::memory_order_relaxed); }

 private:
  using Channels = std::array<std::array<float, continuationHistory>, maximumStreamChannels>;

  struct Link {
    const LinkFades* reader = nullptr;
    std::uint64_t block = 0;
    std::uint32_t fadedIn = fadeFrames;
  };
  struct Output {
    std::uint64_t block = 0;
    std::uint64_t end = 0;  // frames that had been written with it
    std::uint32_t channelCount = 0;
    Delivery delivery = Delivery::whole;
  };

  [[nodiscard]] const Link& linkBefore(std::uint64_t block) const {
    return link_.block == block ? earlierLink_ : link_;
  }
  [[nodiscard]] const Output& outputBefore(std::uint64_t block) const {
    return output_.block == block ? earlierOutput_ : output_;
  }
  [[nodiscard]] bool wasReadBy(const LinkFades& reader, std::uint64_t block) const;
  [[nodiscard]] std::uint32_t nextFadeIn(const LinkFades& reader, std::uint64_t block, bool isReaderNew) const;
  void readFrom(const LinkFades& reader, const Stream& stream, std::uint32_t frameCount, std::uint64_t block,
                bool isReaderNew) noexcept;
  void addHistory(Channels& histories, std::uint64_t block) const noexcept;
  [[nodiscard]] bool hasLeft(const LinkFades& source, std::uint64_t block) const;
  void gatherDeparted(const Inputs& inputs, std::uint64_t block) noexcept;
  void beginTail(const Channels& histories, std::uint32_t channelCount) noexcept;
  [[nodiscard]] bool addTail(std::span<const Stream> streams, Stream& spare, std::uint32_t frameCount) noexcept;

  static constexpr std::uint32_t ringFrames = 2048;  // a history, and the block that follows it
  static_assert(ringFrames >= continuationHistory + maximumBlockFrames);

  // What left the node, and who read it. The earlier ones are of the block before, if there was one.
  std::array<std::array<float, ringFrames>, maximumStreamChannels> ring_{};
  Output output_;
  Output earlierOutput_;
  Link link_;
  Link earlierLink_;
  std::atomic<std::uint64_t> lastReadBlock_{0};

  // What enters it.
  std::uint64_t enteredBlock_ = 0;
  std::array<std::array<float, fadeFrames>, maximumStreamChannels> tail_{};
  std::uint32_t tailDone_ = fadeFrames;  // frames of it that were added
  std::uint32_t tailChannels_ = 1;
};

}  // namespace vrel::audio
