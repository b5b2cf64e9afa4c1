// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "system/media/clip_stream.h"

namespace vrel::system {

/// The threads that decode the clips: playing clips come first, each in its turn, then clips to be prepared, then
/// tasks. They sleep while there is no work.
///
/// Two work at a time. One that hangs, in a network folder that does not answer, does not count: another takes its
/// place, and what is only to be prepared from that folder waits meanwhile. One that computes for long does not hang.
/// Threads that are needed no more end.
///
/// Threads: all operations from any. The destructor interrupts reading and waits for the pictures being decoded.
class ClipDecoderPool {
 public:
  using Duration = std::chrono::duration<double>;
  static constexpr std::size_t mostThreads = 16;
  static constexpr Duration usualLongestStep{0.3};

  /// What has computed next to nothing for `longestStep` hangs.
  explicit ClipDecoderPool(Duration longestStep = usualLongestStep);
  ~ClipDecoderPool();
  ClipDecoderPool(const ClipDecoderPool&) = delete;
  ClipDecoderPool& operator=(const ClipDecoderPool&) = delete;

  /// A new clip, which begins to prepare itself.
  [[nodiscard]] std::shared_ptr<ClipStream> open(const std::string& path);
  /// The clip is no longer shown; what it holds is freed by the pool's threads.
  void retire(const std::shared_ptr<ClipStream>& stream);
  /// Some clip may have work now.
  void wake();
  /// Reads the file on one of the threads when no clip wants anything. Left undone at the end.
  void post(const std::string& path, std::function<void(const std::atomic<bool>& isOver)> task);

 private:
  struct Slot {
    std::shared_ptr<ClipStream> stream;
    std::string folder;
    bool isBusy = false;
    bool isRetired = false;
  };
  struct Task {
    std::string folder;
    std::function<void(const std::atomic<bool>& isOver)> run;
  };
  struct Work {
    std::string folder;
    std::shared_ptr<Slot> slot;  // that is busy with it
    std::function<void()> run;   // null: there is nothing to do
  };
  struct Step {
    std::string folder;
    clockid_t processorClock;  // of its thread
    std::chrono::steady_clock::time_point computedAt;
    Duration computed;  // by then
  };
  void serve();
  /// Whether the calling thread has ended as one too many.
  [[nodiscard]] bool leave() VREL_REQUIRES(mutex_);
  void joinEnded() VREL_REQUIRES(mutex_);
  [[nodiscard]] Work chooseWork() VREL_REQUIRES(mutex_);
  [[nodiscard]] std::shared_ptr<Slot> chooseSlot() VREL_REQUIRES(mutex_);
  [[nodiscard]] bool hasRoom() const VREL_REQUIRES(mutex_);
  [[nodiscard]] bool hangs(const Step& step) const;
  /// Notes which of the steps have computed since they were last looked at.
  void watchSteps() VREL_REQUIRES(mutex_);
  [[nodiscard]] bool isSilent(const std::string& folder) const VREL_REQUIRES(mutex_);

  const Duration longestStep_;
  std::atomic<bool> isOver_{false};
  Mutex mutex_;  // never held while a clip works
  std::condition_variable woken_;
  std::vector<std::shared_ptr<Slot>> slots_ VREL_GUARDED_BY(mutex_);
  std::size_t turn_ VREL_GUARDED_BY(mutex_) = 0;
  std::deque<Task> tasks_ VREL_GUARDED_BY(mutex_);
  std::list<Step> steps_ VREL_GUARDED_BY(mutex_);  // under way
  std::vector<std::thread> threads_ VREL_GUARDED_BY(mutex_);
  std::vector<std::thread> ended_ VREL_GUARDED_BY(mutex_);  // as soon as the mutex is free
};

}  // namespace vrel::system
