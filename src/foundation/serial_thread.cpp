// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/serial_thread.h"

#include <condition_variable>
#include <deque>
#include <utility>

#include "foundation/contracts.h"
#include "foundation/mutex.h"

namespace vrel {

// Shared with the thread, which may outlive the object that ends on it.
struct SerialThread::Queue {
  Mutex mutex;
  std::condition_variable arrived;
  std::condition_variable ended;  // the work of some `runAndWait`, or all of it
  std::deque<Work> work VREL_GUARDED_BY(mutex);
  bool isEnding VREL_GUARDED_BY(mutex) = false;
  bool isOver VREL_GUARDED_BY(mutex) = false;
};

SerialThread::SerialThread(AtEnd atEnd) : SerialThread(atEnd, std::nullopt) {}

SerialThread::SerialThread(std::chrono::milliseconds longestEnd)
    : SerialThread(AtEnd::dropWork, std::optional(longestEnd)) {}

SerialThread::SerialThread(AtEnd atEnd, std::optional<std::chrono::milliseconds> longestEnd)
    : atEnd_(atEnd),
      longestEnd_(longestEnd),
      queue_(std::make_shared<Queue>()),
      thread_([queue = queue_] { serve(*queue); }) {}

SerialThread::~SerialThread() {
  std::deque<Work> dropped;
  {
    const MutexLock lock(queue_->mutex);
    queue_->isEnding = true;
    if (atEnd_ == AtEnd::dropWork) {
      dropped.swap(queue_->work);
    }
  }
  queue_->arrived.notify_one();
  dropped.clear();  // outside of the lock: its destructors may post here
  if (isCurrent() || mustLeave()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

bool SerialThread::mustLeave() const {
  Queue& queue = *queue_;
  MutexLock lock(queue.mutex);
  return longestEnd_ && !queue.ended.wait_for(lock.native(), *longestEnd_,
                                              [&queue]() VREL_REQUIRES(queue.mutex) { return queue.isOver; });
}

void SerialThread::post(Work work) {
  if (!VREL_EXPECTS(work != nullptr)) {
    return;
  }
  {
    const MutexLock lock(queue_->mutex);
    if (queue_->isEnding && atEnd_ == AtEnd::dropWork) {
      return;
    }
    queue_->work.push_back(std::move(work));
  }
  queue_->arrived.notify_one();
}

void SerialThread::runAndWait(const Work& work) {
  if (isCurrent()) {
    work();
    return;
  }
  bool isDone = false;  // under the queue's mutex
  post([&work, &isDone, queue = queue_] {
    work();
    {
      const MutexLock lock(queue->mutex);
      isDone = true;
    }
    queue->ended.notify_all();
  });
  MutexLock lock(queue_->mutex);
  queue_->ended.wait(lock.native(), [&isDone] { return isDone; });
}

void SerialThread::serve(Queue& queue) {
  MutexLock lock(queue.mutex);
  while (true) {
    queue.arrived.wait(lock.native(),
                       [&queue]() VREL_REQUIRES(queue.mutex) { return queue.isEnding || !queue.work.empty(); });
    if (queue.work.empty()) {
      queue.isOver = true;
      queue.ended.notify_all();
      return;
    }
    Work next = std::move(queue.work.front());
    queue.work.pop_front();
    lock.unlock();
    next();
    next = nullptr;  // its destructors may post here
    lock.lock();
  }
}

}  // namespace vrel
