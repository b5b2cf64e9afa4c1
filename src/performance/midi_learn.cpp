// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/midi_learn.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "document/app_state.h"
#include "document/midi_control_kinds.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "midi/midi_bytes.h"
#include "performance/performance_display.h"
#include "performance/tempo.h"
#include "text/text.h"

namespace vrel {
namespace {

using std::uint8_t;

constexpr float largestDataByte = 127.0F;
constexpr float largestBend = 16383.0F;

bool isLearnable(uint8_t statusType) {
  return statusType == statusNoteOff || statusType == statusNoteOn || statusType == statusController ||
         statusType == statusPitchBend;
}

float valueOf(uint8_t statusType, uint8_t data1, uint8_t data2) {
  if (statusType == statusPitchBend) {
    return std::min(static_cast<float>(data2 * 128 + data1) / largestBend, 1.0F);
  }
  return static_cast<float>(data2) / largestDataByte;
}

/// The nearest whole number of `largest`, halves away from zero.
int scaled(float value, float largest) {
  return static_cast<int>(std::clamp(std::round(value * largest), 0.0F, largest));
}

bool hasEffect(const AudioChannel& channel) {
  const auto& slots = channel.effectSlots.get();
  return std::any_of(slots.begin(), slots.end(), [](const auto& slot) { return !slot.pluginPath.empty(); });
}

/// Clips count, too.
bool holdsPlugin(const AudioChannel& channel) {
  const auto kind = channel.pluginKind();
  return (kind != PluginPathKind::empty && kind != PluginPathKind::playback) || hasEffect(channel);
}

template <typename Assignment>
void assign(std::vector<Assignment>& assignments, const Assignment& assignment) {
  std::erase_if(assignments, [&](const auto& earlier) { return earlier.target == assignment.target; });
  assignments.push_back(assignment);
}

}  // namespace

std::string midiLearnButtonLabel(Language language, bool isTargetPending) {
  return std::string(text(isTargetPending ? TextKey::midiLearnWaiting : TextKey::midiLearn, language));
}

void MidiLearn::listenToEngine() {
  engine_.midiCallbacks.onMidiControlMessage = [this, life = life_.watch()](uint8_t status, uint8_t data1,
                                                                            uint8_t data2) {
    if (life.isAlive()) {
      handleMidiControlMessage(status, data1, data2);
    }
  };
}

void MidiLearn::toggleMidiLearnMode() {
  state_.isMidiLearnMode.set(!state_.isMidiLearnMode.get());
  if (!state_.isMidiLearnMode.get()) {
    pendingMidiLearnTarget.set(std::nullopt);
    pendingPluginControl.set(std::nullopt);
  }
}

void MidiLearn::selectMidiLearnTarget(const MidiControlTarget& target) {
  if (state_.isMidiLearnMode.get()) {
    pendingPluginControl.set(std::nullopt);
    pendingMidiLearnTarget.set(target);
  }
}

void MidiLearn::selectPluginControl(const PluginControlTarget& target, const std::string& controlName) {
  if (state_.isMidiLearnMode.get()) {
    pendingMidiLearnTarget.set(std::nullopt);
    pendingPluginControl.set(PluginControlAssignment{target, {}, controlName});
  }
}

void MidiLearn::cancelMidiLearn() {
  state_.isMidiLearnMode.set(false);
  pendingMidiLearnTarget.set(std::nullopt);
  pendingPluginControl.set(std::nullopt);
  std::erase_if(activeMidiTriggerBindings_, [this](const auto& held) { return !stepsSongs(held); });
}

bool MidiLearn::stepsSongs(const MidiControlBinding& binding) const {
  const auto& learned = state_.globalMidiControlAssignments.get();
  return std::any_of(learned.begin(), learned.end(), [&binding](const auto& each) {
    const auto kind = each.target.kind;
    return each.binding == binding && (kind == MidiControlKind::nextSong || kind == MidiControlKind::previousSong);
  });
}

void MidiLearn::handleMidiControlMessage(uint8_t status, uint8_t data1, uint8_t data2) {
  const uint8_t statusType = highNibble(status);
  if (!isLearnable(statusType)) {
    return;
  }
  const MidiControlBinding binding{statusType, static_cast<uint8_t>(status & 0x0F),
                                   statusType == statusPitchBend ? uint8_t{0} : data1};
  if (const auto target = pendingMidiLearnTarget.get()) {
    saveMidiAssignment(*target, binding);
    return;
  }
  if (auto control = pendingPluginControl.get()) {
    control->binding = binding;
    savePluginControl(*control);
    return;
  }
  if (statusType == statusController && holdsAnyPlugin()) {
    state_.markEdited();  // plug-ins may change what they save
  }
  auto assignments = effectiveMidiAssignments();
  std::erase_if(assignments, [&binding](const auto& assignment) { return !(assignment.binding == binding); });
  const SongConfig* const song = songOnStage();
  std::vector<PluginControlAssignment> controls;
  if (song != nullptr) {
    std::copy_if(song->pluginControlAssignments.begin(), song->pluginControlAssignments.end(),
                 std::back_inserter(controls), [&binding](const auto& each) { return each.binding == binding; });
  }
  if (assignments.empty() && controls.empty()) {
    return;
  }
  const float value = valueOf(statusType, data1, data2);
  const bool isPressed = isNewPress(binding, data2);
  for (const auto& assignment : assignments) {
    performMidiControl(assignment.target, isPressed, value);
  }
  for (const auto& control : controls) {
    pluginControlMoved.emit(control, isPressed, value);
  }
}

bool MidiLearn::isNewPress(const MidiControlBinding& binding, uint8_t data2) {
  constexpr uint8_t upperHalf = 64;
  if (binding.statusType != statusController) {
    return binding.statusType == statusNoteOn && data2 != 0;
  }
  if (data2 < upperHalf) {
    activeMidiTriggerBindings_.erase(binding);
    return false;
  }
  return activeMidiTriggerBindings_.insert(binding).second;
}

void MidiLearn::saveMidiAssignment(const MidiControlTarget& target, const MidiControlBinding& binding) {
  const MidiControlAssignment assignment{target, binding};
  if (traitsOf(target.kind).scope == MidiControlScope::setlist) {
    state_.globalMidiControlAssignments.modify([&](auto& assignments) { assign(assignments, assignment); });
  } else if (songOnStage() != nullptr) {
    state_.songs.modify([&, index = *state_.selectedSongIndex.get()](auto& songs) {
      assign(songs[index].midiControlAssignments, assignment);
    });
  } else {
    return;
  }
  endAssignment();
}

void MidiLearn::savePluginControl(const PluginControlAssignment& assignment) {
  if (songOnStage() != nullptr) {
    state_.songs.modify([&, index = *state_.selectedSongIndex.get()](auto& songs) {
      assign(songs[index].pluginControlAssignments, assignment);
    });
    endAssignment();
  }
}

void MidiLearn::endAssignment() {
  pendingMidiLearnTarget.set(std::nullopt);
  pendingPluginControl.set(std::nullopt);
  state_.isMidiLearnMode.set(false);
  state_.markEdited();
}

std::vector<MidiControlAssignment> MidiLearn::effectiveMidiAssignments() const {
  const auto* song = songOnStage();
  if (song == nullptr) {
    return {};
  }
  auto assignments = state_.globalMidiControlAssignments.get();
  assignments.insert(assignments.end(), song->midiControlAssignments.begin(), song->midiControlAssignments.end());
  return assignments;
}

void MidiLearn::clearAllMidiLearn() {
  const auto& songs = state_.songs.get();
  if (state_.globalMidiControlAssignments.get().empty() &&
      std::all_of(songs.begin(), songs.end(), [](const auto& song) {
        return song.midiControlAssignments.empty() && song.pluginControlAssignments.empty();
      })) {
    return;
  }
  state_.globalMidiControlAssignments.set({});
  state_.songs.modify([](auto& list) {
    for (auto& song : list) {
      song.midiControlAssignments.clear();
      song.pluginControlAssignments.clear();
    }
  });
  cancelMidiLearn();
  state_.markEdited();
}

bool MidiLearn::acts(const MidiControlTarget& target, bool isPressed) const {
  const auto traits = traitsOf(target.kind);
  return (isPressed || !traits.isTrigger) && (!traits.needsStrip || channelAt(target) != nullptr);
}

void MidiLearn::performMidiControl(const MidiControlTarget& target, bool isPressed, float value) {
  if (!acts(target, isPressed)) {
    return;
  }
  controlWillAct.emit(target, isPressed, value);
  switch (target.kind) {
    case MidiControlKind::panic:
      return performPanic(state_, engine_);
    case MidiControlKind::tapTempo:
      return tempo_.tapTempo();
    case MidiControlKind::channelMute:
      return toggle(*channelAt(target), &AudioChannel::mute);
    case MidiControlKind::channelSolo:
      return toggle(*channelAt(target), &AudioChannel::solo);
    case MidiControlKind::masterMute:
      return toggle(*engine_.masterChannel(), &AudioChannel::mute);
    case MidiControlKind::channelVolume:
      return setFader(*channelAt(target), &AudioChannel::volume, value);
    case MidiControlKind::channelGain:
      return setFader(*channelAt(target), &AudioChannel::gain, value);
    case MidiControlKind::channelReverb:
      return setFader(*channelAt(target), &AudioChannel::reverb, value);
    case MidiControlKind::masterVolume:
      return setFader(*engine_.masterChannel(), &AudioChannel::volume, value);
    case MidiControlKind::performancePitchBend:
      return bend(value);
    case MidiControlKind::performanceModulation:
      return sendController(controllerModulation, state_.modulationValue, value);
    case MidiControlKind::performanceSustain:
      return sendController(controllerSustain, state_.sustainPedalValue, value);
    case MidiControlKind::performanceExpression:
      return sendController(controllerExpression, state_.expressionValue, value);
    case MidiControlKind::projectionBlackout:
      return projectionBlackoutPressed.emit();
    case MidiControlKind::nextSong:
    case MidiControlKind::previousSong:
      return songStepPressed.emit(target.kind == MidiControlKind::nextSong);
    case MidiControlKind::notesPosition:
      return notesMoved.emit(value);
  }
}

void MidiLearn::setFader(AudioChannel& channel, Observable<float> AudioChannel::*fader, float value) {
  (channel.*fader).set(value);
  state_.markEdited();
}

void MidiLearn::toggle(AudioChannel& channel, Observable<bool> AudioChannel::*button) {
  (channel.*button).set(!(channel.*button).get());
  engine_.applyMixerLevels();
  state_.markEdited();
}

void MidiLearn::bend(float value) {
  constexpr int centre = 8192;
  const int position = scaled(value, largestBend);
  state_.pitchBendValue.set(std::clamp(static_cast<float>(position - centre) / float{centre}, -1.0F, 1.0F));
  engine_.sendPerformanceMIDI(statusPitchBend, static_cast<uint8_t>(position & 0x7F),
                              static_cast<uint8_t>(position >> 7));
}

void MidiLearn::sendController(uint8_t controller, Observable<float>& display, float value) {
  const int position = scaled(value, largestDataByte);
  display.set(static_cast<float>(position) / largestDataByte);
  engine_.sendPerformanceMIDI(statusController, controller, static_cast<uint8_t>(position));
}

const SongConfig* MidiLearn::songOnStage() const {
  const auto selected = state_.selectedSongIndex.get();
  const auto& songs = state_.songs.get();
  return selected && *selected < songs.size() ? &songs[*selected] : nullptr;
}

bool MidiLearn::holdsAnyPlugin() const {
  const auto& channels = engine_.channels();
  return hasEffect(*engine_.masterChannel()) ||
         std::any_of(channels.begin(), channels.end(), [](const auto& channel) { return holdsPlugin(*channel); });
}

AudioChannel* MidiLearn::channelAt(const MidiControlTarget& target) const {
  const auto& channels = engine_.channels();
  const auto index = target.channelIndex;
  if (!index || static_cast<std::uint64_t>(*index) >= channels.size()) {  // of a negative one, too
    return nullptr;
  }
  return channels[static_cast<std::size_t>(*index)].get();
}

}  // namespace vrel
