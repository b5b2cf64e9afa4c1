// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/file_queue.h"

#include <utility>

#include "platform/dispatch.h"

namespace vrel {

FileQueue::FileQueue(MainQueue& mainQueue, DispatchQueueFactory& queues, const std::string& label)
    : queue_(queues.makeSerialQueue(label)) {
  gate_->open(mainQueue);
}

FileQueue::~FileQueue() {
  gate_->close();
}

void FileQueue::async(Work work) {
  queue_->async([work = std::move(work), gate = gate_, life = life_.watch()] {
    work([&gate, &life](std::function<void()> answered) {
      gate->pass([&](MainQueue& mainQueue) {
        mainQueue.async([answered = std::move(answered), life] {
          if (life.isAlive()) {
            answered();
          }
        });
      });
    });
  });
}

}  // namespace vrel
