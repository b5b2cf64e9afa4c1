// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_state.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "channel/audio_channel.h"
#include "channel/channel_values.h"
#include "foundation/base64.h"
#include "platform/console_output.h"
#include "platform/state_answer.h"

namespace vrel {
namespace {

constexpr std::size_t mostBytesEncodedAtOnce = 4096;

std::size_t bytesIn(const PropertyListDictionary& dictionary);

std::size_t bytesIn(const PropertyListValue& value) {
  return std::visit(
      [](const auto& content) -> std::size_t {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, PropertyListDictionary>) {
          return bytesIn(content);
        } else if constexpr (std::is_same_v<Content, PropertyListArray>) {
          std::size_t bytes = 0;
          for (const auto& element : content) {
            bytes += bytesIn(element);
          }
          return bytes;
        } else if constexpr (std::is_arithmetic_v<Content>) {
          return sizeof content;
        } else {
          return content.size();
        }
      },
      value.content);
}

std::size_t bytesIn(const PropertyListDictionary& dictionary) {
  std::size_t bytes = 0;
  for (const auto& [key, value] : dictionary) {
    bytes += key.size() + bytesIn(value);
  }
  return bytes;
}

/// A state as the plug-in gave it, and its text once that has been read. Any thread.
class CapturedState final : public SharedText::Source {
 public:
  /// The last two are borrowed.
  CapturedState(PropertyListDictionary state, std::string failurePrefix, NSPropertyListSerialization& propertyLists,
                ConsoleOutput& console)
      : state_(std::move(state)),
        failurePrefix_(std::move(failurePrefix)),
        propertyLists_(propertyLists),
        console_(console) {}

  [[nodiscard]] const PropertyListDictionary& state() const { return state_; }

  [[nodiscard]] const std::optional<std::string>& text() const override {
    std::call_once(encoded_, [this] {
      const auto bytes = propertyLists_.dataFromPropertyList(state_);
      if (bytes) {
        text_ = base64Encode(bytes.value());
      } else {
        console_.print(failurePrefix_ + bytes.error().description);
      }
    });
    return text_;
  }

 private:
  const PropertyListDictionary state_;
  const std::string failurePrefix_;
  NSPropertyListSerialization& propertyLists_;
  ConsoleOutput& console_;
  mutable std::once_flag encoded_;
  mutable std::optional<std::string> text_;
};

}  // namespace

std::optional<SharedText> PluginState::stateText(AUAudioUnit& unit, const std::string& failurePrefix, StateRead read) {
  const auto* const known = read == StateRead::lastKnown ? dynamic_cast<StateAnswer*>(&unit) : nullptr;
  auto state = known != nullptr ? known->lastKnownState() : unit.fullStateForDocument();
  if (!state && known == nullptr) {
    state = unit.fullState();
  }
  if (!state) {
    return std::nullopt;
  }
  const bool isLarge = bytesIn(*state) > mostBytesEncodedAtOnce;
  const SharedText text(
      std::make_shared<const CapturedState>(*std::move(state), failurePrefix, propertyLists_, console_));
  return isLarge || text.isThere() ? std::optional(text) : std::nullopt;
}

std::optional<SharedText> PluginState::captureAudioUnitState(AUAudioUnit& unit, StateRead read) {
  return stateText(unit, "Failed to capture audio unit state: ", read);
}

std::optional<SharedText> PluginState::capturePluginState(const AudioChannel& channel, StateRead read) {
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
  if (const auto* const captured = text ? text->sourceAs<CapturedState>() : nullptr) {
    return captured->state();
  }
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
