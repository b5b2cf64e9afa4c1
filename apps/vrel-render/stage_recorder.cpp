// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/stage_recorder.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "console/content_view.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/plugins/observable_instrument.h"
#include "system/plugins/sandboxed_node.h"
#include "vrel-render/event_log.h"

namespace vrel::render {

StageRecorder::StageRecorder(const Collaborators& collaborators, EventLog* log)
    : state_(collaborators.state), engine_(collaborators.engine), clock_(collaborators.clock), log_(log) {
  sessionLinks_.push_back(collaborators.content.songSwitch().stripsWillGo.connect([this] { songChanges(); }));
  if (log_ == nullptr) {
    return;
  }
  sessionLinks_.push_back(
      collaborators.content.selection().channelsViewVersion.changed.connect([this](std::uint64_t) { songIsBuilt(); }));
  sessionLinks_.push_back(state_.songSwitchInProgress.changed.connect([this](bool isInProgress) {
    if (!isInProgress && !isBuilding_) {
      switchHasEnded();
    }
  }));
  sessionLinks_.push_back(collaborators.content.midiLearn().controlWillAct.connect(
      [this](const MidiControlTarget& target, bool isPressed, float value) {
        log_->control(now(), target, isPressed, value);
      }));
  sessionLinks_.push_back(state_.isDirty.changed.connect([this](bool isDirty) { log_->dirty(now(), isDirty); }));
}

StageRecorder::~StageRecorder() {
  leaveStrips();
}

double StageRecorder::now() const {
  return clock_.seconds();
}

void StageRecorder::songChanges() {
  leaveStrips();
  const std::size_t index = state_.selectedSongIndex.get().value_or(0);
  songsApplied_.push_back(index);
  isBuilding_ = true;
  pendingLoads_ = state_.songSwitchPendingLoads.get();
  if (log_ != nullptr) {
    log_->song(now(), index);
  }
}

// The switch of a song without pending loads ends before its strips have been logged.
void StageRecorder::songIsBuilt() {
  isBuilding_ = false;
  leaveStrips();
  watchStrips();
  if (!state_.songSwitchInProgress.get()) {
    switchHasEnded();
  }
}

void StageRecorder::switchHasEnded() {
  log_->songSwitch(now(), songsApplied_.back(), state_.songSwitchElapsedMs.get().value_or(0), pendingLoads_);
}

// The instrument returns to the pool, from which another strip may take it.
void StageRecorder::leaveStrips() {
  connections_.clear();
  for (const auto& weak : instruments_) {
    if (auto* instrument = dynamic_cast<ObservableInstrument*>(weak.lock().get())) {
      instrument->setEventObserver(nullptr);
    }
  }
  instruments_.clear();
}

void StageRecorder::watchStrips() {
  const auto& channels = engine_.channels();
  for (std::size_t strip = 0; strip < channels.size(); ++strip) {
    watch(*channels[strip], strip);
  }
  watchEffects(*engine_.masterChannel(), std::nullopt);
}

void StageRecorder::watch(AudioChannel& channel, std::size_t strip) {
  if (channel.status.get() != ChannelStatus::noPlugin) {
    log_->status(now(), strip, channel.status.get());
  }
  connections_.push_back(
      channel.status.changed.connect([this, strip](ChannelStatus status) { log_->status(now(), strip, status); }));
  connections_.push_back(channel.instrumentNode.changed.connect(
      [this, strip](const std::shared_ptr<AVAudioNode>& node) { watchInstrument(node, strip); }));
  watchInstrument(channel.instrumentNode.get(), strip);
  watchEffects(channel, strip);
}

void StageRecorder::pluginDied(const std::shared_ptr<AVAudioNode>& node, int processId) {
  if (log_ == nullptr) {
    return;
  }
  const auto& channels = engine_.channels();
  for (std::size_t strip = 0; strip < channels.size(); ++strip) {
    if (logCrash(*channels[strip], strip, node, processId)) {
      return;
    }
  }
  (void)logCrash(*engine_.masterChannel(), std::nullopt, node, processId);
}

bool StageRecorder::logCrash(const AudioChannel& channel, EventLog::Strip strip,
                             const std::shared_ptr<AVAudioNode>& node, int processId) {
  const auto& effects = channel.effectNodes.get();
  const bool isHere =
      channel.instrumentNode.get() == node ||
      std::any_of(effects.begin(), effects.end(), [&node](const auto& entry) { return entry.second == node; });
  if (isHere) {
    log_->crash(now(), strip, processId);
  }
  return isHere;
}

void StageRecorder::watchEffects(AudioChannel& channel, EventLog::Strip strip) {
  using Nodes = std::map<Uuid, std::shared_ptr<AVAudioUnit>>;
  const auto logNew = [this, strip](const Nodes& before, const Nodes& now) {
    for (const auto& [slot, node] : now) {
      const auto earlier = before.find(slot);
      if (earlier == before.end() || earlier->second != node) {
        logProcess(node.get(), strip);
      }
    }
  };
  const auto known = std::make_shared<Nodes>(channel.effectNodes.get());
  logNew({}, *known);
  connections_.push_back(channel.effectNodes.changed.connect([known, logNew](const Nodes& now) {
    logNew(*known, now);
    *known = now;
  }));
}

void StageRecorder::logProcess(AVAudioNode* node, EventLog::Strip strip) {
  if (const auto* sandboxed = dynamic_cast<SandboxedNode*>(node)) {
    log_->sandbox(now(), strip, sandboxed->processId());
  }
}

void StageRecorder::watchInstrument(const std::shared_ptr<AVAudioNode>& node, std::size_t strip) {
  logProcess(node.get(), strip);
  auto* instrument = dynamic_cast<ObservableInstrument*>(node.get());
  if (instrument == nullptr) {
    return;
  }
  instruments_.push_back(node);
  instrument->setEventObserver([this, strip](std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    log_->midi(now(), strip, status, data1, data2);
  });
}

}  // namespace vrel::render
