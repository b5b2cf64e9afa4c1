// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "channel/note_targets.h"
#include "foundation/gate.h"
#include "foundation/uuid.h"
#include "platform/dispatch.h"

namespace vrel {

class AVAudioFile;
class AVAudioPCMBuffer;
class AVAudioPlayerNode;
class HostClock;
struct PlaybackRunView;

/// Starts and stops the files of playback channels, on notes.
///
/// A channel is idle, playing or stopping (it ends when the pass does). All decisions are made on the main
/// thread; the work on the player's node, which may wait, is done by the queue "vrel.playback.player".
/// What comes back late is known by the run it belongs to and does nothing when that is over.
///
/// A completion may come from any thread and after the end of this object: it finds the queue through a
/// gate that the end has closed.
class PlaybackRuns : public PlaybackTarget {
 public:
  /// The clock and the main queue are borrowed; they outlive all completions.
  PlaybackRuns(DispatchQueueFactory& queues, MainQueue& mainQueue, HostClock& clock);
  ~PlaybackRuns() override;
  PlaybackRuns(const PlaybackRuns&) = delete;
  PlaybackRuns& operator=(const PlaybackRuns&) = delete;

  /// One note for a channel that has a player. Reads no file and waits for nothing.
  void triggerPlayback(AudioChannel& channel) override;
  void triggerPlayback(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode);

  /// The serial queue of all player work, for whoever must know that it is done.
  [[nodiscard]] DispatchQueue& playbackQueue() { return *playbackQueue_; }

 private:
  struct Run;

  void endRun(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode);
  void requestStop(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode);
  [[nodiscard]] std::shared_ptr<Run> makeRun(AudioChannel& channel,
                                             const std::shared_ptr<AVAudioPlayerNode>& playerNode, const Uuid& token);
  void startRun(AudioChannel& channel, const std::shared_ptr<AVAudioPlayerNode>& playerNode);

  HostClock& clock_;
  MainQueue& mainQueue_;
  const std::shared_ptr<Gate<DispatchQueue>> gate_ = std::make_shared<Gate<DispatchQueue>>();  // to the player queue
  // Last: destroying the queue waits for the running work.
  std::unique_ptr<DispatchQueue> playbackQueue_;
};

}  // namespace vrel
