// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_controls.h"

#include <algorithm>
#include <string_view>

#include "document/app_state.h"
#include "document/note_name.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel {
namespace {

constexpr std::uint8_t controllerStatus = 0xB0;
constexpr std::uint8_t pitchBendStatus = 0xE0;

/// The terms of MIDI are the same in every language.
std::string controlName(MidiControlKind kind, Language language) {
  const auto words = [language](TextKey key) { return std::string(text(key, language)); };
  switch (kind) {
    case MidiControlKind::panic:
      return words(TextKey::panic);
    case MidiControlKind::tapTempo:
      return "TAP";
    case MidiControlKind::channelVolume:
      return words(TextKey::volume);
    case MidiControlKind::channelGain:
      return "Gain";
    case MidiControlKind::channelReverb:
      return "Reverb";
    case MidiControlKind::channelMute:
      return words(TextKey::mute);
    case MidiControlKind::channelSolo:
      return words(TextKey::solo);
    case MidiControlKind::masterVolume:
      return words(TextKey::volume) + " MASTER";
    case MidiControlKind::masterMute:
      return words(TextKey::mute) + " MASTER";
    case MidiControlKind::performancePitchBend:
      return "Pitch Bend";
    case MidiControlKind::performanceModulation:
      return "Modulation";
    case MidiControlKind::performanceSustain:
      return "Sustain";
    case MidiControlKind::performanceExpression:
      return "Expression";
    case MidiControlKind::projectionBlackout:
      return words(TextKey::projectionBlackout);
  }
  return {};
}

std::string sourceName(const MidiControlBinding& binding) {
  const std::string control = binding.statusType == pitchBendStatus    ? "Pitch Bend"
                              : binding.statusType == controllerStatus ? "CC " + std::to_string(int{binding.number})
                                                                       : "Note " + noteName(binding.number);
  return control + ", MIDI " + std::to_string(int{binding.midiChannel} + 1);
}

std::string idOf(const std::string& owner, const MidiControlAssignment& assignment) {
  const auto& [target, binding] = assignment;
  std::string id = owner;
  for (const std::int64_t part :
       {static_cast<std::int64_t>(target.kind), target.channelIndex.value_or(-1), std::int64_t{binding.statusType},
        std::int64_t{binding.midiChannel}, std::int64_t{binding.number}}) {
    id += ":" + std::to_string(part);
  }
  return id;
}

const std::string setlistOwner = "setlist";

}  // namespace

std::vector<LearnedControl> LearnedControls::all() const {
  const auto language = state_.language.get();
  std::vector<LearnedControl> all;
  const auto add = [&](const auto& assignments, const std::string& owner, const std::string& place) {
    for (const auto& assignment : assignments) {
      const auto strip = assignment.target.channelIndex;
      all.push_back({idOf(owner, assignment),
                     controlName(assignment.target.kind, language) + (strip ? " " + std::to_string(*strip + 1) : ""),
                     sourceName(assignment.binding), place});
    }
  };
  add(state_.globalMidiControlAssignments.get(), setlistOwner, std::string(text(TextKey::setlist, language)));
  for (const auto& song : state_.songs.get()) {
    add(song.midiControlAssignments, song.id.text(), song.name);
  }
  return all;
}

void LearnedControls::remove(const std::string& id) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::clearMidiLearn, state_)) {
    return;
  }
  const auto removeFrom = [&id](auto& assignments, const std::string& owner) {
    return std::erase_if(assignments, [&](const auto& each) { return idOf(owner, each) == id; }) > 0;
  };
  auto global = state_.globalMidiControlAssignments.get();
  bool isRemoved = removeFrom(global, setlistOwner);
  if (isRemoved) {
    state_.globalMidiControlAssignments.set(std::move(global));
  } else {
    state_.songs.modify([&](std::vector<SongConfig>& songs) {
      for (auto& song : songs) {
        isRemoved = removeFrom(song.midiControlAssignments, song.id.text()) || isRemoved;
      }
    });
  }
  if (isRemoved) {
    state_.markEdited();
  }
}

}  // namespace vrel
