// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_state.h"

#include <utility>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "foundation/base64.h"
#include "platform/console_output.h"
#include "platform/state_answer.h"

namespace vrel {

std::optional<std::string> PluginState::stateText(AUAudioUnit& unit, const std::string& failurePrefix, StateRead read) {
  const auto* const known = read == StateRead::lastKnown ? dynamic_cast<StateAnswer*>(&unit) : nullptr;
  auto state = known != nullptr ? known->lastKnownState() : unit.fullStateForDocument();
  if (!state && known == nullptr) {
    state = unit.fullState();
  }
  if (!state) {
    return std::nullopt;
  }
  const auto bytes = propertyLists_.dataFromPropertyList(*state);
  if (!bytes) {
    console_.print(failurePrefix + bytes.error().description);
    return std::nullopt;
  }
  return base64Encode(bytes.value());
}

std::optional<std::string> PluginState::captureAudioUnitState(AUAudioUnit& unit, StateRead read) {
  return stateText(unit, "Failed to capture audio unit state: ", read);
}

std::optional<std::string> PluginState::capturePluginState(const AudioChannel& channel, StateRead read) {
  if (channel.pluginKind() == PluginPathKind::empty) {
    return std::nullopt;
  }
  if (channel.instrumentNode.get() == nullptr) {
    return channel.lostStateBase64();
  }
  auto* unit = dynamic_cast<AVAudioUnit*>(channel.instrumentNode.get().get());
  if (unit == nullptr) {
    return std::nullopt;
  }
  return stateText(unit->auAudioUnit(), "Failed to capture plugin state for " + channel.name.get() + ": ", read);
}

void PluginState::requestStates(const AudioChannel& channel) {
  if (auto* unit = dynamic_cast<AVAudioUnit*>(channel.instrumentNode.get().get())) {
    unit->auAudioUnit().requestFullStateForDocument();
  }
  for (const auto& [id, effect] : channel.effectNodes.get()) {
    effect->auAudioUnit().requestFullStateForDocument();
  }
}

std::vector<AudioPluginSlot> PluginState::captureEffectSlots(const AudioChannel& channel, StateRead read) {
  std::vector<AudioPluginSlot> captured;
  const auto& nodes = channel.effectNodes.get();
  for (const auto& slot : channel.effectSlots.get()) {
    if (slot.pluginPath.empty()) {
      continue;
    }
    auto& copy = captured.emplace_back(slot);
    if (const auto entry = nodes.find(slot.id); entry != nodes.end()) {
      auto state = captureAudioUnitState(entry->second->auAudioUnit(), read);
      if (state || read == StateRead::now) {
        copy.stateBase64 = std::move(state);
      }
    }
  }
  return captured;
}

std::optional<PropertyListDictionary> PluginState::decodePluginState(const std::optional<SharedText>& text) {
  if (!text || text->text().empty()) {
    return std::nullopt;
  }
  const auto bytes = base64Decode(text->text());
  if (!bytes) {
    return std::nullopt;
  }
  auto value = propertyLists_.propertyListFromData(*bytes);
  if (!value) {
    console_.print("Failed to decode audio unit state: " + value.error().description);
    return std::nullopt;
  }
  auto* dictionary = std::get_if<PropertyListDictionary>(&value.value().content);
  if (dictionary == nullptr) {
    return std::nullopt;
  }
  return std::move(*dictionary);
}

ChannelConfig makeChannelConfig(const AudioChannel& channel, PluginState& pluginState, StateRead read) {
  ChannelConfig record;
  record.name = channel.name.get();
  record.pluginPath = channel.pluginPath.get();
  storeStripValues(channel, record);
  storePlaybackValues(channel, record);
  record.visualClipMappings = channel.visualClipMappings.get();
  record.pluginStateBase64 = pluginState.capturePluginState(channel, read);
  record.effectSlots = pluginState.captureEffectSlots(channel, read);
  return record;
}

}  // namespace vrel
