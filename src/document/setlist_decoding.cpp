// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "document/document_place.h"
#include "document/json_tree.h"
#include "document/number_fit.h"
#include "document/setlist_coding.h"
#include "document/stored_texts.h"

namespace vrel {
namespace {

using nlohmann::json;

constexpr std::size_t mostQuotedBytes = 60;  // of a text in a failure, so that a damaged file makes no endless line

/// Turns a tree into records and takes the texts out of it on the way. The first failure stays, and
/// nothing that is read after it counts.
class RecordReader {
 public:
  [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

  /// A record: anything that has members here.
  template <typename Record>
  requires std::is_class_v<Record>
  void read(json& value, const DocumentPlace& place, Record& record) {
    if (expect(value.is_object(), value, place, "an object")) {
      members(value, place, record);
    }
  }

  template <typename Element>
  void read(json& value, const DocumentPlace& place, std::vector<Element>& elements) {
    if (!expect(value.is_array(), value, place, "an array")) {
      return;
    }
    std::size_t index = 0;
    for (json& entry : value) {
      read(entry, place.element(index++), elements.emplace_back());
      if (failure_) {
        return;
      }
    }
  }

 private:
  bool fail(const DocumentPlace& place, std::string_view words) {
    if (!failure_) {
      failure_ = Error{place.text() + ": " + std::string(words)};
    }
    return false;
  }

  bool expect(bool met, const json& value, const DocumentPlace& place, std::string_view wanted) {
    const char* const found = value.is_binary() ? "a text with a lone surrogate" : value.type_name();
    return met || fail(place, "expected " + std::string(wanted) + ", found " + found);
  }

  template <typename Field>
  void optional(json& object, const DocumentPlace& place, std::string_view key, Field& field) {
    const auto found = object.find(key);
    if (!failure_ && found != object.end() && !found->is_null()) {
      Field value{};
      read(*found, place.member(key), value);
      field = std::move(value);
    }
  }

  template <typename Field>
  void required(json& object, const DocumentPlace& place, std::string_view key, Field& field) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
      fail(place.member(key), "is missing");
    } else if (!failure_) {
      read(*found, place.member(key), field);
    }
  }

  // Colours alone are normalised, and always in this way.
  void color(json& object, const DocumentPlace& place, std::string_view key, std::vector<float>& field) {
    std::vector<float> components;
    optional(object, place, key, components);
    if (components.size() >= 3) {
      components.resize(3);
      field = std::move(components);
    }
  }

  void read(json& value, const DocumentPlace& place, bool& field) {
    if (expect(value.is_boolean(), value, place, "true or false")) {
      field = value.get<bool>();
    }
  }

  void read(json& value, const DocumentPlace& place, std::string& field) {
    if (expect(value.is_string(), value, place, "a string")) {
      field = std::move(value.get_ref<json::string_t&>());
    }
  }

  template <typename Value>
  void read(json& value, const DocumentPlace& place, std::optional<Value>& field) {
    read(value, place, field.emplace());
  }

  template <std::integral Integer>
  void read(json& value, const DocumentPlace& place, Integer& field) {
    if (!expect(value.is_number(), value, place, "an integer")) {
      return;
    }
    using Limits = std::numeric_limits<Integer>;
    if (const std::optional<Integer> fitting = whole<Integer>(value)) {
      field = *fitting;
    } else if (value.is_number_float() && std::trunc(value.get<double>()) != value.get<double>()) {
      fail(place, value.dump() + " is not an integer");
    } else {
      fail(place,
           value.dump() + " is out of range " + std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()));
    }
  }

  // A whole number may be written as 60, 60.0 or 6e1; the scanner gives what has a point or an
  // exponent, or more than 64 bits, as a double.
  template <std::integral Integer>
  static std::optional<Integer> whole(const json& value) {
    if (value.is_number_float()) {
      return wholeNumber<Integer>(value.get<double>());
    }
    const bool fits = value.is_number_unsigned() ? std::in_range<Integer>(value.get<std::uint64_t>())
                                                 : std::in_range<Integer>(value.get<std::int64_t>());
    return fits ? std::optional(value.get<Integer>()) : std::nullopt;
  }

  void read(json& value, const DocumentPlace& place, double& field) {
    if (expect(value.is_number(), value, place, "a number")) {
      field = value.get<double>();
    }
  }

  void read(json& value, const DocumentPlace& place, float& field) {
    double number = 0;
    read(value, place, number);
    if (const std::optional<float> fitting = nearestFloat(number)) {
      field = *fitting;
    } else {
      fail(place, value.dump() + " is out of range for a 32-bit number");
    }
  }

  void read(json& value, const DocumentPlace& place, VisualTriggerMode& mode) {
    readCase(value, place, mode, visualTriggerMode);
  }

  void read(json& value, const DocumentPlace& place, MidiControlKind& kind) {
    readCase(value, place, kind, midiControlKind);
  }

  void read(json& value, const DocumentPlace& place, PlaybackStopMode& mode) {
    std::string text;
    read(value, place, text);
    mode = PlaybackStopMode::fromText(std::move(text));
  }

  template <typename Case, typename Lookup>
  void readCase(json& value, const DocumentPlace& place, Case& field, Lookup lookup) {
    if (!expect(value.is_string(), value, place, "a string")) {
      return;
    }
    const auto& text = value.get_ref<const json::string_t&>();
    const std::optional<Case> found = lookup(text);
    if (found) {
      field = *found;
    } else {
      fail(place, "unknown value '" + text.substr(0, mostQuotedBytes) + "'");
    }
  }

  void members(json& value, const DocumentPlace& place, SetlistFile& setlist) {
    optional(value, place, "version", setlist.version);
    optional(value, place, "songs", setlist.songs);
    optional(value, place, "global_midi_control_assignments", setlist.globalMidiControlAssignments);
    const auto blackout = value.find("projection_blackout_control");
    if (!failure_ && blackout != value.end() && !blackout->is_null()) {
      auto& assignment = setlist.globalMidiControlAssignments.emplace_back();
      assignment.target.kind = MidiControlKind::projectionBlackout;
      read(*blackout, place.member("projection_blackout_control"), assignment.binding);
    }
  }

  void members(json& value, const DocumentPlace& place, SongConfig& song) {
    optional(value, place, "name", song.name);
    optional(value, place, "tempo_bpm", song.tempoBpm);
    optional(value, place, "song_notes", song.songNotes);
    optional(value, place, "keyboard_start_note", song.keyboardStartNote);
    optional(value, place, "keyboard_key_count", song.keyboardKeyCount);
    optional(value, place, "channels", song.channels);
    color(value, place, "master_channel_color", song.masterChannelColor);
    optional(value, place, "master_effect_slots", song.masterEffectSlots);
    optional(value, place, "midi_control_assignments", song.midiControlAssignments);
    optional(value, place, "plugin_control_assignments", song.pluginControlAssignments);
  }

  void members(json& value, const DocumentPlace& place, ChannelConfig& channel) {
    optional(value, place, "name", channel.name);
    optional(value, place, "volume", channel.volume);
    optional(value, place, "gain", channel.gain);
    optional(value, place, "reverb", channel.reverb);
    optional(value, place, "mute", channel.mute);
    optional(value, place, "solo", channel.solo);
    optional(value, place, "plugin_path", channel.pluginPath);
    optional(value, place, "plugin_state_base64", channel.pluginStateBase64);
    color(value, place, "color", channel.color);
    optional(value, place, "min_note", channel.minNote);
    optional(value, place, "max_note", channel.maxNote);
    optional(value, place, "transpose", channel.transpose);
    optional(value, place, "send_sustain", channel.sendSustain);
    optional(value, place, "send_expression", channel.sendExpression);
    optional(value, place, "sustain_controls_rotor", channel.sustainControlsRotor);
    optional(value, place, "effect_slots", channel.effectSlots);
    optional(value, place, "playback_file_path", channel.playbackFilePath);
    optional(value, place, "playback_loop", channel.playbackLoop);
    optional(value, place, "playback_start_time", channel.playbackStartTime);
    optional(value, place, "playback_end_time", channel.playbackEndTime);
    optional(value, place, "playback_stop_mode", channel.playbackStopMode);
    optional(value, place, "visual_clip_mappings", channel.visualClipMappings);
  }

  void members(json& value, const DocumentPlace& place, AudioPluginSlot& slot) {
    optional(value, place, "plugin_path", slot.pluginPath);
    optional(value, place, "plugin_name", slot.pluginName);
    optional(value, place, "manufacturer_name", slot.manufacturerName);
    optional(value, place, "state_base64", slot.stateBase64);
  }

  void members(json& value, const DocumentPlace& place, VisualClipMapping& mapping) {
    optional(value, place, "note", mapping.note);
    optional(value, place, "file_path", mapping.filePath);
    optional(value, place, "trigger_mode", mapping.triggerMode);
    optional(value, place, "hold_last_picture", mapping.holdsLastPicture);
  }

  void members(json& value, const DocumentPlace& place, MidiControlAssignment& assignment) {
    required(value, place, "target", assignment.target);
    required(value, place, "binding", assignment.binding);
  }

  void members(json& value, const DocumentPlace& place, MidiControlTarget& target) {
    required(value, place, "kind", target.kind);
    optional(value, place, "channelIndex", target.channelIndex);
  }

  void members(json& value, const DocumentPlace& place, PluginControlAssignment& assignment) {
    required(value, place, "target", assignment.target);
    required(value, place, "binding", assignment.binding);
    optional(value, place, "controlName", assignment.controlName);
  }

  void members(json& value, const DocumentPlace& place, PluginControlTarget& target) {
    optional(value, place, "channelIndex", target.channelIndex);
    optional(value, place, "slotIndex", target.slotIndex);
    required(value, place, "pluginPath", target.pluginPath);
    required(value, place, "control", target.control);
  }

  void members(json& value, const DocumentPlace& place, MidiControlBinding& binding) {
    required(value, place, "statusType", binding.statusType);
    required(value, place, "midiChannel", binding.midiChannel);
    required(value, place, "number", binding.number);
  }

  void members(json& value, const DocumentPlace& place, MidiMessage& message) {
    required(value, place, "status", message.status);
    required(value, place, "data1", message.data1);
    required(value, place, "data2", message.data2);
  }

  std::optional<Error> failure_;
};

template <typename Record>
Result<Record> decodeTree(json& tree) {
  RecordReader reader;
  Record record{};
  reader.read(tree, DocumentPlace(), record);
  if (reader.failure()) {
    return *reader.failure();
  }
  return record;
}

template <typename Record>
Result<Record> decode(std::string_view bytes) {
  json tree;
  if (auto failure = parseJson(bytes, tree)) {
    return *failure;
  }
  return decodeTree<Record>(tree);
}

}  // namespace

Result<SetlistFile> decodeSetlist(std::string_view bytes) {
  return decode<SetlistFile>(bytes);
}

Result<std::vector<SongConfig>> decodeLegacySongs(std::string_view bytes) {
  return decode<std::vector<SongConfig>>(bytes);
}

Result<SetlistFile> readSetlist(std::string_view bytes) {
  json tree;
  if (auto failure = parseJson(bytes, tree)) {
    return *failure;
  }
  // Both attempts share one tree: each looks at the root first, and one of them takes nothing out of it.
  Result<SetlistFile> setlist = decodeTree<SetlistFile>(tree);
  if (setlist) {
    return setlist;
  }
  Result<std::vector<SongConfig>> songs = decodeTree<std::vector<SongConfig>>(tree);
  if (!songs) {
    return songs.error();
  }
  SetlistFile legacy;
  legacy.songs = std::move(songs).value();
  return legacy;
}

Result<MidiMessage> decodeMidiMessage(std::string_view bytes) {
  return decode<MidiMessage>(bytes);
}

}  // namespace vrel
