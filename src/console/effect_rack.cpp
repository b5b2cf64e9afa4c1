// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/effect_rack.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "console/loading_modal.h"
#include "console/plugin_preferences.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "document/find_slot.h"
#include "document/plugin_names.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"
#include "text/text.h"

namespace vrel {

EffectRack::EffectRack(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      mainQueue_(collaborators.mainQueue),
      console_(collaborators.console),
      plugins_(state_.scannedAudioEffectPlugins.get()) {
  connections_.push_back(state_.scannedAudioEffectPlugins.changed.connect(
      [this](const auto& plugins) { plugins_ = PluginList(plugins); }));
  connections_.push_back(
      collaborators.selection.channelsViewVersion.changed.connect([this](std::uint64_t) { stripsChanged(); }));
}

bool EffectRack::mayChange() const {
  return LiveModePolicy::isAllowed(LiveModeAction::changeRack, state_);
}

void EffectRack::toggle(const AudioChannel& channel) {
  const bool isOpen = openChannelId.get() == channel.id;
  close();
  if (!isOpen) {
    openChannelId.set(channel.id);
    searchText.set(searchTexts_[channel.id]);
  }
}

void EffectRack::close() {
  if (const auto& id = openChannelId.get()) {
    searchTexts_[*id] = searchText.get();
  }
  openChannelId.set(std::nullopt);
  replacedSlotId.set(std::nullopt);
  searchText.set("");
}

std::shared_ptr<AudioChannel> EffectRack::channel() const {
  return openChannelId.get() ? channelOf(*openChannelId.get()) : nullptr;
}

std::shared_ptr<AudioChannel> EffectRack::channelOf(const Uuid& id) const {
  return id == engine_.masterChannel()->id ? engine_.masterChannel() : stripWithId(engine_, id);
}

void EffectRack::stripsChanged() {
  revivedSlots.set({});  // a load for a strip that is gone never ends
  if (channel() == nullptr) {
    close();
  }
  std::erase_if(searchTexts_, [this](const auto& entry) { return channelOf(entry.first) == nullptr; });
}

std::vector<AudioPluginSlot> EffectRack::occupiedSlots(const AudioChannel& channel) {
  std::vector<AudioPluginSlot> occupied;
  const auto& slots = channel.effectSlots.get();
  std::copy_if(slots.begin(), slots.end(), std::back_inserter(occupied),
               [](const auto& slot) { return !slot.pluginPath.empty(); });
  return occupied;
}

std::vector<PluginGroup> EffectRack::groups() const {
  return plugins_.matching(searchText.get());
}

std::vector<AVAudioUnitComponent> EffectRack::preferred() const {
  return preferredPlugins(state_, plugins_, searchText.get());
}

void EffectRack::toggleReplaced(const Uuid& slotId) {
  if (mayChange()) {
    replacedSlotId.set(replacedSlotId.get() == slotId ? std::nullopt : std::optional(slotId));
  }
}

Uuid EffectRack::takeSlotToFill(const AudioChannel& channel) {
  const auto replaced = replacedSlotId.get();
  replacedSlotId.set(std::nullopt);
  const auto& slots = channel.effectSlots.get();
  const bool isThere = replaced && findSlot(slots, *replaced) != slots.end();
  return isThere ? *replaced : Uuid::fresh();
}

void EffectRack::pick(const std::string& key) {
  const auto target = channel();
  if (target == nullptr || !mayChange() || state_.showLoadingModal.get()) {
    return;
  }
  const auto component = resolvePluginPath(key, state_.scannedAudioEffectPlugins.get());
  if (!component) {
    console_.printFailure(FailureKind::effect,
                          "Failed to load effect plugin: " + notInstalledText(key, target->name.get()));
    return;
  }
  const auto message = target == engine_.masterChannel() ? TextKey::loadingMasterEffect : TextKey::loadingAudioEffect;
  state_.beginLoadingSession(1, std::string(text(message, state_.language.get())));
  state_.markEdited();
  notePluginUse(state_, key);
  const auto ended = [this, life = life_.watch(), endOfLoad = endOfLoad(state_, life_)](bool succeeded) {
    if (life.isAlive() && succeeded) {
      state_.markEdited();  // only now is it in the chain
    }
    endOfLoad();
  };
  // After the modal, so that a plug-in that takes long is not waited for in front of an old picture.
  mainQueue_.async([this, life = life_.watch(), weakChannel = std::weak_ptr(target), component = *component,
                    slotId = takeSlotToFill(*target), ended] {
    const auto channel = weakChannel.lock();
    if (life.isAlive() && channel != nullptr) {
      engine_.effects().loadEffect(channel, slotId, component, ended);
    } else {
      ended(false);
    }
  });
}

bool EffectRack::isInstalled(const AudioPluginSlot& slot) const {
  return resolvePluginPath(slot.pluginPath, state_.scannedAudioEffectPlugins.get()).has_value();
}

void EffectRack::revive(const Uuid& slotId) {
  const auto target = channel();
  if (target == nullptr || !target->failedEffects.get().contains(slotId) || revivedSlots.get().contains(slotId)) {
    return;
  }
  const auto ended = [this, life = life_.watch(), slotId] {
    if (life.isAlive()) {
      revivedSlots.modify([&](auto& slots) { slots.erase(slotId); });
    }
  };
  const auto resolver = [this](const std::string& key) {
    return resolvePluginPath(key, state_.scannedAudioEffectPlugins.get());
  };
  if (engine_.effects().reviveEffect(target, slotId, resolver, ended)) {
    revivedSlots.modify([&](auto& slots) { slots.insert(slotId); });
  }
}

void EffectRack::remove(const Uuid& slotId) {
  const auto target = channel();
  if (target == nullptr || !mayChange()) {
    return;
  }
  const auto& slots = target->effectSlots.get();
  if (findSlot(slots, slotId) == slots.end()) {
    return;
  }
  if (replacedSlotId.get() == slotId) {
    replacedSlotId.set(std::nullopt);
  }
  const auto before = slots;
  engine_.effects().removeEffectSlot(*target, slotId);
  followSlots(*target, before);
  state_.markEdited();
}

void EffectRack::moveUp(const Uuid& slotId) {
  move(slotId, false);
}

void EffectRack::moveDown(const Uuid& slotId) {
  move(slotId, true);
}

void EffectRack::move(const Uuid& slotId, bool isDown) {
  const auto target = channel();
  if (target == nullptr || !mayChange()) {
    return;
  }
  const auto& slots = target->effectSlots.get();
  const auto offsetOf = [&slots](auto place) { return static_cast<std::size_t>(place - slots.begin()); };
  const auto isOccupied = [](const AudioPluginSlot& slot) { return !slot.pluginPath.empty(); };
  const auto from = findSlot(slots, slotId);
  if (from == slots.end()) {
    return;
  }
  std::optional<std::size_t> destination;
  if (isDown) {
    const auto next = std::find_if(from + 1, slots.end(), isOccupied);
    destination = next == slots.end() ? std::nullopt : std::optional(offsetOf(next) + 1);
  } else {
    const auto previous = std::find_if(std::make_reverse_iterator(from), slots.rend(), isOccupied);
    destination = previous == slots.rend() ? std::nullopt : std::optional(offsetOf(previous.base()) - 1);
  }
  if (destination) {
    const auto before = slots;
    engine_.effects().moveEffectSlot(*target, {offsetOf(from)}, *destination);
    followSlots(*target, before);
    state_.markEdited();
  }
}

/// Before the edit is announced, so that one step takes both back.
void EffectRack::followSlots(const AudioChannel& channel, const std::vector<AudioPluginSlot>& before) {
  const auto selected = state_.selectedSongIndex.get();
  const auto& songs = state_.songs.get();
  if (!selected || *selected >= songs.size()) {
    return;
  }
  const auto& strips = engine_.channels();
  const auto strip =
      std::find_if(strips.begin(), strips.end(), [&](const auto& each) { return each.get() == &channel; });
  const auto channelIndex = strip == strips.end() ? std::nullopt : std::optional<std::int64_t>(strip - strips.begin());
  const auto& after = channel.effectSlots.get();
  std::vector<PluginControlAssignment> followed;
  for (auto assignment : songs[*selected].pluginControlAssignments) {
    auto& index = assignment.target.slotIndex;
    if (assignment.target.channelIndex == channelIndex && index && static_cast<std::uint64_t>(*index) < before.size()) {
      const auto slot = findSlot(after, before[static_cast<std::size_t>(*index)].id);
      if (slot == after.end()) {
        continue;
      }
      index = slot - after.begin();
    }
    followed.push_back(std::move(assignment));
  }
  if (followed != songs[*selected].pluginControlAssignments) {
    state_.songs.modify([&](auto& list) { list[*selected].pluginControlAssignments = std::move(followed); });
  }
}

}  // namespace vrel
