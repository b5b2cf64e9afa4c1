// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
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
#include "document/json_nodes.h"
#include "document/json_tree.h"
#include "document/midi_control_kinds.h"
#include "document/number_fit.h"
#include "document/setlist_coding.h"
#include "document/stored_texts.h"

namespace vrel {
namespace {

using nlohmann::json;

constexpr std::size_t mostQuotedBytes = 60;  // of a text in a failure, so that a damaged file makes no endless line

/// How a tree of the library is read: one of any text, which says what is wrong with it.
struct LibraryTree {
  using Value = json;

  static bool isNull(const json& value) { return value.is_null(); }
  static bool isObject(const json& value) { return value.is_object(); }
  static bool isArray(const json& value) { return value.is_array(); }
  static bool isBoolean(const json& value) { return value.is_boolean(); }
  static bool isString(const json& value) { return value.is_string(); }
  static bool isNumber(const json& value) { return value.is_number(); }
  static bool isFloating(const json& value) { return value.is_number_float(); }
  static bool boolean(const json& value) { return value.get<bool>(); }
  static double number(const json& value) { return value.get<double>(); }
  static std::string_view text(const json& value) { return value.get_ref<const json::string_t&>(); }
  static std::string takeText(json& value) { return std::move(value.get_ref<json::string_t&>()); }

  template <std::integral Integer>
  static std::optional<Integer> integer(const json& value) {
    const bool fits = value.is_number_unsigned() ? std::in_range<Integer>(value.get<std::uint64_t>())
                                                 : std::in_range<Integer>(value.get<std::int64_t>());
    return fits ? std::optional(value.get<Integer>()) : std::nullopt;
  }

  static json* find(json& object, std::string_view key) {
    const auto found = object.find(key);
    return found != object.end() ? &*found : nullptr;
  }
  static json* first(json& array) { return array.empty() ? nullptr : &array.front(); }
  static json* next(json& array, json* entry) { return entry == &array.back() ? nullptr : entry + 1; }

  static std::string kindName(const json& value) {
    return value.is_binary() ? "a text with a lone surrogate" : value.type_name();
  }
  static std::string numberText(const json& value) { return value.dump(); }
};

/// How the nodes of a sound text are read; see json_nodes.h. Where a record cannot be made of them, nobody reads why.
struct NodeTree {
  using Value = const JsonNode;
  using Kind = JsonNode::Kind;

  static bool isNull(Value& value) { return value.kind == Kind::null; }
  static bool isObject(Value& value) { return value.kind == Kind::object; }
  static bool isArray(Value& value) { return value.kind == Kind::array; }
  static bool isBoolean(Value& value) { return value.kind == Kind::boolean; }
  static bool isString(Value& value) { return value.kind == Kind::string; }
  static bool isNumber(Value& value) { return value.isNumber(); }
  static bool isFloating(Value& value) { return value.kind == Kind::floating; }
  static bool boolean(Value& value) { return value.boolean(); }
  static double number(Value& value) {
    return isFloating(value)             ? value.floating()
           : value.kind == Kind::integer ? static_cast<double>(value.integer())
                                         : static_cast<double>(value.bits);
  }
  static std::string_view text(Value& value) { return value.text; }
  static std::string takeText(Value& value) { return std::string(value.text); }

  template <std::integral Integer>
  static std::optional<Integer> integer(Value& value) {
    const bool isSigned = value.kind == Kind::integer;
    const bool fits = isSigned ? std::in_range<Integer>(value.integer()) : std::in_range<Integer>(value.bits);
    return fits ? std::optional(static_cast<Integer>(value.bits)) : std::nullopt;
  }

  static Value* find(Value& object, std::string_view key) { return object.find(key); }
  static Value* first(Value& array) { return array.begin() == array.end() ? nullptr : array.begin(); }
  static Value* next(Value& array, Value* entry) { return entry->next() == array.end() ? nullptr : entry->next(); }

  static std::string kindName(Value& /*value*/) { return {}; }
  static std::string numberText(Value& /*value*/) { return {}; }
};

/// Turns a tree into records and takes the texts out of it on the way. The first failure stays, and
/// nothing that is read after it counts.
template <typename Tree>
class RecordReader {
  using Value = typename Tree::Value;

 public:
  [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

  /// A record: anything that has members here.
  template <typename Record>
  requires std::is_class_v<Record>
  void read(Value& value, const DocumentPlace& place, Record& record) {
    if (expect(Tree::isObject(value), value, place, "an object")) {
      members(value, place, record);
    }
  }

  template <typename Element>
  void read(Value& value, const DocumentPlace& place, std::vector<Element>& elements) {
    if (!expect(Tree::isArray(value), value, place, "an array")) {
      return;
    }
    std::size_t index = 0;
    for (auto* entry = Tree::first(value); entry != nullptr && !failure_; entry = Tree::next(value, entry)) {
      read(*entry, place.element(index++), elements.emplace_back());
    }
  }

 private:
  bool fail(const DocumentPlace& place, std::string_view words) {
    if (!failure_) {
      failure_ = Error{place.text() + ": " + std::string(words)};
    }
    return false;
  }

  bool expect(bool met, Value& value, const DocumentPlace& place, std::string_view wanted) {
    return met || fail(place, "expected " + std::string(wanted) + ", found " + Tree::kindName(value));
  }

  template <typename Field>
  void optional(Value& object, const DocumentPlace& place, std::string_view key, Field& field) {
    auto* const found = Tree::find(object, key);
    if (!failure_ && found != nullptr && !Tree::isNull(*found)) {
      Field value{};
      read(*found, place.member(key), value);
      field = std::move(value);
    }
  }

  template <typename Field>
  void required(Value& object, const DocumentPlace& place, std::string_view key, Field& field) {
    auto* const found = Tree::find(object, key);
    if (found == nullptr || Tree::isNull(*found)) {
      fail(place.member(key), "is missing");
    } else if (!failure_) {
      read(*found, place.member(key), field);
    }
  }

  // Colours alone are normalised, and always in this way.
  void color(Value& object, const DocumentPlace& place, std::string_view key, std::vector<float>& field) {
    std::vector<float> components;
    optional(object, place, key, components);
    if (components.size() >= 3) {
      components.resize(3);
      field = std::move(components);
    }
  }

  void read(Value& value, const DocumentPlace& place, bool& field) {
    if (expect(Tree::isBoolean(value), value, place, "true or false")) {
      field = Tree::boolean(value);
    }
  }

  void read(Value& value, const DocumentPlace& place, std::string& field) {
    if (expect(Tree::isString(value), value, place, "a string")) {
      field = Tree::takeText(value);
    }
  }

  void read(Value& value, const DocumentPlace& place, SharedText& field) {
    std::string text;
    read(value, place, text);
    field = std::move(text);
  }

  template <typename Present>
  void read(Value& value, const DocumentPlace& place, std::optional<Present>& field) {
    read(value, place, field.emplace());
  }

  template <std::integral Integer>
  void read(Value& value, const DocumentPlace& place, Integer& field) {
    if (!expect(Tree::isNumber(value), value, place, "an integer")) {
      return;
    }
    using Limits = std::numeric_limits<Integer>;
    if (const std::optional<Integer> fitting = whole<Integer>(value)) {
      field = *fitting;
    } else if (Tree::isFloating(value) && std::trunc(Tree::number(value)) != Tree::number(value)) {
      fail(place, Tree::numberText(value) + " is not an integer");
    } else {
      fail(place, Tree::numberText(value) + " is out of range " + std::to_string(Limits::min()) + " to " +
                      std::to_string(Limits::max()));
    }
  }

  // A whole number may be written as 60, 60.0 or 6e1; the scanner gives what has a point or an
  // exponent, or more than 64 bits, as a double.
  template <std::integral Integer>
  static std::optional<Integer> whole(Value& value) {
    return Tree::isFloating(value) ? wholeNumber<Integer>(Tree::number(value)) : Tree::template integer<Integer>(value);
  }

  void read(Value& value, const DocumentPlace& place, double& field) {
    if (expect(Tree::isNumber(value), value, place, "a number")) {
      field = Tree::number(value);
    }
  }

  void read(Value& value, const DocumentPlace& place, float& field) {
    double number = 0;
    read(value, place, number);
    if (const std::optional<float> fitting = nearestFloat(number)) {
      field = *fitting;
    } else {
      fail(place, Tree::numberText(value) + " is out of range for a 32-bit number");
    }
  }

  void read(Value& value, const DocumentPlace& place, VisualTriggerMode& mode) {
    readCase(value, place, mode, visualTriggerMode);
  }

  void read(Value& value, const DocumentPlace& place, MidiControlKind& kind) {
    readCase(value, place, kind, midiControlKind);
  }

  void read(Value& value, const DocumentPlace& place, PlaybackStopMode& mode) {
    std::string text;
    read(value, place, text);
    mode = PlaybackStopMode::fromText(std::move(text));
  }

  template <typename Case, typename Lookup>
  void readCase(Value& value, const DocumentPlace& place, Case& field, Lookup lookup) {
    if (!expect(Tree::isString(value), value, place, "a string")) {
      return;
    }
    const std::string_view text = Tree::text(value);
    const std::optional<Case> found = lookup(text);
    if (found) {
      field = *found;
    } else {
      fail(place, "unknown value '" + std::string(text.substr(0, mostQuotedBytes)) + "'");
    }
  }

  void members(Value& value, const DocumentPlace& place, SetlistFile& setlist) {
    optional(value, place, "version", setlist.version);
    optional(value, place, "songs", setlist.songs);
    optional(value, place, "collected_folder", setlist.collectedFolder);
    optional(value, place, "global_midi_control_assignments", setlist.globalMidiControlAssignments);
    for (const auto& kind : midiControlKinds) {
      std::optional<MidiControlBinding> binding;
      if (!kind.ownField.empty()) {
        optional(value, place, kind.ownField, binding);
      }
      if (binding) {
        setlist.globalMidiControlAssignments.push_back({{kind.kind, {}}, *binding});
      }
    }
    optional(value, place, "song_control", setlist.songControl);
  }

  void members(Value& value, const DocumentPlace& place, SongControl& control) {
    optional(value, place, "by_program_change", control.byProgramChange);
    optional(value, place, "midi_channel", control.midiChannel);
    optional(value, place, "step_guard_milliseconds", control.stepGuardMilliseconds);
    control.stepGuardMilliseconds = std::min(control.stepGuardMilliseconds, SongControl::mostStepGuardMilliseconds);
    optional(value, place, "let_ring_seconds", control.letRingSeconds);
    control.letRingSeconds = std::min(control.letRingSeconds, SongControl::mostLetRingSeconds);
  }

  void members(Value& value, const DocumentPlace& place, SongProgram& program) {
    optional(value, place, "bank", program.bank);
    required(value, place, "program", program.program);
  }

  void members(Value& value, const DocumentPlace& place, SongConfig& song) {
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
    optional(value, place, "program_change", song.program);
  }

  void members(Value& value, const DocumentPlace& place, ChannelConfig& channel) {
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

  void members(Value& value, const DocumentPlace& place, AudioPluginSlot& slot) {
    optional(value, place, "plugin_path", slot.pluginPath);
    optional(value, place, "plugin_name", slot.pluginName);
    optional(value, place, "manufacturer_name", slot.manufacturerName);
    optional(value, place, "state_base64", slot.stateBase64);
  }

  void members(Value& value, const DocumentPlace& place, VisualClipMapping& mapping) {
    optional(value, place, "note", mapping.note);
    optional(value, place, "file_path", mapping.filePath);
    optional(value, place, "trigger_mode", mapping.triggerMode);
    optional(value, place, "hold_last_picture", mapping.holdsLastPicture);
  }

  void members(Value& value, const DocumentPlace& place, MidiControlAssignment& assignment) {
    required(value, place, "target", assignment.target);
    required(value, place, "binding", assignment.binding);
  }

  void members(Value& value, const DocumentPlace& place, MidiControlTarget& target) {
    required(value, place, "kind", target.kind);
    optional(value, place, "channelIndex", target.channelIndex);
  }

  void members(Value& value, const DocumentPlace& place, PluginControlAssignment& assignment) {
    required(value, place, "target", assignment.target);
    required(value, place, "binding", assignment.binding);
    optional(value, place, "controlName", assignment.controlName);
  }

  void members(Value& value, const DocumentPlace& place, PluginControlTarget& target) {
    optional(value, place, "channelIndex", target.channelIndex);
    optional(value, place, "slotIndex", target.slotIndex);
    required(value, place, "pluginPath", target.pluginPath);
    required(value, place, "control", target.control);
  }

  void members(Value& value, const DocumentPlace& place, MidiControlBinding& binding) {
    required(value, place, "statusType", binding.statusType);
    required(value, place, "midiChannel", binding.midiChannel);
    required(value, place, "number", binding.number);
  }

  void members(Value& value, const DocumentPlace& place, MidiMessage& message) {
    required(value, place, "status", message.status);
    required(value, place, "data1", message.data1);
    required(value, place, "data2", message.data2);
  }

  std::optional<Error> failure_;
};

template <typename Record, typename Tree>
Result<Record> decodeTree(typename Tree::Value& tree) {
  RecordReader<Tree> reader;
  Record record{};
  reader.read(tree, DocumentPlace(), record);
  if (reader.failure()) {
    return *reader.failure();
  }
  return record;
}

/// With the library's tree, if the quick one cannot be made or makes no record: only the library says why.
template <typename Record>
Result<Record> decode(std::string_view bytes) {
  if (JsonNodes nodes; nodes.parse(bytes)) {
    if (auto record = decodeTree<Record, NodeTree>(nodes.root())) {
      return record;
    }
  }
  json tree;
  if (auto failure = parseJson(bytes, tree)) {
    return *failure;
  }
  return decodeTree<Record, LibraryTree>(tree);
}

SetlistFile setlistOf(std::vector<SongConfig> legacySongs) {
  SetlistFile setlist;
  setlist.songs = std::move(legacySongs);
  return setlist;
}

/// Both attempts share one tree: each looks at the root first, and one of them takes nothing out of it.
template <typename Tree>
Result<SetlistFile> readTree(typename Tree::Value& tree) {
  Result<SetlistFile> setlist = decodeTree<SetlistFile, Tree>(tree);
  if (setlist) {
    return setlist;
  }
  Result<std::vector<SongConfig>> songs = decodeTree<std::vector<SongConfig>, Tree>(tree);
  if (!songs) {
    return songs.error();
  }
  return setlistOf(std::move(songs).value());
}

}  // namespace

Result<SetlistFile> decodeSetlist(std::string_view bytes) {
  return decode<SetlistFile>(bytes);
}

Result<std::vector<SongConfig>> decodeLegacySongs(std::string_view bytes) {
  return decode<std::vector<SongConfig>>(bytes);
}

Result<SetlistFile> readSetlist(std::string_view bytes) {
  if (JsonNodes nodes; nodes.parse(bytes)) {
    if (auto setlist = readTree<NodeTree>(nodes.root())) {
      return setlist;
    }
  }
  return readSetlistByLibrary(bytes);
}

Result<SetlistFile> readSetlistByLibrary(std::string_view bytes) {
  json tree;
  if (auto failure = parseJson(bytes, tree)) {
    return *failure;
  }
  return readTree<LibraryTree>(tree);
}

Result<MidiMessage> decodeMidiMessage(std::string_view bytes) {
  return decode<MidiMessage>(bytes);
}

}  // namespace vrel
