// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "document/document_place.h"
#include "document/setlist_coding.h"
#include "document/stored_texts.h"

namespace vrel {
namespace {

// Keys keep the order in which they are added, so that files are easy to compare.
using nlohmann::ordered_json;

constexpr int indentation = 2;

/// An object whose keys are known to differ and whose number is known, so that nothing moves while it grows.
class ObjectBuilder {
 public:
  explicit ObjectBuilder(std::size_t keys) { object_.reserve(keys); }

  ObjectBuilder& add(const char* key, ordered_json value) {
    object_.emplace_back(key, std::move(value));
    return *this;
  }

  template <typename Value>
  ObjectBuilder& addIfPresent(const char* key, const std::optional<Value>& value) {
    return value ? add(key, *value) : *this;
  }

  ordered_json build() { return ordered_json(std::move(object_)); }

 private:
  ordered_json::object_t object_;
};

// The shortest decimal that gives the float back, instead of the many digits of the double beside it.
ordered_json encode(float number) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.begin(), text.end(), number);
  double shortest = 0;
  const auto read = std::from_chars(text.begin(), written.ptr, shortest);
  const bool faithful = read.ec == std::errc() && static_cast<float>(shortest) == number;
  return faithful ? shortest : static_cast<double>(number);
}

ordered_json encode(const AudioPluginSlot& slot);
ordered_json encode(const VisualClipMapping& mapping);
ordered_json encode(const MidiControlAssignment& assignment);
ordered_json encode(const PluginControlAssignment& assignment);
ordered_json encode(const ChannelConfig& channel);
ordered_json encode(const SongConfig& song);

template <typename Element>
ordered_json encode(const std::vector<Element>& elements) {
  ordered_json::array_t array;
  array.reserve(elements.size());
  for (const auto& element : elements) {
    array.push_back(encode(element));
  }
  return array;
}

ordered_json encode(const AudioPluginSlot& slot) {
  return ObjectBuilder(4)
      .add("plugin_path", slot.pluginPath)
      .add("plugin_name", slot.pluginName)
      .add("manufacturer_name", slot.manufacturerName)
      .addIfPresent("state_base64", slot.stateBase64)
      .build();
}

ordered_json encode(const VisualClipMapping& mapping) {
  ObjectBuilder object(4);
  object.add("note", mapping.note)
      .add("file_path", mapping.filePath)
      .add("trigger_mode", storedText(mapping.triggerMode));
  if (mapping.holdsLastPicture) {
    object.add("hold_last_picture", true);  // other readers pass over it
  }
  return object.build();
}

ordered_json encode(const MidiControlTarget& target) {
  ObjectBuilder object(2);
  object.add("kind", storedText(target.kind));
  if (target.channelIndex) {
    object.add("channelIndex", *target.channelIndex);
  }
  return object.build();
}

ordered_json encode(const MidiControlBinding& binding) {
  return ObjectBuilder(3)
      .add("statusType", binding.statusType)
      .add("midiChannel", binding.midiChannel)
      .add("number", binding.number)
      .build();
}

ordered_json encode(const MidiControlAssignment& assignment) {
  return ObjectBuilder(2).add("target", encode(assignment.target)).add("binding", encode(assignment.binding)).build();
}

ordered_json encode(const PluginControlTarget& target) {
  return ObjectBuilder(4)
      .addIfPresent("channelIndex", target.channelIndex)
      .addIfPresent("slotIndex", target.slotIndex)
      .add("pluginPath", target.pluginPath)
      .add("control", target.control)
      .build();
}

ordered_json encode(const PluginControlAssignment& assignment) {
  return ObjectBuilder(3)
      .add("target", encode(assignment.target))
      .add("binding", encode(assignment.binding))
      .add("controlName", assignment.controlName)
      .build();
}

ordered_json encode(const ChannelConfig& channel) {
  return ObjectBuilder(22)
      .add("name", channel.name)
      .add("volume", encode(channel.volume))
      .add("gain", encode(channel.gain))
      .add("reverb", encode(channel.reverb))
      .add("mute", channel.mute)
      .add("solo", channel.solo)
      .add("plugin_path", channel.pluginPath)
      .addIfPresent("plugin_state_base64", channel.pluginStateBase64)
      .add("color", encode(channel.color))
      .add("min_note", channel.minNote)
      .add("max_note", channel.maxNote)
      .add("transpose", channel.transpose)
      .add("send_sustain", channel.sendSustain)
      .add("send_expression", channel.sendExpression)
      .add("sustain_controls_rotor", channel.sustainControlsRotor)
      .add("effect_slots", encode(channel.effectSlots))
      .add("playback_file_path", channel.playbackFilePath)
      .add("playback_loop", channel.playbackLoop)
      .add("playback_start_time", channel.playbackStartTime)
      .add("playback_end_time", channel.playbackEndTime)
      .add("playback_stop_mode", channel.playbackStopMode.text())
      .add("visual_clip_mappings", encode(channel.visualClipMappings))
      .build();
}

ordered_json encode(const SongConfig& song) {
  ObjectBuilder object(10);
  object.add("name", song.name)
      .add("tempo_bpm", song.tempoBpm)
      .add("song_notes", song.songNotes)
      .add("keyboard_start_note", song.keyboardStartNote)
      .add("keyboard_key_count", song.keyboardKeyCount)
      .add("channels", encode(song.channels))
      .add("master_channel_color", encode(song.masterChannelColor))
      .add("master_effect_slots", encode(song.masterEffectSlots))
      .add("midi_control_assignments", encode(song.midiControlAssignments));
  if (!song.pluginControlAssignments.empty()) {
    object.add("plugin_control_assignments", encode(song.pluginControlAssignments));
  }
  return object.build();
}

bool isBlackout(const MidiControlAssignment& assignment) {
  return assignment.target.kind == MidiControlKind::projectionBlackout;
}

ordered_json encode(const SetlistFile& setlist) {
  auto assignments = setlist.globalMidiControlAssignments;
  const auto own = std::stable_partition(assignments.begin(), assignments.end(), std::not_fn(isBlackout));
  ObjectBuilder object(4);
  object.add("version", setlistVersion).add("songs", encode(setlist.songs));
  if (own != assignments.end()) {
    object.add("projection_blackout_control", encode(own->binding));
  }
  assignments.erase(own, assignments.end());
  return object.add("global_midi_control_assignments", encode(assignments)).build();
}

bool isWritable(const ordered_json& text) {
  try {
    (void)text.dump();
    return true;
  } catch (const ordered_json::exception&) {
    return false;
  }
}

/// The first value that JSON cannot hold. Texts are checked only on demand: the writer checks them anyway.
std::optional<Error> findFault(const ordered_json& value, const DocumentPlace& place, bool withTexts) {
  if (value.is_number_float() && !std::isfinite(value.get<double>())) {
    return Error{place.text() + ": not a finite number, which JSON cannot hold"};
  }
  if (withTexts && value.is_string() && !isWritable(value)) {
    return Error{place.text() + ": not valid UTF-8"};
  }
  std::optional<Error> fault;
  if (value.is_object()) {
    for (const auto& [key, member] : value.get_ref<const ordered_json::object_t&>()) {
      if (!fault) {
        fault = findFault(member, place.member(key), withTexts);
      }
    }
  } else if (value.is_array()) {
    for (std::size_t index = 0; index < value.size() && !fault; ++index) {
      fault = findFault(value[index], place.element(index), withTexts);
    }
  }
  return fault;
}

}  // namespace

Result<std::string> encodeSetlist(const SetlistFile& setlist) {
  const ordered_json document = encode(setlist);
  if (auto fault = findFault(document, DocumentPlace(), false)) {
    return *std::move(fault);
  }
  try {
    return document.dump(indentation);
  } catch (const ordered_json::exception& exception) {
    auto fault = findFault(document, DocumentPlace(), true);
    return fault ? *std::move(fault) : Error{exception.what()};
  }
}

std::string encodeMidiMessage(const MidiMessage& message) {
  return ObjectBuilder(3)
      .add("status", message.status)
      .add("data1", message.data1)
      .add("data2", message.data2)
      .build()
      .dump();
}

}  // namespace vrel
