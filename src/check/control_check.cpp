// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "check/setlist_check.h"
#include "text/control_names.h"

namespace vrel {
namespace {

using Control = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>;

struct Moved {
  MidiControlBinding binding{};
  std::vector<MidiControlTarget> targets{};
  std::vector<std::string> pluginControls{};
  bool isOfSong = false;  // one of them at least
};

class ControlTable {
 public:
  void add(const MidiControlAssignment& assignment, bool isOfSong) {
    auto& moved = movedBy(assignment.binding);
    for (const auto& target : moved.targets) {
      if (target == assignment.target) {
        return;
      }
    }
    moved.targets.push_back(assignment.target);
    moved.isOfSong = moved.isOfSong || isOfSong;
  }

  void add(const PluginControlAssignment& assignment) {
    const auto& target = assignment.target;
    const auto& name = assignment.controlName.empty() ? target.control : assignment.controlName;
    auto& moved = movedBy(assignment.binding);
    moved.pluginControls.push_back(name +
                                   (target.channelIndex ? " " + std::to_string(*target.channelIndex + 1) : " MASTER"));
    moved.isOfSong = true;
  }

  [[nodiscard]] std::vector<Finding> shared(bool isOfSong) const {
    std::vector<Finding> findings;
    for (const auto& [control, moved] : table_) {
      if (moved.targets.size() + moved.pluginControls.size() > 1 && moved.isOfSong == isOfSong) {
        findings.push_back({.kind = FindingKind::sharedControl,
                            .subject = controlSourceName(moved.binding),
                            .targets = moved.targets,
                            .pluginControls = moved.pluginControls});
      }
    }
    return findings;
  }

 private:
  Moved& movedBy(const MidiControlBinding& binding) {
    auto& moved = table_[{binding.statusType, binding.midiChannel, binding.number}];
    moved.binding = binding;
    return moved;
  }

  std::map<Control, Moved> table_;
};

}  // namespace

std::vector<Finding> checkControls(const std::vector<MidiControlAssignment>& global) {
  ControlTable table;
  for (const auto& assignment : global) {
    table.add(assignment, false);
  }
  return table.shared(false);
}

std::vector<Finding> checkControls(const std::vector<MidiControlAssignment>& global, const SongConfig& song) {
  ControlTable table;
  const auto isInForce = [&](const auto& assignment) {
    const auto strip = assignment.target.channelIndex;
    return !strip || (*strip >= 0 && static_cast<std::size_t>(*strip) < song.channels.size());
  };
  const auto addThoseInForce = [&](const std::vector<MidiControlAssignment>& assignments, bool isOfSong) {
    for (const auto& assignment : assignments) {
      if (isInForce(assignment)) {
        table.add(assignment, isOfSong);
      }
    }
  };
  addThoseInForce(global, false);
  addThoseInForce(song.midiControlAssignments, true);
  for (const auto& assignment : song.pluginControlAssignments) {
    if (isInForce(assignment)) {
      table.add(assignment);
    }
  }
  return table.shared(true);
}

}  // namespace vrel
