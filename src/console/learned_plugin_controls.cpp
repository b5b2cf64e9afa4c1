// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/learned_plugin_controls.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "console/controls_editor.h"
#include "console/parameter_laws.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "midi/midi_bytes.h"
#include "performance/midi_learn.h"
#include "platform/dispatch.h"
#include "platform/message_parameters.h"

namespace vrel {
namespace {

constexpr double secondsAtRest = 0.2;  // after which a hand is taken to have finished

std::shared_ptr<AVAudioUnit> instrumentOf(const AudioChannel& channel) {
  return std::dynamic_pointer_cast<AVAudioUnit>(channel.instrumentNode.get());
}

std::shared_ptr<AVAudioUnit> effectIn(const AudioChannel& channel, const AudioPluginSlot& slot) {
  const auto& nodes = channel.effectNodes.get();
  const auto node = nodes.find(slot.id);
  return node == nodes.end() ? nullptr : node->second;
}

auto findControl(const AUParameterTree& tree, const std::string& identifier) {
  return std::find_if(tree.allParameters.begin(), tree.allParameters.end(),
                      [&](const auto& each) { return each.identifier == identifier; });
}

}  // namespace

LearnedPluginControls::LearnedPluginControls(AppState& state, AudioEngine& engine, MidiLearn& midiLearn,
                                             MainQueue& mainQueue)
    : state_(state), engine_(engine), midiLearn_(midiLearn), mainQueue_(mainQueue) {
  connections_.push_back(
      midiLearn_.pluginControlMoved.connect([this](const PluginControlAssignment& assignment, bool isPressed,
                                                   float value) { move(assignment, isPressed, value); }));
  connections_.push_back(state_.songSwitchInProgress.changed.connect([this](bool isInProgress) {
    if (isInProgress) {
      dropMoves();
    } else {
      askForControls();
    }
  }));
}

std::optional<PluginControlTarget> LearnedPluginControls::placeOf(const AVAudioUnit& unit) const {
  using Index = std::optional<std::int64_t>;
  const auto inRack = [&unit](const AudioChannel& channel, Index index) -> std::optional<PluginControlTarget> {
    const auto& slots = channel.effectSlots.get();
    const auto slot = std::find_if(slots.begin(), slots.end(),
                                   [&](const auto& each) { return effectIn(channel, each).get() == &unit; });
    if (slot == slots.end()) {
      return std::nullopt;
    }
    return PluginControlTarget{index, slot - slots.begin(), slot->pluginPath, {}};
  };
  std::int64_t index = 0;
  for (const auto& channel : engine_.channels()) {
    if (instrumentOf(*channel).get() == &unit) {
      return PluginControlTarget{index, std::nullopt, channel->pluginPath.get(), {}};
    }
    if (auto place = inRack(*channel, index)) {
      return place;
    }
    ++index;
  }
  return inRack(*engine_.masterChannel(), std::nullopt);
}

std::shared_ptr<AVAudioUnit> LearnedPluginControls::unitAt(const PluginControlTarget& target) const {
  const auto& channels = engine_.channels();
  const auto index = static_cast<std::uint64_t>(target.channelIndex.value_or(0));  // also of a negative one
  if (target.channelIndex && index >= channels.size()) {
    return nullptr;
  }
  const AudioChannel& channel = target.channelIndex ? *channels[index] : *engine_.masterChannel();
  if (!target.slotIndex) {
    return channel.pluginPath.get() == target.pluginPath ? instrumentOf(channel) : nullptr;
  }
  const auto& slots = channel.effectSlots.get();
  const auto slot = static_cast<std::uint64_t>(*target.slotIndex);
  return slot < slots.size() && slots[slot].pluginPath == target.pluginPath ? effectIn(channel, slots[slot]) : nullptr;
}

void LearnedPluginControls::select(const std::shared_ptr<AVAudioUnit>& unit, const AUParameter& parameter) {
  auto target = placeOf(*unit);
  if (!target || midiLearn_.songOnStage() == nullptr || !isLearnable(parameter) || !state_.isMidiLearnMode.get()) {
    return;
  }
  target->control = parameter.identifier;
  (void)controlsOf(unit);
  midiLearn_.selectPluginControl(*target, parameter.displayName);
}

void LearnedPluginControls::touch(const std::shared_ptr<AVAudioUnit>& unit, AUParameterAddress address) {
  if (!state_.isMidiLearnMode.get()) {
    return;
  }
  const auto controls = controlsOf(unit);
  if (!controls->hasAnswered) {
    controls->waiting[{}] = [this, weak = std::weak_ptr(unit), address] {
      if (const auto touched = weak.lock()) {
        touch(touched, address);
      }
    };
  } else if (controls->tree != nullptr) {
    const auto& all = controls->tree->allParameters;
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.address == address; });
    if (found != all.end()) {
      select(unit, *found);
    }
  }
}

std::optional<std::size_t> LearnedPluginControls::waitingControl(const std::shared_ptr<AVAudioUnit>& unit,
                                                                 const AUParameterTree& tree) const {
  const auto& waiting = midiLearn_.pendingPluginControl.get();
  if (!waiting || unitAt(waiting->target) != unit) {
    return std::nullopt;
  }
  const auto found = findControl(tree, waiting->target.control);
  return found == tree.allParameters.end()
             ? std::nullopt
             : std::optional(static_cast<std::size_t>(found - tree.allParameters.begin()));
}

bool LearnedPluginControls::areControlsKnown() const {
  return std::all_of(known_.begin(), known_.end(),
                     [](const auto& each) { return each.second->hasAnswered || each.first.expired(); });
}

/// Those of the song on stage, before the hardware moves: what it moves first is not to wait.
void LearnedPluginControls::askForControls() {
  std::vector<std::shared_ptr<AVAudioUnit>> learned;
  if (const SongConfig* const song = midiLearn_.songOnStage()) {
    for (const auto& assignment : song->pluginControlAssignments) {
      if (const auto unit = unitAt(assignment.target)) {
        (void)controlsOf(unit);
        learned.push_back(unit);
      }
    }
  }
  watchOnly(learned);
}

/// Plug-ins that are kept for another song report nothing meanwhile.
void LearnedPluginControls::watchOnly(const std::vector<std::shared_ptr<AVAudioUnit>>& learned) {
  for (const auto& [weak, controls] : known_) {
    const auto unit = weak.lock();
    if (unit != nullptr && controls->isWatched && std::find(learned.begin(), learned.end(), unit) == learned.end()) {
      dynamic_cast<MessageParameters&>(unit->auAudioUnit()).watchMessageParameters(false);
      controls->isWatched = false;
    }
  }
}

void LearnedPluginControls::dropMoves() {
  for (const auto& [weak, controls] : known_) {
    controls->waiting.clear();
    for (auto& [address, count] : controls->delayedMoves) {
      ++count;
    }
  }
}

/// Of a parameter without a port what the plug-in has reported, from the first question on.
float LearnedPluginControls::valueNow(AVAudioUnit& unit, Controls& controls, const AUParameter& parameter) {
  auto* const messages = dynamic_cast<MessageParameters*>(&unit.auAudioUnit());
  if (parameter.address >= firstMessageParameter && messages != nullptr && !controls.isWatched) {
    controls.isWatched = true;
    messages->watchMessageParameters(true);
  }
  const float value = unit.auAudioUnit().parameterValue(parameter.address);
  return std::isfinite(value) ? value : parameter.defaultValue;
}

std::shared_ptr<LearnedPluginControls::Controls> LearnedPluginControls::controlsOf(
    const std::shared_ptr<AVAudioUnit>& unit) {
  if (const auto known = known_.find(unit); known != known_.end()) {
    return known->second;
  }
  std::erase_if(known_, [](const auto& each) { return each.first.expired(); });
  auto controls = std::make_shared<Controls>();
  known_[unit] = controls;
  unit->auAudioUnit().requestParameterTree(
      [weak = std::weak_ptr(controls), &mainQueue = mainQueue_](std::shared_ptr<const AUParameterTree> tree) {
        mainQueue.async([weak, tree = std::move(tree)] {
          if (const auto asked = weak.lock()) {
            asked->tree = tree;
            asked->hasAnswered = true;
            for (const auto& [control, action] : std::exchange(asked->waiting, {})) {
              action();
            }
          }
        });
      });
  return controls;
}

void LearnedPluginControls::move(const PluginControlAssignment& assignment, bool isPressed, float value) {
  const auto unit = unitAt(assignment.target);
  if (unit == nullptr) {
    return;
  }
  const auto controls = controlsOf(unit);
  if (!controls->hasAnswered) {
    controls->waiting[assignment.target.control] = [=, this] { move(assignment, isPressed, value); };
    return;
  }
  if (controls->tree == nullptr) {
    return;
  }
  const auto parameter = findControl(*controls->tree, assignment.target.control);
  if (parameter == controls->tree->allParameters.end() || !isLearnable(*parameter)) {
    return;
  }
  const std::uint8_t status = assignment.binding.statusType;
  const bool isKey = status == statusNoteOn || status == statusNoteOff;
  if (parameter->isTrigger || (parameter->isToggle && isKey)) {
    if (!isPressed) {
      return;
    }
    if (parameter->isTrigger) {
      pressTrigger(unit, *parameter, mainQueue_);
      return;
    }
  }
  AUAudioUnit& plugin = unit->auAudioUnit();
  const float now = valueNow(*unit, *controls, *parameter);
  const bool isOn = controlPosition(*parameter, now) > 0.5;
  const float wanted = parameter->isToggle && isKey ? (isOn ? parameter->minValue : parameter->maxValue)
                                                    : controlValue(*parameter, static_cast<double>(value));
  if (parameter->changesAtEndOfDrag) {
    moveLater(controls, unit, parameter->address, wanted);
  } else if (wanted != now || parameter->address >= firstMessageParameter) {  // what was reported may be old
    plugin.setParameterValue(parameter->address, wanted);
    state_.markEdited();
  }
}

void LearnedPluginControls::moveLater(const std::shared_ptr<Controls>& controls,
                                      const std::shared_ptr<AVAudioUnit>& unit, AUParameterAddress address,
                                      float value) {
  const int count = ++controls->delayedMoves[address];
  mainQueue_.asyncAfter(secondsAtRest, [this, weakControls = std::weak_ptr(controls), weakUnit = std::weak_ptr(unit),
                                        address, value, count] {
    const auto still = weakControls.lock();
    const auto plugin = weakUnit.lock();
    if (still != nullptr && plugin != nullptr && still->delayedMoves[address] == count &&
        (address >= firstMessageParameter || plugin->auAudioUnit().parameterValue(address) != value)) {
      plugin->auAudioUnit().setParameterValue(address, value);
      state_.markEdited();
    }
  });
}

}  // namespace vrel
