// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "document/document_place.h"
#include "document/json_text.h"
#include "document/midi_control_kinds.h"
#include "document/setlist_coding.h"
#include "document/stored_texts.h"
#include "foundation/utf8.h"

namespace vrel {
namespace {

constexpr std::size_t indentation = 2;

// The shortest decimal that gives the float back, instead of the many digits of the double beside it.
double shortest(float number) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.begin(), text.end(), number);
  double shortest = 0;
  const auto read = std::from_chars(text.begin(), written.ptr, shortest);
  const bool isFaithful = read.ec == std::errc() && static_cast<float>(shortest) == number;
  return isFaithful ? shortest : static_cast<double>(number);
}

/// Writes records as they come, without a tree of them: a setlist is nearly all states, which are only copied. Keys
/// keep the order in which they are written, so that files are easy to compare. What JSON cannot hold is noted, and a
/// number before a text.
class RecordWriter {
 public:
  explicit RecordWriter(std::size_t bytesExpected) { text_.reserve(bytesExpected); }

  /// The text, or its first fault.
  [[nodiscard]] Result<std::string> take() {
    if (const auto& fault = numberFault_ ? numberFault_ : textFault_) {
      return *fault;
    }
    return std::move(text_);
  }

  void write(const SetlistFile& setlist, const DocumentPlace& place) {
    auto assignments = setlist.globalMidiControlAssignments;
    const auto own = std::stable_partition(assignments.begin(), assignments.end(), std::not_fn(hasOwnField));
    open('{');
    member(place, "version", setlistVersion);
    member(place, "songs", setlist.songs);
    if (!setlist.collectedFolder.empty()) {
      member(place, "collected_folder", setlist.collectedFolder);
    }
    for (auto each = own; each != assignments.end(); ++each) {
      member(place, traitsOf(each->target.kind).ownField, each->binding);
    }
    if (setlist.songControl != SongControl{}) {
      member(place, "song_control", setlist.songControl);
    }
    assignments.erase(own, assignments.end());
    member(place, "global_midi_control_assignments", assignments);
    close('}');
  }

 private:
  static bool hasOwnField(const MidiControlAssignment& assignment) {
    return !traitsOf(assignment.target.kind).ownField.empty();
  }

  void write(const SongControl& control, const DocumentPlace& place) {
    open('{');
    member(place, "by_program_change", control.byProgramChange);
    memberIfPresent(place, "midi_channel", control.midiChannel);
    member(place, "step_guard_milliseconds", control.stepGuardMilliseconds);
    if (control.letRingSeconds > 0) {
      member(place, "let_ring_seconds", control.letRingSeconds);
    }
    close('}');
  }

  void write(const SongProgram& program, const DocumentPlace& place) {
    open('{');
    memberIfPresent(place, "bank", program.bank);
    member(place, "program", program.program);
    close('}');
  }

  void write(const SongConfig& song, const DocumentPlace& place) {
    open('{');
    member(place, "name", song.name);
    member(place, "tempo_bpm", song.tempoBpm);
    member(place, "song_notes", song.songNotes);
    member(place, "keyboard_start_note", song.keyboardStartNote);
    member(place, "keyboard_key_count", song.keyboardKeyCount);
    member(place, "channels", song.channels);
    member(place, "master_channel_color", song.masterChannelColor);
    member(place, "master_effect_slots", song.masterEffectSlots);
    member(place, "midi_control_assignments", song.midiControlAssignments);
    if (!song.pluginControlAssignments.empty()) {
      member(place, "plugin_control_assignments", song.pluginControlAssignments);
    }
    memberIfPresent(place, "program_change", song.program);
    close('}');
  }

  void write(const ChannelConfig& channel, const DocumentPlace& place) {
    open('{');
    member(place, "name", channel.name);
    member(place, "volume", channel.volume);
    member(place, "gain", channel.gain);
    member(place, "reverb", channel.reverb);
    member(place, "mute", channel.mute);
    member(place, "solo", channel.solo);
    member(place, "plugin_path", channel.pluginPath);
    memberIfPresent(place, "plugin_state_base64", channel.pluginStateBase64);
    member(place, "color", channel.color);
    member(place, "min_note", channel.minNote);
    member(place, "max_note", channel.maxNote);
    member(place, "transpose", channel.transpose);
    member(place, "send_sustain", channel.sendSustain);
    member(place, "send_expression", channel.sendExpression);
    member(place, "sustain_controls_rotor", channel.sustainControlsRotor);
    member(place, "effect_slots", channel.effectSlots);
    member(place, "playback_file_path", channel.playbackFilePath);
    member(place, "playback_loop", channel.playbackLoop);
    member(place, "playback_start_time", channel.playbackStartTime);
    member(place, "playback_end_time", channel.playbackEndTime);
    member(place, "playback_stop_mode", channel.playbackStopMode.text());
    member(place, "visual_clip_mappings", channel.visualClipMappings);
    close('}');
  }

  void write(const AudioPluginSlot& slot, const DocumentPlace& place) {
    open('{');
    member(place, "plugin_path", slot.pluginPath);
    member(place, "plugin_name", slot.pluginName);
    member(place, "manufacturer_name", slot.manufacturerName);
    memberIfPresent(place, "state_base64", slot.stateBase64);
    close('}');
  }

  void write(const VisualClipMapping& mapping, const DocumentPlace& place) {
    open('{');
    member(place, "note", mapping.note);
    member(place, "file_path", mapping.filePath);
    member(place, "trigger_mode", storedText(mapping.triggerMode));
    if (mapping.holdsLastPicture) {
      member(place, "hold_last_picture", true);  // other readers pass over it
    }
    close('}');
  }

  void write(const MidiControlAssignment& assignment, const DocumentPlace& place) {
    open('{');
    member(place, "target", assignment.target);
    member(place, "binding", assignment.binding);
    close('}');
  }

  void write(const MidiControlTarget& target, const DocumentPlace& place) {
    open('{');
    member(place, "kind", storedText(target.kind));
    memberIfPresent(place, "channelIndex", target.channelIndex);
    close('}');
  }

  void write(const PluginControlAssignment& assignment, const DocumentPlace& place) {
    open('{');
    member(place, "target", assignment.target);
    member(place, "binding", assignment.binding);
    member(place, "controlName", assignment.controlName);
    close('}');
  }

  void write(const PluginControlTarget& target, const DocumentPlace& place) {
    open('{');
    memberIfPresent(place, "channelIndex", target.channelIndex);
    memberIfPresent(place, "slotIndex", target.slotIndex);
    member(place, "pluginPath", target.pluginPath);
    member(place, "control", target.control);
    close('}');
  }

  void write(const MidiControlBinding& binding, const DocumentPlace& place) {
    open('{');
    member(place, "statusType", binding.statusType);
    member(place, "midiChannel", binding.midiChannel);
    member(place, "number", binding.number);
    close('}');
  }

  template <typename Element>
  void write(const std::vector<Element>& elements, const DocumentPlace& place) {
    open('[');
    std::size_t index = 0;
    for (const auto& element : elements) {
      newItem();
      write(element, place.element(index++));
    }
    close(']');
  }

  template <std::integral Integer>
  void write(Integer number, const DocumentPlace& /*place*/) {
    std::array<char, 24> digits{};
    const auto written = std::to_chars(digits.begin(), digits.end(), number);
    text_.append(digits.begin(), written.ptr);
  }

  void write(bool value, const DocumentPlace& /*place*/) { text_ += value ? "true" : "false"; }

  void write(float number, const DocumentPlace& place) { write(shortest(number), place); }

  void write(double number, const DocumentPlace& place) {
    if (std::isfinite(number)) {
      text_ += nlohmann::json(number).dump();
    } else if (!numberFault_) {
      numberFault_ = Error{place.text() + ": not a finite number, which JSON cannot hold"};
    }
  }

  void write(const std::string& text, const DocumentPlace& place) { write(std::string_view(text), place); }

  void write(std::string_view text, const DocumentPlace& place) {
    bool isAscii = true;
    text_ += '"';
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t plain = plainBytes(text.substr(at));
      text_ += text.substr(at, plain);
      at += plain;
      if (at < text.size()) {
        isAscii = writeSpecial(text[at++]) && isAscii;
      }
    }
    text_ += '"';
    if (!isAscii && !textFault_ && !isValidUtf8(text)) {
      textFault_ = Error{place.text() + ": not valid UTF-8"};
    }
  }

  /// False for a part of a longer character, which is written as it is.
  bool writeSpecial(char character) {
    constexpr std::string_view meanings = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x80) {
      text_ += character;
      return false;
    }
    text_ += '\\';
    if (const auto place = meanings.find(character); place != std::string_view::npos) {
      text_ += letters[place];
    } else {
      text_ += "u00";
      text_ += "01"[byte >> 4U];
      text_ += "0123456789abcdef"[byte & 0xFU];
    }
    return true;
  }

  template <typename Value>
  void member(const DocumentPlace& place, std::string_view key, const Value& value) {
    newItem();
    text_ += '"';
    text_ += key;
    text_ += "\": ";
    write(value, place.member(key));
  }

  void memberIfPresent(const DocumentPlace& place, std::string_view key, const std::optional<SharedText>& text) {
    if (text && text->isThere()) {
      member(place, key, text->text());
    }
  }

  template <typename Value>
  void memberIfPresent(const DocumentPlace& place, std::string_view key, const std::optional<Value>& value) {
    if (value) {
      member(place, key, *value);
    }
  }

  void open(char bracket) {
    text_ += bracket;
    ++depth_;
    isEmpty_ = true;
  }

  void newItem() {
    text_ += isEmpty_ ? "\n" : ",\n";
    text_.append(depth_ * indentation, ' ');
    isEmpty_ = false;
  }

  void close(char bracket) {
    --depth_;
    if (!isEmpty_) {
      text_ += '\n';
      text_.append(depth_ * indentation, ' ');
    }
    text_ += bracket;
    isEmpty_ = false;
  }

  std::string text_;
  std::size_t depth_ = 0;
  bool isEmpty_ = true;  // what was opened last
  std::optional<Error> numberFault_;
  std::optional<Error> textFault_;
};

/// Of the text that a setlist makes, so that it need not move while it grows.
std::size_t bytesExpected(const SetlistFile& setlist) {
  constexpr std::size_t bytesOfARecord = 1024;
  std::size_t bytes = bytesOfARecord;
  const auto addSlots = [&bytes](const std::vector<AudioPluginSlot>& slots) {
    for (const auto& slot : slots) {
      bytes += bytesOfARecord + (slot.stateBase64 ? slot.stateBase64->size() : 0);
    }
  };
  for (const auto& song : setlist.songs) {
    bytes += bytesOfARecord + song.songNotes.size();
    addSlots(song.masterEffectSlots);
    for (const auto& channel : song.channels) {
      bytes += bytesOfARecord + (channel.pluginStateBase64 ? channel.pluginStateBase64->size() : 0);
      addSlots(channel.effectSlots);
    }
  }
  return bytes;
}

}  // namespace

Result<std::string> encodeSetlist(const SetlistFile& setlist) {
  RecordWriter writer(bytesExpected(setlist));
  writer.write(setlist, DocumentPlace());
  return writer.take();
}

std::string encodeMidiMessage(const MidiMessage& message) {
  return nlohmann::ordered_json{{"status", message.status}, {"data1", message.data1}, {"data2", message.data2}}.dump();
}

}  // namespace vrel
