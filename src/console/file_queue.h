// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "foundation/gate.h"
#include "foundation/life_token.h"

namespace vrel {

class DispatchQueue;
class DispatchQueueFactory;
class MainQueue;

/// Work on files that may never answer, one piece after the other beside the main thread. The end drops what has not
/// begun, and may leave the piece under way behind, so a piece owns all that it uses; what it answers is dropped then.
/// Main thread.
class FileQueue {
 public:
  /// Runs something on the main queue. Called on the other thread, while the piece runs.
  using Answer = std::function<void(std::function<void()> work)>;
  using Work = std::function<void(const Answer& answer)>;

  /// All are borrowed.
  FileQueue(MainQueue& mainQueue, DispatchQueueFactory& queues, const std::string& label);
  ~FileQueue();
  FileQueue(const FileQueue&) = delete;
  FileQueue& operator=(const FileQueue&) = delete;

  void async(Work work);

 private:
  const std::shared_ptr<Gate<MainQueue>> gate_ = std::make_shared<Gate<MainQueue>>();
  LifeToken life_;
  std::unique_ptr<DispatchQueue> queue_;
};

}  // namespace vrel
