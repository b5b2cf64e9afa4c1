// SPDX-License-Identifier: GPL-3.0-or-later
#include <condition_variable>
#include <deque>

#include "foundation/mutex.h"

namespace {

class Queue {
 public:
  void put(int number) {
    {
      const vrel::MutexLock lock(mutex_);
      numbers_.push_back(number);
    }
    arrived_.notify_one();
  }

  int take() {
    vrel::MutexLock lock(mutex_);
    arrived_.wait(lock.native(), [this]() VREL_REQUIRES(mutex_) { return !numbers_.empty(); });
    return first();
  }

  int takeBesideOthers() {
    vrel::MutexLock lock(mutex_);
    lock.unlock();
    lock.lock();
    return first();
  }

 private:
  int first() VREL_REQUIRES(mutex_) {
    const int number = numbers_.front();
    numbers_.pop_front();
    return number;
  }

  vrel::Mutex mutex_;
  std::condition_variable arrived_;
  std::deque<int> numbers_ VREL_GUARDED_BY(mutex_);
};

class Nested {
 public:
  void enter() {
    const vrel::RecursiveMutexLock lock(mutex_);
    ++depth_;
  }

 private:
  vrel::RecursiveMutex mutex_;
  int depth_ VREL_GUARDED_BY(mutex_) = 0;
};

}  // namespace

int main() {
  Queue queue;
  queue.put(1);
  queue.put(2);
  Nested().enter();
  return queue.take() + queue.takeBesideOthers();
}
