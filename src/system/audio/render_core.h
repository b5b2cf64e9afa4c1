// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "foundation/thread_roles.h"
#include "system/audio/block_pacer.h"
#include "system/audio/continuation.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_plan.h"

namespace vrel::audio {

/// The audio half of an engine: one pointer to the plan in force, and the soft edges around silence.
///
/// Threads: `render` on the audio thread. Everything else on the main thread, which learns from the
/// turn counter whether a block is under way: it is odd for as long as one is. All accesses to the
/// counter and the pointer are sequentially consistent, so a main thread that has changed the
/// pointer and then reads an even turn, or a turn other than one it saw before, knows that the
/// audio thread holds the old plan no more.
class RenderCore {
 public:
  using Turn = std::uint64_t;

  RenderCore(RenderCounters& counters, bool watchTime) : counters_(counters), watchTime_(watchTime) {}

  /// The plan from the next block on; null for silence. Returns the turn to wait for.
  Turn publish(const RenderPlan* plan) VREL_NOT_AUDIO_THREAD;

  /// Whether the audio thread has left every plan published before that turn was returned.
  [[nodiscard]] bool hasLeft(Turn turn) const { return turn % 2 == 0 || turn_.load() != turn; }

  /// Waits for that, as long as one block may take at the most. False, counted, when it took longer.
  bool waitUntilLeft(Turn turn) VREL_NOT_AUDIO_THREAD;

  /// The number of the last block that was begun.
  [[nodiscard]] std::uint64_t block() const { return (turn_.load() + 1) / 2; }

  [[nodiscard]] bool hasPlan() const { return plan_.load() != nullptr; }

  /// Renders any number of frames. On a device each block has its BlockTime.
  void render(float* left, float* right, std::uint32_t frameCount, double sampleRate) noexcept VREL_AUDIO_THREAD;

 private:
  using Channels = std::array<float*, maximumStreamChannels>;

  void renderSlice(const Channels& channels, std::uint32_t frameCount,
                   std::optional<std::int64_t> deadline) noexcept VREL_AUDIO_THREAD;
  void beginFadeOut() noexcept VREL_AUDIO_THREAD;
  void noteHistory(const Channels& channels, std::uint32_t frameCount) noexcept;
  void fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept;
  void addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept;

  RenderCounters& counters_;
  const bool watchTime_;
  alignas(64) std::atomic<const RenderPlan*> plan_{nullptr};
  alignas(64) std::atomic<Turn> turn_{0};

  // Audio thread.
  static constexpr std::uint32_t edgeFrames = 64;
  bool silent_ = false;                  // the last slice had no plan
  std::uint32_t fadedIn_ = edgeFrames;   // frames of the edge behind a gap that are done
  std::uint32_t fadedOut_ = edgeFrames;  // frames of the edge before a gap that are done
  std::array<std::array<float, edgeFrames>, maximumStreamChannels> edge_{};              // of the sound before the gap
  std::array<std::array<float, continuationHistory>, maximumStreamChannels> history_{};  // rings
  std::uint32_t historyEnd_ = 0;
  BlockPacer pacer_;
};

}  // namespace vrel::audio
