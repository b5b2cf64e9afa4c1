// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_steps.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "console/edit_shot.h"
#include "document/find_slot.h"

namespace vrel {
namespace {

template <typename Assignment>
bool holds(const std::vector<Assignment>& list, const Assignment& assignment) {
  return std::find(list.begin(), list.end(), assignment) != list.end();
}

template <typename Assignment>
auto withTarget(const std::vector<Assignment>& list, const Assignment& assignment) {
  return std::find_if(list.begin(), list.end(), [&](const auto& each) { return each.target == assignment.target; });
}

template <typename Assignment>
void changeList(std::vector<Assignment>& present, const std::vector<Assignment>& from,
                const std::vector<Assignment>& to) {
  std::erase_if(present, [&](const auto& each) { return holds(from, each) && !holds(to, each); });
  for (const auto& wanted : to) {
    if (!holds(from, wanted) && withTarget(present, wanted) == present.end()) {
      present.push_back(wanted);
    }
  }
  const auto rank = [&](const auto& each) { return withTarget(to, each) - to.begin(); };
  std::stable_sort(present.begin(), present.end(),
                   [&](const auto& one, const auto& other) { return rank(one) < rank(other); });
}

/// The strip of a target, or the master; null where the two shots do not have the same one there.
const ChannelConfig* rackOf(const PluginControlTarget& target, const EditShot& shot, const EditShot& other) {
  if (!target.channelIndex) {
    return &shot.master.record;
  }
  const auto index = static_cast<std::uint64_t>(*target.channelIndex);
  const bool isInBoth = index < shot.strips.size() && index < other.strips.size() &&
                        shot.strips[index].strip == other.strips[index].strip;
  return isInBoth ? &shot.strips[index].record : nullptr;
}

/// False where the effect goes.
bool followEffect(PluginControlTarget& target, const EditShot& from, const EditShot& to) {
  const auto* const before = rackOf(target, from, to);
  const auto* const after = rackOf(target, to, from);
  if (!target.slotIndex || before == nullptr || after == nullptr || haveSameEffects(*before, *after) ||
      static_cast<std::uint64_t>(*target.slotIndex) >= before->effectSlots.size()) {
    return true;
  }
  const auto& id = before->effectSlots[static_cast<std::size_t>(*target.slotIndex)].id;
  const auto slot = findSlot(after->effectSlots, id);
  if (slot == after->effectSlots.end()) {
    return false;
  }
  target.slotIndex = slot - after->effectSlots.begin();
  return true;
}

/// What was learned beside the step.
void followEffects(std::vector<PluginControlAssignment>& present, SongConfig& before, const EditShot& from,
                   const EditShot& to) {
  std::vector<PluginControlAssignment> followed;
  std::vector<PluginControlAssignment> gone;
  for (auto each : present) {
    const auto learned = each;
    const bool isOfStep = holds(before.pluginControlAssignments, each);
    if (isOfStep || followEffect(each.target, from, to)) {
      followed.push_back(std::move(each));
    } else {
      gone.push_back(learned);
    }
  }
  present = std::move(followed);
  before.pluginControlAssignments.insert(before.pluginControlAssignments.end(), gone.begin(), gone.end());
}

}  // namespace

void changeLearned(std::vector<MidiControlAssignment>& present, const std::vector<MidiControlAssignment>& from,
                   const std::vector<MidiControlAssignment>& to) {
  changeList(present, from, to);
}

void changeLearned(SongConfig& present, EditShot& from, const EditShot& to) {
  auto& before = from.songs[*from.indexOfSong(present.id)];
  const auto& after = *to.songs[*to.indexOfSong(present.id)];
  if (from.songOnStage == to.songOnStage && from.songOnStage == present.id) {
    auto kept = std::make_shared<SongConfig>(*before);
    followEffects(present.pluginControlAssignments, *kept, from, to);
    before = std::move(kept);
  }
  changeList(present.midiControlAssignments, before->midiControlAssignments, after.midiControlAssignments);
  changeList(present.pluginControlAssignments, before->pluginControlAssignments, after.pluginControlAssignments);
}

}  // namespace vrel
