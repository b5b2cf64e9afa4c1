// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/player_feeder.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <system_error>

#include "system/audio/node_processor.h"
#include "system/audio/player_stream.h"

namespace vrel::audio {
namespace {

constexpr std::chrono::milliseconds lookEvery{4};

// Half of what is left when a segment is consumed: the next one may still come.
constexpr std::uint32_t finishingFrames = PlayerStream::lookahead / 2;

}  // namespace

PlayerFeeder::~PlayerFeeder() {
  {
    const MutexLock lock(mutex_);
    isEnding_ = true;
  }
  called_.notify_one();
  if (thread_.joinable()) {
    thread_.join();
  }
}

Outcome PlayerFeeder::startThread() {
  const MutexLock lock(mutex_);
  if (thread_.joinable()) {
    return {};
  }
  try {
    thread_ = std::thread([this] { serve(); });
  } catch (const std::system_error& failure) {
    return Error{std::string("cannot start the thread that reads audio files: ") + failure.what()};
  }
  return {};
}

void PlayerFeeder::add(const std::shared_ptr<PlayerStream>& stream) {
  const MutexLock lock(mutex_);
  std::erase_if(streams_, [](const auto& weak) { return weak.expired(); });
  streams_.push_back(stream);
  ++additions_;
}

void PlayerFeeder::wake() {
  {
    const MutexLock lock(mutex_);
    ++wakes_;
  }
  called_.notify_one();
}

std::vector<std::shared_ptr<PlayerStream>> PlayerFeeder::streams() {
  std::vector<std::shared_ptr<PlayerStream>> alive;
  const MutexLock lock(mutex_);
  for (const auto& weak : streams_) {
    if (auto stream = weak.lock()) {
      alive.push_back(std::move(stream));
    }
  }
  return alive;
}

void PlayerFeeder::serve() {
  std::size_t seen = 0;
  bool isActive = false;
  while (true) {
    {
      MutexLock lock(mutex_);
      const auto isCalled = [&]() VREL_REQUIRES(mutex_) { return isEnding_ || wakes_ != seen; };
      if (isActive) {
        called_.wait_for(lock.native(), lookEvery, isCalled);
      } else {
        called_.wait(lock.native(), isCalled);
      }
      if (isEnding_) {
        return;
      }
      seen = wakes_;
    }
    isActive = false;
    for (bool again = true; again;) {
      again = false;
      for (const auto& stream : streams()) {
        again = stream->feed() || again;  // a chunk each, so that none waits for all of another
      }
    }
    for (const auto& stream : streams()) {
      stream->finish(finishingFrames);
      isActive = stream->isActive() || isActive;
    }
  }
}

// Sharing each stream before every block would cost more than most rounds do.
void PlayerFeeder::holdStreams() {
  std::erase_if(held_, [](const auto& stream) { return stream.use_count() == 1; });
  const MutexLock lock(mutex_);
  if (heldAdditions_ == additions_) {
    return;
  }
  heldAdditions_ = additions_;
  held_.clear();
  for (const auto& weak : streams_) {
    if (auto stream = weak.lock()) {
      held_.push_back(std::move(stream));
    }
  }
}

void PlayerFeeder::feedBeforeBlock(const std::function<void()>& handOn) {
  holdStreams();
  if (held_.empty()) {
    return;
  }
  for (bool again = true; again;) {
    std::size_t before = 0;
    {
      const MutexLock lock(mutex_);
      before = wakes_;
    }
    handOn();
    again = false;
    for (const auto& stream : held_) {
      while (stream->feed()) {
        again = true;
      }
    }
    const MutexLock lock(mutex_);
    again = again || wakes_ != before;
  }
  for (const auto& stream : held_) {
    stream->finish(maximumBlockFrames);
  }
}

}  // namespace vrel::audio
