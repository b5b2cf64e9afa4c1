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

/// Takes those of the events that fall before a frame; all of them before the last one of the block.
std::span<DeviceEvent> takeUntil(std::span<DeviceEvent>& events, std::uint32_t endFrame, std::uint32_t blockFrames) {
  const auto rest = std::ranges::find_if(
      events, [&](const DeviceEvent& event) { return event.frame >= endFrame && endFrame < blockFrames; });
  const auto due = events.first(static_cast<std::size_t>(rest - events.begin()));
  events = events.subspan(due.size());
  return due;
}

/// When the wait for the frames up to `endFrame` of a block that began at `begin` is over.
std::int64_t deadlineOf(Clock::time_point begin, std::uint32_t endFrame, double sampleRate) {
  const auto start = std::chrono::duration_cast<std::chrono::nanoseconds>(begin.time_since_epoch());
  return start.count() + static_cast<std::int64_t>(1e9 * waitingShare * endFrame / sampleRate);
}

}  // namespace

RenderCore::Turn RenderCore::publish(RenderPlan* plan) {
  plan_.store(plan);
  // In this order: a plan that was over would otherwise sound once more.
  ending_.store(0);
  return turn_.load();
}

RenderCore::Turn RenderCore::publish(const RouteTable* routes) {
  routes_.store(routes);
  return turn_.load();
}

void RenderCore::endPlan() {
  ending_.store(++endings_);
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

void RenderCore::render(float* left, float* right, std::uint32_t frameCount, double sampleRate,
                        std::span<DeviceEvent> events) noexcept {
  const DenormalGuard denormals;
  const Clock::time_point begin = watchTime_ ? Clock::now() : Clock::time_point{};
  std::fill_n(left, frameCount, 0.0F);
  std::fill_n(right, frameCount, 0.0F);
  const std::uint64_t blockTime = watchTime_ ? pacer_.begin(nanosecondsOf(begin), frameCount, sampleRate) : 0;
  const std::span<DeviceEvent> due =
      watchTime_ && timed_ != nullptr ? timed_->take(blockTime, frameCount, sampleRate) : std::span<DeviceEvent>();
  std::span<DeviceEvent> timed = due;
  for (std::uint32_t done = 0; done < frameCount;) {
    std::optional<BlockTime::Scope> time;
    if (watchTime_) {
      time.emplace(blockTime + static_cast<std::uint64_t>(1e9 * done / sampleRate));
    }
    const std::uint32_t count = std::min(frameCount - done, maximumBlockFrames);
    const auto deadline =
        watchTime_ ? std::optional(deadlineOf(begin, done + count, sampleRate)) : std::optional<std::int64_t>();
    const Slice slice{.firstFrame = done,
                      .frameCount = count,
                      .deadline = deadline,
                      .events = takeUntil(events, done + count, frameCount),
                      .timed = takeUntil(timed, done + count, frameCount)};
    renderSlice({left + done, right + done}, slice);
    if (!slice.events.empty() && !slice.events.back().isRouted) {
      events = {};  // what comes later in the block must not overtake what is left to the main thread
    }
    done += count;
  }
  if (!due.empty()) {
    timed_->keep(due);
  }
  if (watchTime_) {
    const std::chrono::duration<double> taken = Clock::now() - begin;
    if (taken.count() * sampleRate > static_cast<double>(frameCount)) {
      RenderCounters::add(counters_.lateBlocks);
    }
  }
}

void RenderCore::renderSlice(const Channels& channels, const Slice& slice) noexcept {
  const std::uint32_t frameCount = slice.frameCount;
  // Only this thread writes the counter: odd from here, even again at the end.
  const Turn turn = turn_.load(std::memory_order_relaxed);
  turn_.store(turn + 1);
  RenderPlan* const plan = isOver(frameCount) ? nullptr : plan_.load();
  if (plan != nullptr) {
    route(slice);
    plan->render(frameCount, turn / 2 + 1, slice.deadline);
    const Stream& result = plan->result();
    if (silenceIfNotFinite(result, frameCount)) {
      RenderCounters::add(counters_.nonFiniteBlocks);
    }
    for (std::uint32_t channel = 0; channel < channels.size() && result.channelCount > 0; ++channel) {
      std::copy_n(result.channels[std::min(channel, result.channelCount - 1)], frameCount, channels[channel]);
    }
  }
  if (timed_ != nullptr) {
    timed_->setTaken(plan != nullptr && routes_.load() != nullptr);
  }
  turn_.store(turn + 2);
  RenderCounters::add(plan != nullptr ? counters_.blocks : counters_.silentBlocks);
  edges_.shape(channels, frameCount, plan != nullptr);
}

void RenderCore::route(const Slice& slice) noexcept {
  const RouteTable* const routes = routes_.load();
  if (routes == nullptr) {
    return;
  }
  auto events = slice.events;
  auto timed = slice.timed;
  while (!events.empty() || !timed.empty()) {
    auto& next = timed.empty() || (!events.empty() && events.front().frame <= timed.front().frame) ? events : timed;
    DeviceEvent& event = next.front();
    const std::uint32_t frame = event.frame - std::min(event.frame, slice.firstFrame);
    routes->route(std::min(frame, slice.frameCount - 1), event.message);
    event.isRouted = true;
    next = next.subspan(1);
  }
}

bool RenderCore::isOver(std::uint32_t frameCount) noexcept {
  const std::uint64_t ending = ending_.load();
  if (ending == 0) {
    return false;
  }
  if (ending != lastEnding_) {
    lastEnding_ = ending;
    playedOn_ = 0;
  }
  playedOn_ += playedOn_ < longestEnding ? frameCount : 0;
  return playedOn_ >= longestEnding;
}

}  // namespace vrel::audio
