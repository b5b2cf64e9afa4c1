// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "foundation/mutex.h"
#include "foundation/result.h"
#include "foundation/thread_roles.h"

namespace vrel::audio {

class PlayerStream;

/// Reads ahead for all players: the disk thread. It looks every few milliseconds while anything plays and
/// sleeps otherwise. Without a thread, offline, its owner feeds between the blocks.
///
/// It holds streams, never nodes, so that no node ends on its thread.
class PlayerFeeder {
 public:
  PlayerFeeder() = default;
  ~PlayerFeeder();
  PlayerFeeder(const PlayerFeeder&) = delete;
  PlayerFeeder& operator=(const PlayerFeeder&) = delete;

  /// Feeds on a thread of its own from now on.
  [[nodiscard]] Outcome startThread() VREL_NOT_AUDIO_THREAD;

  void add(const std::shared_ptr<PlayerStream>& stream) VREL_NOT_AUDIO_THREAD;

  /// Something was scheduled. Any thread but the audio thread.
  void wake() VREL_NOT_AUDIO_THREAD;

  /// Offline: reads all that there is room for. `handOn` lets everybody do what follows from a completion and
  /// returns when they have; it is called until nothing follows any more. Nothing when there is no player.
  void feedBeforeBlock(const std::function<void()>& handOn) VREL_NOT_AUDIO_THREAD;

 private:
  [[nodiscard]] std::vector<std::shared_ptr<PlayerStream>> streams();
  void holdStreams();
  void serve();

  Mutex mutex_;
  std::condition_variable called_;
  std::vector<std::weak_ptr<PlayerStream>> streams_ VREL_GUARDED_BY(mutex_);
  std::size_t wakes_ VREL_GUARDED_BY(mutex_) = 0;
  std::size_t additions_ VREL_GUARDED_BY(mutex_) = 0;
  bool isEnding_ VREL_GUARDED_BY(mutex_) = false;
  std::thread thread_;

  // The offline rounds' own: what they feed, and how many had been added when they last looked.
  std::vector<std::shared_ptr<PlayerStream>> held_;
  std::size_t heldAdditions_ = 0;
};

}  // namespace vrel::audio
