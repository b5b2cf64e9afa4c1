// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_controls.h"

#include <algorithm>
#include <string_view>

#include "document/app_state.h"
#include "document/plugin_names.h"
#include "performance/live_mode_policy.h"
#include "text/control_names.h"
#include "text/text.h"

namespace vrel {
namespace {

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

std::string idOf(const std::string& owner, const PluginControlAssignment& assignment) {
  const auto& [target, binding, name] = assignment;
  std::string id = owner + ":" + target.pluginPath + ":" + target.control;
  for (const std::int64_t part :
       {target.channelIndex.value_or(-1), target.slotIndex.value_or(-1), std::int64_t{binding.statusType},
        std::int64_t{binding.midiChannel}, std::int64_t{binding.number}}) {
    id += ":" + std::to_string(part);
  }
  return id;
}

/// Such as "Cutoff (Old Organ) 2".
std::string controlName(const PluginControlAssignment& assignment, const KnownPlugins& plugins) {
  const auto& target = assignment.target;
  const auto& name = assignment.controlName.empty() ? target.control : assignment.controlName;
  const auto plugin = knownPluginName(target.pluginPath, plugins);
  return name + (plugin.empty() ? "" : " (" + plugin + ")") +
         (target.channelIndex ? " " + std::to_string(*target.channelIndex + 1) : " MASTER");
}

const std::string setlistOwner = "setlist";

}  // namespace

std::vector<LearnedControl> LearnedControls::all() const {
  const auto language = state_.language.get();
  const KnownPlugins plugins = knownPlugins(state_);
  std::vector<LearnedControl> all;
  const auto add = [&](const auto& assignments, const std::string& owner, const std::string& place) {
    for (const auto& assignment : assignments) {
      all.push_back({idOf(owner, assignment), controlTargetName(assignment.target, language),
                     controlSourceName(assignment.binding), place});
    }
  };
  add(state_.globalMidiControlAssignments.get(), setlistOwner, std::string(text(TextKey::setlist, language)));
  for (const auto& song : state_.songs.get()) {
    add(song.midiControlAssignments, song.id.text(), song.name);
    for (const auto& assignment : song.pluginControlAssignments) {
      all.push_back({idOf(song.id.text(), assignment), controlName(assignment, plugins),
                     controlSourceName(assignment.binding), song.name});
    }
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
        isRemoved = removeFrom(song.pluginControlAssignments, song.id.text()) || isRemoved;
      }
    });
  }
  if (isRemoved) {
    state_.markEdited();
  }
}

}  // namespace vrel
