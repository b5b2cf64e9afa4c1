// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder_pool.h"

#include <pthread.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace vrel::system {
namespace {

constexpr std::size_t mostAtWork = 2;  // one goes on while the other opens a slow file
constexpr std::size_t mostIdle = 3;
constexpr double leastComputation = 0.1;  // of the time; a busy machine leaves a thread more

std::string folderOf(const std::string& path) {
  return std::filesystem::path(path).parent_path();
}

clockid_t ownProcessorClock() {
  clockid_t clock = CLOCK_THREAD_CPUTIME_ID;
  ::pthread_getcpuclockid(::pthread_self(), &clock);
  return clock;
}

ClipDecoderPool::Duration processorTime(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

ClipDecoderPool::ClipDecoderPool(Duration longestStep) : longestStep_(longestStep) {
  const MutexLock lock(mutex_);
  threads_.emplace_back([this] { serve(); });
}

ClipDecoderPool::~ClipDecoderPool() {
  std::vector<std::thread> threads;
  {
    const MutexLock lock(mutex_);
    isOver_ = true;
    threads.swap(threads_);
    joinEnded();
  }
  woken_.notify_all();
  for (auto& thread : threads) {
    thread.join();
  }
}

std::shared_ptr<ClipStream> ClipDecoderPool::open(const std::string& path) {
  auto slot = std::make_shared<Slot>();
  slot->stream = std::make_shared<ClipStream>(path, isOver_);
  slot->folder = folderOf(path);
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

void ClipDecoderPool::post(const std::string& path, std::function<void(const std::atomic<bool>& isOver)> task) {
  {
    const MutexLock lock(mutex_);
    tasks_.push_back({folderOf(path), std::move(task)});
  }
  woken_.notify_one();
}

// The playing clip whose turn it is; without one, a retired clip, or the one that has waited longest.
std::shared_ptr<ClipDecoderPool::Slot> ClipDecoderPool::chooseSlot() {
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
    if (request == ClipStream::Request::preparing && isSilent(slot->folder)) {
      continue;
    }
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

bool ClipDecoderPool::hangs(const Step& step) const {
  return std::chrono::steady_clock::now() - step.computedAt > longestStep_;
}

void ClipDecoderPool::watchSteps() {
  const auto now = std::chrono::steady_clock::now();
  for (auto& step : steps_) {
    const Duration computed = processorTime(step.processorClock);
    if (computed - step.computed >= leastComputation * (now - step.computedAt)) {
      step.computedAt = now;
      step.computed = computed;
    }
  }
}

bool ClipDecoderPool::isSilent(const std::string& folder) const {
  return std::any_of(steps_.begin(), steps_.end(),
                     [&](const Step& step) { return step.folder == folder && hangs(step); });
}

bool ClipDecoderPool::hasRoom() const {
  const auto atWork = std::count_if(steps_.begin(), steps_.end(), [this](const Step& step) { return !hangs(step); });
  return static_cast<std::size_t>(atWork) < mostAtWork;
}

ClipDecoderPool::Work ClipDecoderPool::chooseWork() {
  if (auto slot = chooseSlot()) {
    if (slot->isRetired) {
      const std::string folder = slot->folder;
      return {folder, nullptr, [slot = std::move(slot)] {}};  // freed with this
    }
    return {slot->folder, slot, [stream = slot->stream] { stream->step(); }};
  }
  const auto next = std::find_if(tasks_.begin(), tasks_.end(),
                                 [this](const Task& task) VREL_REQUIRES(mutex_) { return !isSilent(task.folder); });
  if (next == tasks_.end()) {
    return {};
  }
  auto task = std::move(*next);
  tasks_.erase(next);
  return {task.folder, nullptr, [this, run = std::move(task.run)] { run(isOver_); }};
}

void ClipDecoderPool::joinEnded() {
  for (auto& thread : ended_) {
    thread.join();
  }
  ended_.clear();
}

bool ClipDecoderPool::leave() {
  if (threads_.size() - steps_.size() <= mostIdle) {
    return false;
  }
  joinEnded();
  const auto own = std::find_if(threads_.begin(), threads_.end(), [](const std::thread& thread) {
    return thread.get_id() == std::this_thread::get_id();
  });
  ended_.push_back(std::move(*own));
  threads_.erase(own);
  return true;
}

// One thread more than there is work for, or nobody would see that the others hang.
void ClipDecoderPool::serve() {
  const clockid_t processorClock = ownProcessorClock();
  MutexLock lock(mutex_);
  while (!isOver_) {
    watchSteps();
    Work work = hasRoom() ? chooseWork() : Work();
    if (work.run == nullptr) {
      if (leave()) {
        return;
      }
      if (steps_.empty()) {
        woken_.wait(lock.native());
      } else {
        woken_.wait_for(lock.native(), longestStep_);
      }
      continue;
    }
    const auto step = steps_.insert(
        steps_.end(), {work.folder, processorClock, std::chrono::steady_clock::now(), processorTime(processorClock)});
    if (threads_.size() == steps_.size() && threads_.size() < mostThreads) {
      threads_.emplace_back([this] { serve(); });
    }
    lock.unlock();
    work.run();
    work.run = nullptr;
    lock.lock();
    steps_.erase(step);
    if (work.slot != nullptr) {
      work.slot->isBusy = false;
    }
  }
}

}  // namespace vrel::system
