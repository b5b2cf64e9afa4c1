// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "foundation/observable.h"
#include "vrel-render/event_log.h"

namespace vrel {
class AudioChannel;
class AudioEngine;
class AVAudioNode;
class SongStage;
namespace system {
class OfflineClock;
}  // namespace system
}  // namespace vrel

namespace vrel::render {

/// Writes down what happens on stage: songs, the statuses of strips, every event that an instrument gets, and
/// the processes of plug-ins. Main thread. A strip that stays empty has no status worth a line.
class StageRecorder {
 public:
  /// All are borrowed; without a log nothing but the songs is kept.
  StageRecorder(AudioEngine& engine, SongStage& stage, const system::OfflineClock& clock, EventLog* log);
  ~StageRecorder();
  StageRecorder(const StageRecorder&) = delete;
  StageRecorder& operator=(const StageRecorder&) = delete;

  /// To be called when a song has been applied, before the main queue runs: from now on its strips are watched.
  void watchStrips();

  /// To be called when a plug-in's process has died, before its strip loses it.
  void pluginDied(const std::shared_ptr<AVAudioNode>& node, int processId);

  /// The indices of the songs that went on stage, in order.
  [[nodiscard]] const std::vector<std::size_t>& songsApplied() const { return songsApplied_; }

 private:
  void songWasApplied(std::size_t index);
  void watch(AudioChannel& channel, std::size_t strip);
  void watchInstrument(const std::shared_ptr<AVAudioNode>& node, std::size_t strip);
  void watchEffects(AudioChannel& channel, EventLog::Strip strip);
  void tellProcess(AVAudioNode* node, EventLog::Strip strip);
  [[nodiscard]] bool tellCrash(const AudioChannel& channel, EventLog::Strip strip,
                               const std::shared_ptr<AVAudioNode>& node, int processId);
  void leaveStrips();

  AudioEngine& engine_;
  const system::OfflineClock& clock_;
  EventLog* log_;
  std::vector<std::size_t> songsApplied_;
  Signal<std::size_t>::Connection applied_;
  std::vector<std::shared_ptr<void>> connections_;  // to the strips of the song on stage
  std::vector<std::weak_ptr<AVAudioNode>> instruments_;
};

}  // namespace vrel::render
