// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/serial_thread.h"

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <utility>

namespace vrel::lv2 {

struct SerialThread::Queue {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Work> work;
  bool closing = false;
};

SerialThread::SerialThread() : queue_(std::make_shared<Queue>()), thread_([queue = queue_] { serve(*queue); }) {}

SerialThread::~SerialThread() {
  {
    const std::lock_guard lock(queue_->mutex);
    queue_->closing = true;
  }
  queue_->changed.notify_one();
  if (isCurrent()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void SerialThread::post(Work work) {
  {
    const std::lock_guard lock(queue_->mutex);
    queue_->work.push_back(std::move(work));
  }
  queue_->changed.notify_one();
}

void SerialThread::runAndWait(const Work& work) {
  if (isCurrent()) {
    work();
    return;
  }
  std::promise<void> done;
  post([&work, &done] {
    work();
    done.set_value();
  });
  done.get_future().wait();
}

void SerialThread::serve(Queue& queue) {
  for (;;) {
    Work next;
    {
      std::unique_lock lock(queue.mutex);
      queue.changed.wait(lock, [&queue] { return queue.closing || !queue.work.empty(); });
      if (queue.work.empty()) {
        return;
      }
      next = std::move(queue.work.front());
      queue.work.pop_front();
    }
    next();
  }
}

}  // namespace vrel::lv2
