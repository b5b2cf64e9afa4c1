// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_core.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "foundation/block_time.h"
#include "system/audio/denormal_guard.h"
#include "system/audio/finite_guard.h"

namespace vrel::audio {
namespace {

using Clock = std::chrono::steady_clock;

// No block of 1024 frames lasts anywhere near this long; who waits longer waits for a dead device.
constexpr std::chrono::seconds longestWait{2};

// The share of a block's time in which a processor may wait for others; the rest is for what follows it.
constexpr double waitingShare = 0.75;

std::uint64_t nanosecondsOf(Clock::time_point time) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count());
}

/// When the wait for the frames up to `endFrame` of a block that began at `begin` is over.
std::int64_t deadlineOf(Clock::time_point begin, std::uint32_t endFrame, double sampleRate) {
  const auto start = std::chrono::duration_cast<std::chrono::nanoseconds>(begin.time_since_epoch());
  return start.count() + static_cast<std::int64_t>(1e9 * waitingShare * endFrame / sampleRate);
}

}  // namespace

RenderCore::Turn RenderCore::publish(const RenderPlan* plan) {
  plan_.store(plan);
  return turn_.load();
}

bool RenderCore::waitUntilLeft(Turn turn) {
  if (hasLeft(turn)) {
    return true;
  }
  const Clock::time_point limit = Clock::now() + longestWait;
  while (!hasLeft(turn)) {
    if (Clock::now() > limit) {
      RenderCounters::add(counters_.overdueWaits);
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

void RenderCore::render(float* left, float* right, std::uint32_t frameCount, double sampleRate) noexcept {
  const DenormalGuard denormals;
  const Clock::time_point begin = watchTime_ ? Clock::now() : Clock::time_point{};
  std::fill_n(left, frameCount, 0.0F);
  std::fill_n(right, frameCount, 0.0F);
  const std::uint64_t blockTime = watchTime_ ? pacer_.begin(nanosecondsOf(begin), frameCount, sampleRate) : 0;
  for (std::uint32_t done = 0; done < frameCount;) {
    std::optional<BlockTime::Scope> time;
    if (watchTime_) {
      time.emplace(blockTime + static_cast<std::uint64_t>(1e9 * done / sampleRate));
    }
    const std::uint32_t count = std::min(frameCount - done, maximumBlockFrames);
    const auto deadline =
        watchTime_ ? std::optional(deadlineOf(begin, done + count, sampleRate)) : std::optional<std::int64_t>();
    renderSlice({left + done, right + done}, count, deadline);
    done += count;
  }
  if (watchTime_) {
    const std::chrono::duration<double> taken = Clock::now() - begin;
    if (taken.count() * sampleRate > static_cast<double>(frameCount)) {
      RenderCounters::add(counters_.lateBlocks);
    }
  }
}

void RenderCore::renderSlice(const Channels& channels, std::uint32_t frameCount,
                             std::optional<std::int64_t> deadline) noexcept {
  // Only this thread writes the counter: odd from here, even again at the end.
  const Turn turn = turn_.load(std::memory_order_relaxed);
  turn_.store(turn + 1);
  if (const RenderPlan* const plan = plan_.load(); plan != nullptr) {
    plan->render(frameCount, turn / 2 + 1, deadline);
    const Stream& result = plan->result();
    if (silenceIfNotFinite(result, frameCount)) {
      RenderCounters::add(counters_.nonFiniteBlocks);
    }
    for (std::uint32_t channel = 0; channel < channels.size() && result.channelCount > 0; ++channel) {
      std::copy_n(result.channels[std::min(channel, result.channelCount - 1)], frameCount, channels[channel]);
    }
    turn_.store(turn + 2);
    RenderCounters::add(counters_.blocks);
    if (silent_) {
      silent_ = false;
      fadedIn_ = 0;
    }
    fadeIn(channels, frameCount);
  } else {
    turn_.store(turn + 2);
    RenderCounters::add(counters_.silentBlocks);
    if (!silent_) {
      silent_ = true;
      beginFadeOut();
    }
  }
  addFadeOut(channels, frameCount);
  noteHistory(channels, frameCount);
}

void RenderCore::beginFadeOut() noexcept {
  fadedOut_ = 0;
  for (std::size_t channel = 0; channel < history_.size(); ++channel) {
    std::array<float, continuationHistory> past;
    std::rotate_copy(history_[channel].begin(), history_[channel].begin() + historyEnd_, history_[channel].end(),
                     past.begin());
    continueSignal(past, edge_[channel]);
  }
}

void RenderCore::noteHistory(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, continuationHistory);
  const std::uint32_t first = std::min(count, continuationHistory - historyEnd_);
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    const float* const newest = channels[channel] + frameCount - count;
    std::copy_n(newest, first, history_[channel].begin() + historyEnd_);
    std::copy_n(newest + first, count - first, history_[channel].begin());
  }
  historyEnd_ = (historyEnd_ + count) % continuationHistory;
}

void RenderCore::fadeIn(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedIn_);
  for (float* const samples : channels) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      samples[frame] *= fadeInAt(fadedIn_ + frame, edgeFrames);
    }
  }
  fadedIn_ += count;
}

void RenderCore::addFadeOut(const Channels& channels, std::uint32_t frameCount) noexcept {
  const std::uint32_t count = std::min(frameCount, edgeFrames - fadedOut_);
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const std::uint32_t at = fadedOut_ + frame;
      channels[channel][frame] += edge_[channel][at] * (1.0F - fadeInAt(at, edgeFrames));
    }
  }
  fadedOut_ += count;
}

}  // namespace vrel::audio
