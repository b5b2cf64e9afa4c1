// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_state.h"

#include <utility>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "foundation/base64.h"
#include "platform/console_output.h"

namespace vrel {

std::optional<std::string> PluginState::stateText(AUAudioUnit& unit, const std::string& failurePrefix) {
  auto state = unit.fullStateForDocument();
  if (!state) {
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

std::optional<std::string> PluginState::captureAudioUnitState(AUAudioUnit& unit) {
  return stateText(unit, "Failed to capture audio unit state: ");
}

std::optional<std::string> PluginState::capturePluginState(const AudioChannel& channel) {
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
  return stateText(unit->auAudioUnit(), "Failed to capture plugin state for " + channel.name.get() + ": ");
}

void PluginState::requestStates(const AudioChannel& channel) {
  if (auto* unit = dynamic_cast<AVAudioUnit*>(channel.instrumentNode.get().get())) {
    unit->auAudioUnit().requestFullStateForDocument();
  }
  for (const auto& [id, effect] : channel.effectNodes.get()) {
    effect->auAudioUnit().requestFullStateForDocument();
  }
}

std::vector<AudioPluginSlot> PluginState::captureEffectSlots(const AudioChannel& channel) {
  std::vector<AudioPluginSlot> captured;
  const auto& nodes = channel.effectNodes.get();
  for (const auto& slot : channel.effectSlots.get()) {
    if (slot.pluginPath.empty()) {
      continue;
    }
    auto& copy = captured.emplace_back(slot);
    if (const auto entry = nodes.find(slot.id); entry != nodes.end()) {
      copy.stateBase64 = captureAudioUnitState(entry->second->auAudioUnit());
    }
  }
  return captured;
}

std::optional<PropertyListDictionary> PluginState::decodePluginState(const std::optional<std::string>& text) {
  if (!text || text->empty()) {
    return std::nullopt;
  }
  const auto bytes = base64Decode(*text);
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

ChannelConfig makeChannelConfig(const AudioChannel& channel, PluginState& pluginState) {
  ChannelConfig record;
  record.name = channel.name.get();
  record.pluginPath = channel.pluginPath.get();
  storeStripValues(channel, record);
  storePlaybackValues(channel, record);
  record.visualClipMappings = channel.visualClipMappings.get();
  record.pluginStateBase64 = pluginState.capturePluginState(channel);
  record.effectSlots = pluginState.captureEffectSlots(channel);
  return record;
}

}  // namespace vrel
