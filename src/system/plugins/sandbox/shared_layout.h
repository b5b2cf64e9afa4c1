// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The memory that the program (the host) and the process of one plug-in (the guest) share.
//
// One block: the host writes a request into the slot of the next sequence number, then that number
// into `request`, and wakes the guest; the guest renders, writes the answer into the slot of the
// same number, then the number into `answer`, and wakes the host. There is never more than one request
// under way: a guest that has not answered is not asked again.
//
// Beside the blocks: the plug-in's controls, see control_table.h.
//
// Trust: the host reads nothing here but `answer`, answers and controls, copies what it reads, and believes no
// number of it to be in range. The guest believes the host.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "system/audio/node_processor.h"
#include "system/plugins/control_table.h"
#include "system/plugins/midi_record.h"
#include "system/plugins/musical_time.h"

namespace vrel::sandbox {

/// Sequence numbers have 31 bits and are compared for equality only; 0 comes before the first block.
using Sequence = std::uint32_t;
inline constexpr Sequence sequenceMask = 0x7FFFFFFF;

/// In `request`: the guest is to leave its loop. In `answer`: the guest is dead.
inline constexpr Sequence endOfBlocks = 0x80000000;

[[nodiscard]] constexpr Sequence nextSequence(Sequence sequence) {
  const Sequence next = (sequence + 1) & sequenceMask;
  return next == 0 ? 1 : next;
}

using StereoSamples = std::array<std::array<float, audio::maximumBlockFrames>, audio::maximumStreamChannels>;

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): lies in shared memory, which begins as zeros
struct BlockRequest {
  std::uint32_t frameCount;
  std::uint32_t inputChannelCount;  // 0 for a source
  std::uint32_t eventCount;
  std::uint32_t reserved;
  MusicalTime time;
  std::array<MidiRecord, MidiRing::capacity> events;
  alignas(64) StereoSamples input;
};

/// What the guest has counted since it began.
struct GuestCounts {
  std::uint64_t droppedEvents;
  std::uint64_t silencedBlocks;
  std::uint64_t skippedBlocks;
  std::uint64_t refusedWork;
  std::uint64_t mutedLogLines;
};

struct BlockAnswer {
  GuestCounts counts;
  alignas(64) StereoSamples output;
};

/// A word that one process waits for, and whether it sleeps on it, so that nobody is woken who is awake.
struct alignas(64) SharedWord {
  Sequence value;
  std::uint32_t sleeps;
};

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): lies in shared memory, which begins as zeros
struct SharedBlock {
  SharedWord request;
  SharedWord answer;
  std::array<BlockRequest, 2> requests;  // by the sequence number's last bit
  std::array<BlockAnswer, 2> answers;
  ControlTable controls;
};

static_assert(std::is_trivially_copyable_v<BlockRequest> && std::is_trivially_copyable_v<BlockAnswer>);
static_assert(std::is_trivially_copyable_v<GuestCounts> && std::is_trivially_copyable_v<SharedWord>);
static_assert(std::is_standard_layout_v<SharedBlock> && std::is_trivially_copyable_v<SharedBlock>);
static_assert(std::atomic_ref<Sequence>::is_always_lock_free && alignof(SharedBlock) <= 4096);
static_assert(sizeof(SharedWord) == 64 && offsetof(SharedBlock, requests) == 128);

}  // namespace vrel::sandbox
