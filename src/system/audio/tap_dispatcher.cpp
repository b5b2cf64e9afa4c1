// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/tap_dispatcher.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

namespace vrel::audio {
namespace {

// Half a display frame at 120 per second: the meters are never older than that.
constexpr std::chrono::milliseconds readEvery{4};

}  // namespace

TapDispatcher::TapDispatcher(std::shared_ptr<RenderCounters> counters) : counters_(std::move(counters)) {}

TapDispatcher::~TapDispatcher() {
  stopThread();
}

void TapDispatcher::add(const std::shared_ptr<TapPoint>& tap) {
  const RecursiveMutexLock lock(mutex_);
  taps_.push_back(tap);
}

void TapDispatcher::remove(const std::shared_ptr<TapPoint>& tap) {
  const RecursiveMutexLock lock(mutex_);
  std::erase(taps_, tap);
}

Outcome TapDispatcher::startThread() {
  if (thread_.joinable()) {
    return {};
  }
  stopping_.store(false);
  try {
    thread_ = std::thread([this] {
      while (!stopping_.load()) {
        deliver();
        std::this_thread::sleep_for(readEvery);
      }
    });
  } catch (const std::system_error& failure) {
    return Error{std::string("cannot start the thread of the level meters: ") + failure.what()};
  }
  return {};
}

void TapDispatcher::stopThread() {
  stopping_.store(true);
  if (thread_.joinable()) {
    thread_.join();
  }
}

void TapDispatcher::deliver() {
  const RecursiveMutexLock lock(mutex_);
  // By index, since a listener on the main thread may change the list.
  for (std::size_t index = 0; index < taps_.size(); ++index) {
    if (taps_[index]->isIdle()) {
      continue;
    }
    const std::shared_ptr<TapPoint> tap = taps_[index];
    tap->deliver();
    RenderCounters::add(counters_->droppedTapBuffers, tap->takeDroppedBuffers());
  }
}

}  // namespace vrel::audio
