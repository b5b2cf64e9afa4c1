// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/serial_queue.h"

#include <utility>

namespace vrel::system {

SerialQueue::SerialQueue() : thread_([this] { serve(); }) {}

SerialQueue::~SerialQueue() {
  std::deque<Work> unrun;
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    unrun.swap(pending_);
  }
  arrived_.notify_one();
  unrun.clear();  // outside of the lock: what goes may post here as it goes
  thread_.join();
}

void SerialQueue::async(Work work) {
  {
    const std::lock_guard lock(mutex_);
    if (ending_) {
      return;
    }
    pending_.push_back(std::move(work));
  }
  arrived_.notify_one();
}

void SerialQueue::sync(const Work& work) {
  bool isDone = false;  // guarded by mutex_
  async([&] {
    work();
    {
      const std::lock_guard lock(mutex_);
      isDone = true;
    }
    ended_.notify_all();
  });
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [&] { return isDone; });
}

void SerialQueue::serve() {
  std::unique_lock lock(mutex_);
  while (true) {
    arrived_.wait(lock, [this] { return ending_ || !pending_.empty(); });
    if (ending_) {
      return;
    }
    Work work = std::move(pending_.front());
    pending_.pop_front();
    lock.unlock();
    work();
    work = nullptr;  // what it held may post here as it goes
    lock.lock();
  }
}

std::unique_ptr<DispatchQueue> SerialQueueFactory::makeSerialQueue(const std::string& /*label*/) {
  return std::make_unique<SerialQueue>();
}

}  // namespace vrel::system
