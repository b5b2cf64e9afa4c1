// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "foundation/thread_roles.h"
#include "system/audio/render_counters.h"
#include "system/audio/tap.h"

namespace vrel::audio {

/// Brings the buffers of an engine's taps to their listeners: on a thread of its own beside a device
/// in real time, or from `deliver` where the caller pumps. Checks the taps every few
/// milliseconds, so the audio thread never has to wake anybody.
///
/// Owns a share of each tap point while its node is attached; drops it on the main thread only.
class TapDispatcher {
 public:
  explicit TapDispatcher(std::shared_ptr<RenderCounters> counters);
  ~TapDispatcher();
  TapDispatcher(const TapDispatcher&) = delete;
  TapDispatcher& operator=(const TapDispatcher&) = delete;

  /// Main thread.
  void add(const std::shared_ptr<TapPoint>& tap) VREL_NOT_AUDIO_THREAD;
  void remove(const std::shared_ptr<TapPoint>& tap) VREL_NOT_AUDIO_THREAD;

  /// From now on a thread delivers. Nothing when it already does. An error when the system has no
  /// thread to give.
  [[nodiscard]] Outcome startThread() VREL_NOT_AUDIO_THREAD;

  /// Ends the thread and returns when no block runs any more.
  void stopThread() VREL_NOT_AUDIO_THREAD;

  /// Hands over everything that is full now. Not beside the thread.
  void deliver() VREL_NOT_AUDIO_THREAD;

 private:
  std::shared_ptr<RenderCounters> counters_;
  RecursiveMutex mutex_;  // recursive: a pumped block may attach and detach nodes
  std::vector<std::shared_ptr<TapPoint>> taps_ VREL_GUARDED_BY(mutex_);
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace vrel::audio
