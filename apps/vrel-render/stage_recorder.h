// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "foundation/observable.h"
#include "vrel-render/event_log.h"

namespace vrel {
class AppState;
class AudioChannel;
class AudioEngine;
class AVAudioNode;
class ContentView;
namespace system {
class OfflineClock;
}  // namespace system
}  // namespace vrel

namespace vrel::render {

/// Logs what happens on stage: song switches and their times, the statuses of strips, every MIDI event that an
/// instrument receives, the processes of plug-ins, and the dirty mark. Main thread. A strip without a plug-in logs no
/// status.
class StageRecorder {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    ContentView& content;
    const system::OfflineClock& clock;
  };

  /// All are borrowed; without a log only the songs are recorded.
  StageRecorder(const Collaborators& collaborators, EventLog* log);
  ~StageRecorder();
  StageRecorder(const StageRecorder&) = delete;
  StageRecorder& operator=(const StageRecorder&) = delete;

  /// Call when a plug-in's process has crashed, before its strip loses the node.
  void pluginDied(const std::shared_ptr<AVAudioNode>& node, int processId);

  /// The indices of the songs that went on stage, in order.
  [[nodiscard]] const std::vector<std::size_t>& songsApplied() const { return songsApplied_; }

 private:
  void songChanges();
  void songIsBuilt();
  void switchHasEnded();
  void watchStrips();
  void watch(AudioChannel& channel, std::size_t strip);
  void watchInstrument(const std::shared_ptr<AVAudioNode>& node, std::size_t strip);
  void watchEffects(AudioChannel& channel, EventLog::Strip strip);
  void logProcess(AVAudioNode* node, EventLog::Strip strip);
  [[nodiscard]] bool logCrash(const AudioChannel& channel, EventLog::Strip strip,
                              const std::shared_ptr<AVAudioNode>& node, int processId);
  void leaveStrips();
  [[nodiscard]] double now() const;

  AppState& state_;
  AudioEngine& engine_;
  const system::OfflineClock& clock_;
  EventLog* log_;
  std::vector<std::size_t> songsApplied_;
  bool isBuilding_ = false;  // not all strips of the song exist yet
  int pendingLoads_ = 0;     // when the last switch began
  std::vector<std::shared_ptr<void>> sessionLinks_;
  std::vector<std::shared_ptr<void>> connections_;  // to the strips of the song on stage
  std::vector<std::weak_ptr<AVAudioNode>> instruments_;
};

}  // namespace vrel::render
