// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "foundation/thread_roles.h"
#include "system/audio/block_pacer.h"
#include "system/audio/device_event.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_plan.h"
#include "system/audio/route_table.h"
#include "system/audio/soft_edges.h"
#include "system/audio/timed_events.h"

namespace vrel::audio {

/// The audio half of an engine: pointers to the plan and to the routes in force, and the soft edges around silence.
///
/// Threads: `render` on the audio thread. Everything else on the main thread, which learns from the
/// turn counter whether a block is under way: it is odd for as long as one is. All accesses to the
/// counter and the pointer are sequentially consistent, so a main thread that has changed the
/// pointer and then reads an even turn, or a turn other than one it saw before, knows that the
/// audio thread holds the old plan no more, nor the old routes.
class RenderCore {
 public:
  using Turn = std::uint64_t;

  /// Frames for which a plan that is to end plays on, 0.1 s at usual rates.
  static constexpr std::uint32_t longestEnding = 4800;

  RenderCore(RenderCounters& counters, bool watchTime) : counters_(counters), watchTime_(watchTime) {}

  /// The plan from the next block on; null for silence. Returns the turn to wait for.
  Turn publish(RenderPlan* plan) VREL_NOT_AUDIO_THREAD;

  /// Where messages of sources with a clock of their own come from; null for nowhere. While no device runs.
  void setTimedEvents(std::shared_ptr<TimedEvents> timed) { timed_ = std::move(timed); }

  /// The table from the next block on; null for none. Returns the turn to wait for.
  Turn publish(const RouteTable* routes) VREL_NOT_AUDIO_THREAD;

  /// The plan in force plays on until the next one, but not for longer than `longestEnding`.
  void endPlan() VREL_NOT_AUDIO_THREAD;

  /// The turn to wait for if a block is under way.
  [[nodiscard]] Turn turn() const { return turn_.load(); }

  /// Whether the audio thread has left every plan published before that turn was returned.
  [[nodiscard]] bool hasLeft(Turn turn) const { return turn % 2 == 0 || turn_.load() != turn; }

  /// Waits for that, as long as one block may take at the most. False, counted, when it took longer.
  bool waitUntilLeft(Turn turn) VREL_NOT_AUDIO_THREAD;

  /// The number of the last block that was begun.
  [[nodiscard]] std::uint64_t block() const { return (turn_.load() + 1) / 2; }

  /// Renders any number of frames. On a device each block has its BlockTime. The events, ordered by frame, go through
  /// the table in force while there is a plan.
  void render(float* left, float* right, std::uint32_t frameCount, double sampleRate,
              std::span<DeviceEvent> events) noexcept VREL_AUDIO_THREAD;

 private:
  using Channels = SoftEdges::Channels;

  struct Slice {
    std::uint32_t firstFrame;  // of the block
    std::uint32_t frameCount;
    std::optional<std::int64_t> deadline;
    std::span<DeviceEvent> events;
    std::span<DeviceEvent> timed;
  };

  void renderSlice(const Channels& channels, const Slice& slice) noexcept VREL_AUDIO_THREAD;
  void route(const Slice& slice) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] bool isOver(std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  RenderCounters& counters_;
  const bool watchTime_;
  std::shared_ptr<TimedEvents> timed_;
  alignas(64) std::atomic<RenderPlan*> plan_{nullptr};
  std::atomic<const RouteTable*> routes_{nullptr};
  alignas(64) std::atomic<Turn> turn_{0};

  std::atomic<std::uint64_t> ending_{0};  // its number while the plan in force is to end, or 0
  std::uint64_t endings_ = 0;             // main thread

  // Audio thread.
  SoftEdges edges_{false};
  std::uint64_t lastEnding_ = 0;
  std::uint32_t playedOn_ = 0;  // frames since it began
  BlockPacer pacer_;
};

}  // namespace vrel::audio
