// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/channel_operations.h"

#include <algorithm>
#include <string>

#include "console/reorder.h"
#include "console/song_list.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel {

bool ChannelOperations::isAllowed(LiveModeAction action) const {
  return LiveModePolicy::isAllowed(action, state_);
}

void ChannelOperations::beginDrag(const AudioChannel& channel) {
  if (isAllowed(LiveModeAction::moveChannels)) {
    draggedChannelId.set(channel.id);
  }
}

void ChannelOperations::moveChannels(const std::set<std::size_t>& fromOffsets, std::size_t toOffset) {
  const auto count = engine_.channels().size();
  if (!isAllowed(LiveModeAction::moveChannels) || fromOffsets.empty() || *fromOffsets.begin() >= count ||
      toOffset > count) {
    return;
  }
  engine_.moveChannel(*fromOffsets.begin(), toOffset);
  state_.markEdited();
}

void ChannelOperations::moveChannelBy(const AudioChannel& channel, int by) {
  const auto from = indexOfStrip(engine_, channel.id);
  const auto to = from ? offsetMovedBy(*from, by, engine_.channels().size()) : std::nullopt;
  if (to) {
    moveChannels({*from}, *to);
  }
}

void ChannelOperations::addChannelFromButton() {
  if (!isAllowed(LiveModeAction::addChannel)) {
    return;
  }
  const auto channel = engine_.addChannel("Instrument " + std::to_string(engine_.channels().size() + 1));
  const auto range = keyboardNoteRange(state_);
  channel->minNote.set(range.low);
  channel->maxNote.set(range.high);
  selection_.selectedChannelId.set(channel->id);
  channelListChanged();
}

void ChannelOperations::addChannelFromConfig(const ChannelConfig& config, std::optional<std::size_t> insertAt) {
  if (!isAllowed(LiveModeAction::addChannel)) {
    return;
  }
  const auto channel = builder_.addChannel(config);
  if (insertAt) {
    const auto last = engine_.channels().size() - 1;
    engine_.moveChannel(last, std::min(*insertAt, last));
  }
  const bool hasInstrument = !config.pluginPath.empty();
  const bool hasEffects = std::any_of(config.effectSlots.begin(), config.effectSlots.end(),
                                      [](const auto& slot) { return !slot.pluginPath.empty(); });
  state_.beginLoadingSession(int{hasInstrument} + int{hasEffects},
                             std::string(text(TextKey::loadingAudioUnits, state_.language.get())));
  const auto completeOneLoad = [this](bool wasCounted) {
    return [this, wasCounted] {
      if (wasCounted) {
        state_.completeOneLoad();
      }
    };
  };
  builder_.load(channel, config,
                {.isWanted = [] { return true; },
                 .instrumentEnded = completeOneLoad(hasInstrument),
                 .effectsEnded = completeOneLoad(hasEffects)});
  selection_.selectedChannelId.set(channel->id);
  channelListChanged();
}

void ChannelOperations::copyChannel(const AudioChannel& channel) {
  if (!isAllowed(LiveModeAction::copyChannel)) {
    return;
  }
  channelClipboard.set(recordOf(channel));
  selection_.selectedChannelId.set(channel.id);
}

void ChannelOperations::cutChannel(const AudioChannel& channel) {
  if (!isAllowed(LiveModeAction::cutChannel)) {
    return;
  }
  copyChannel(channel);
  engine_.removeChannel(channel);
  selectFirstStrip(selection_, engine_);
  channelListChanged();
}

void ChannelOperations::pasteChannel(const std::optional<Uuid>& afterChannelId) {
  if (!isAllowed(LiveModeAction::pasteChannel) || !channelClipboard.get()) {
    return;
  }
  auto before = indexOfStrip(engine_, afterChannelId);
  if (!before) {
    before = indexOfStrip(engine_, selection_.selectedChannelId.get());
  }
  addChannelFromConfig(*channelClipboard.get(), before ? *before + 1 : engine_.channels().size());
}

void ChannelOperations::duplicateChannel(const AudioChannel& channel) {
  const auto index = indexOfStrip(engine_, channel.id);
  if (!isAllowed(LiveModeAction::duplicateChannel) || !index) {
    return;
  }
  addChannelFromConfig(recordOf(channel), *index + 1);
}

void ChannelOperations::removeChannelFromConsole(const AudioChannel& channel) {
  if (!isAllowed(LiveModeAction::deleteChannel)) {
    return;
  }
  const auto id = channel.id;
  engine_.removeChannel(channel);
  if (selection_.selectedChannelId.get() == id) {
    selectFirstStrip(selection_, engine_);
  }
  channelListChanged();
}

ChannelConfig ChannelOperations::recordOf(const AudioChannel& channel) const {
  engine_.pluginState().requestStates(channel);
  auto record = makeChannelConfig(channel, engine_.pluginState());
  if (amendRecord) {
    amendRecord(channel, record);
  }
  return record;
}

void ChannelOperations::channelListChanged() {
  selection_.channelsViewVersion.set(selection_.channelsViewVersion.get() + 1);
  state_.markEdited();
}

}  // namespace vrel
