// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_workshop.h"

#include <algorithm>
#include <utility>

namespace vrel::system {
namespace {

constexpr std::size_t threadCount = 2;  // one at least goes on while the other opens a slow file

}  // namespace

ClipWorkshop::ClipWorkshop() {
  for (std::size_t index = 0; index < threadCount; ++index) {
    threads_.emplace_back([this] { serve(); });
  }
}

ClipWorkshop::~ClipWorkshop() {
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  woken_.notify_all();
  for (auto& thread : threads_) {
    thread.join();
  }
}

std::shared_ptr<ClipStream> ClipWorkshop::open(const std::string& path) {
  auto place = std::make_shared<Place>();
  place->stream = std::make_shared<ClipStream>(path, isOver_);
  auto stream = place->stream;
  {
    const std::lock_guard lock(mutex_);
    places_.push_back(std::move(place));
  }
  woken_.notify_one();
  return stream;
}

void ClipWorkshop::retire(const std::shared_ptr<ClipStream>& stream) {
  {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::find_if(places_.begin(), places_.end(), [&](const auto& place) { return place->stream == stream; });
    if (found != places_.end()) {
      (*found)->isRetired = true;
    }
  }
  woken_.notify_one();
}

void ClipWorkshop::wake() {
  {
    const std::lock_guard lock(mutex_);  // or a thread about to sleep would miss it
  }
  woken_.notify_one();
}

void ClipWorkshop::runErrand(std::function<void(const std::atomic<bool>& isOver)> errand) {
  {
    const std::lock_guard lock(mutex_);
    errands_.push_back(std::move(errand));
  }
  woken_.notify_one();
}

// The playing clip whose turn it is; without one, a retired clip, or the one that has waited longest.
std::shared_ptr<ClipWorkshop::Place> ClipWorkshop::choose() {
  std::shared_ptr<Place> best;
  bool isUrgent = false;
  const std::size_t count = places_.size();
  for (std::size_t index = 0; index < count && !isUrgent; ++index) {
    const std::size_t turn = (turn_ + index) % count;
    const auto& place = places_[turn];
    if (place->isBusy) {
      continue;
    }
    const auto wish = place->isRetired ? ClipStream::Wish::resting : place->stream->wish();
    isUrgent = wish == ClipStream::Wish::decoding;
    if (isUrgent) {
      turn_ = turn + 1;
    }
    if (isUrgent || (best == nullptr && wish != ClipStream::Wish::nothing)) {
      best = place;
    }
  }
  if (best != nullptr) {
    best->isBusy = true;
    if (best->isRetired) {
      std::erase(places_, best);
    }
  }
  return best;
}

void ClipWorkshop::serve() {
  std::unique_lock lock(mutex_);
  while (!isOver_) {
    if (auto place = choose()) {
      const bool isRetired = place->isRetired;
      lock.unlock();
      if (isRetired) {
        place.reset();
      } else {
        place->stream->step();
      }
      lock.lock();
      if (place != nullptr) {
        place->isBusy = false;
      }
      continue;
    }
    if (!errands_.empty()) {
      auto errand = std::move(errands_.front());
      errands_.pop_front();
      lock.unlock();
      errand(isOver_);
      errand = nullptr;
      lock.lock();
      continue;
    }
    woken_.wait(lock);
  }
}

}  // namespace vrel::system
