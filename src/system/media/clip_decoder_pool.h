// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "system/media/clip_stream.h"

namespace vrel::system {

/// The threads that decode the clips: playing clips come first, each in its turn, then clips to be prepared, then
/// tasks. They sleep while there is no work.
///
/// Threads: all operations from any. The destructor interrupts reading and waits for the pictures being decoded.
class ClipDecoderPool {
 public:
  ClipDecoderPool();
  ~ClipDecoderPool();
  ClipDecoderPool(const ClipDecoderPool&) = delete;
  ClipDecoderPool& operator=(const ClipDecoderPool&) = delete;

  /// A new clip, which begins to prepare itself.
  [[nodiscard]] std::shared_ptr<ClipStream> open(const std::string& path);
  /// The clip is no longer shown; what it holds is freed by the pool's threads.
  void retire(const std::shared_ptr<ClipStream>& stream);
  /// Some clip may have work now.
  void wake();
  /// Runs on one of the threads when no clip wants anything. Left undone at the end.
  void post(std::function<void(const std::atomic<bool>& isOver)> task);

 private:
  struct Slot {
    std::shared_ptr<ClipStream> stream;
    bool isBusy = false;
    bool isRetired = false;
  };
  void serve();
  [[nodiscard]] std::shared_ptr<Slot> choose() VREL_REQUIRES(mutex_);

  std::atomic<bool> isOver_{false};
  Mutex mutex_;  // never held while a clip works
  std::condition_variable woken_;
  std::vector<std::shared_ptr<Slot>> slots_ VREL_GUARDED_BY(mutex_);
  std::size_t turn_ VREL_GUARDED_BY(mutex_) = 0;
  std::deque<std::function<void(const std::atomic<bool>&)>> tasks_ VREL_GUARDED_BY(mutex_);
  std::vector<std::thread> threads_;
};

}  // namespace vrel::system
