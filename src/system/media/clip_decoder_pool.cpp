// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder_pool.h"

#include <algorithm>
#include <utility>

namespace vrel::system {
namespace {

constexpr std::size_t threadCount = 2;  // one goes on while the other opens a slow file

}  // namespace

ClipDecoderPool::ClipDecoderPool() {
  for (std::size_t index = 0; index < threadCount; ++index) {
    threads_.emplace_back([this] { serve(); });
  }
}

ClipDecoderPool::~ClipDecoderPool() {
  {
    const MutexLock lock(mutex_);
    isOver_ = true;
  }
  woken_.notify_all();
  for (auto& thread : threads_) {
    thread.join();
  }
}

std::shared_ptr<ClipStream> ClipDecoderPool::open(const std::string& path) {
  auto slot = std::make_shared<Slot>();
  slot->stream = std::make_shared<ClipStream>(path, isOver_);
  auto stream = slot->stream;
  {
    const MutexLock lock(mutex_);
    slots_.push_back(std::move(slot));
  }
  woken_.notify_one();
  return stream;
}

void ClipDecoderPool::retire(const std::shared_ptr<ClipStream>& stream) {
  {
    const MutexLock lock(mutex_);
    const auto found =
        std::find_if(slots_.begin(), slots_.end(), [&](const auto& slot) { return slot->stream == stream; });
    if (found != slots_.end()) {
      (*found)->isRetired = true;
    }
  }
  woken_.notify_one();
}

void ClipDecoderPool::wake() {
  {
    const MutexLock lock(mutex_);  // or a thread about to sleep would miss it
  }
  woken_.notify_one();
}

void ClipDecoderPool::post(std::function<void(const std::atomic<bool>& isOver)> task) {
  {
    const MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  woken_.notify_one();
}

// The playing clip whose turn it is; without one, a retired clip, or the one that has waited longest.
std::shared_ptr<ClipDecoderPool::Slot> ClipDecoderPool::choose() {
  std::shared_ptr<Slot> best;
  bool isUrgent = false;
  const std::size_t count = slots_.size();
  for (std::size_t index = 0; index < count && !isUrgent; ++index) {
    const std::size_t turn = (turn_ + index) % count;
    const auto& slot = slots_[turn];
    if (slot->isBusy) {
      continue;
    }
    const auto request = slot->isRetired ? ClipStream::Request::suspending : slot->stream->request();
    isUrgent = request == ClipStream::Request::decoding;
    if (isUrgent) {
      turn_ = turn + 1;
    }
    if (isUrgent || (best == nullptr && request != ClipStream::Request::nothing)) {
      best = slot;
    }
  }
  if (best != nullptr) {
    best->isBusy = true;
    if (best->isRetired) {
      std::erase(slots_, best);
    }
  }
  return best;
}

void ClipDecoderPool::serve() {
  MutexLock lock(mutex_);
  while (!isOver_) {
    if (auto slot = choose()) {
      const bool isRetired = slot->isRetired;
      lock.unlock();
      if (isRetired) {
        slot.reset();
      } else {
        slot->stream->step();
      }
      lock.lock();
      if (slot != nullptr) {
        slot->isBusy = false;
      }
      continue;
    }
    if (!tasks_.empty()) {
      auto task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task(isOver_);
      task = nullptr;
      lock.lock();
      continue;
    }
    woken_.wait(lock.native());
  }
}

}  // namespace vrel::system
