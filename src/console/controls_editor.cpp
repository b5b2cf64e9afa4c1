// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/controls_editor.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include "document/app_state.h"
#include "performance/live_mode_policy.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "platform/message_parameters.h"

namespace vrel {
namespace {

constexpr double triggerSeconds = 0.1;  // longer than any block

/// Null for a plug-in that has no such parameters.
MessageParameters* messagesOf(AVAudioUnit& unit) {
  return dynamic_cast<MessageParameters*>(&unit.auAudioUnit());
}

}  // namespace

void pressTrigger(const std::shared_ptr<AVAudioUnit>& unit, const AUParameter& parameter, MainQueue& mainQueue) {
  const bool restsAtTop = parameter.defaultValue == parameter.maxValue;
  unit->auAudioUnit().setParameterValue(parameter.address, restsAtTop ? parameter.minValue : parameter.maxValue);
  mainQueue.asyncAfter(triggerSeconds,
                       [weakUnit = std::weak_ptr(unit), address = parameter.address, rest = parameter.defaultValue] {
                         if (const auto pressed = weakUnit.lock()) {
                           pressed->auAudioUnit().setParameterValue(address, rest);
                         }
                       });
}

ControlsEditor::ControlsEditor(const std::shared_ptr<AVAudioUnit>& unit, std::shared_ptr<PresetChooser::Loaded> loaded,
                               AppState& state, MainQueue& mainQueue, Desktop& desktop)
    : presets(std::make_shared<PresetChooser>(unit, std::move(loaded), state, mainQueue, [this] { refresh(); })),
      unit_(unit),
      state_(state),
      mainQueue_(mainQueue),
      desktop_(desktop) {
  connections_.push_back(values.changed.connect([this](const auto&) { presets->compare(settings()); }));
  connections_.push_back(searchText.changed.connect([this](const auto&) { showRows(); }));
  connections_.push_back(tree.changed.connect([this](const auto&) {
    watchMessages();
    refresh();
    showRows();
  }));
}

ControlsEditor::~ControlsEditor() {
  const auto unit = unit_.lock();
  if (auto* const messages = unit != nullptr && watchesMessages_ ? messagesOf(*unit) : nullptr) {
    messages->watchMessageParameters(false);
  }
}

void ControlsEditor::watchMessages() {
  const auto unit = unit_.lock();
  auto* const messages = unit != nullptr && tree.get() != nullptr ? messagesOf(*unit) : nullptr;
  if (messages == nullptr || watchesMessages_) {
    return;
  }
  const auto& all = tree.get()->allParameters;
  watchesMessages_ =
      std::any_of(all.begin(), all.end(), [](const auto& each) { return each.address >= firstMessageParameter; });
  if (watchesMessages_) {
    messages->watchMessageParameters(true);
  }
}

void ControlsEditor::load() {
  presets->load();
  if (const auto unit = unit_.lock()) {
    unit->auAudioUnit().requestParameterTree(
        [weak = weak_from_this(), &mainQueue = mainQueue_](std::shared_ptr<const AUParameterTree> read) {
          mainQueue.async([weak, read = std::move(read)] {
            if (const auto self = weak.lock()) {
              self->tree.set(read);
            }
          });
        });
  }
}

void ControlsEditor::showRows() {
  rows.set(tree.get() == nullptr ? std::vector<ControlRow>() : controlRows(*tree.get(), searchText.get()));
}

void ControlsEditor::refresh() {
  const auto unit = unit_.lock();
  if (unit == nullptr || tree.get() == nullptr) {
    return;
  }
  auto* const messages = watchesMessages_ ? messagesOf(*unit) : nullptr;
  std::vector<float> now;
  std::vector<std::string> filesNow;
  now.reserve(tree.get()->allParameters.size());
  for (const AUParameter& parameter : tree.get()->allParameters) {
    const bool isFile = isPath(parameter);
    const float value = isFile ? 0 : unit->auAudioUnit().parameterValue(parameter.address);
    now.push_back(std::isfinite(value) ? value : parameter.defaultValue);
    if (messages != nullptr) {
      filesNow.push_back(isFile ? messages->parameterPath(parameter.address) : std::string());
    }
  }
  values.set(std::move(now));
  files.set(std::move(filesNow));
}

std::vector<float> ControlsEditor::settings() const {
  std::vector<float> settings;
  for (std::size_t index = 0; index < values.get().size(); ++index) {
    const AUParameter& parameter = tree.get()->allParameters[index];
    if (!parameter.isOutput && !parameter.isTrigger && !isPath(parameter)) {
      settings.push_back(values.get()[index]);
    }
  }
  return settings;
}

const AUParameter* ControlsEditor::settable(std::size_t index) const {
  if (tree.get() == nullptr || index >= tree.get()->allParameters.size()) {
    return nullptr;
  }
  const AUParameter& parameter = tree.get()->allParameters[index];
  return parameter.isOutput || isPath(parameter) ? nullptr : &parameter;
}

void ControlsEditor::set(std::size_t index, float value) {
  const AUParameter* const parameter = settable(index);
  const auto unit = unit_.lock();
  if (parameter == nullptr || unit == nullptr) {
    return;
  }
  const float wanted = settledControl(*parameter, value);
  if (unit->auAudioUnit().parameterValue(parameter->address) != wanted) {
    unit->auAudioUnit().setParameterValue(parameter->address, wanted);
    refresh();
    state_.markEdited();
  }
}

void ControlsEditor::reset(std::size_t index) {
  if (const AUParameter* const parameter = settable(index)) {
    set(index, parameter->defaultValue);
  }
}

void ControlsEditor::enter(std::size_t index, const std::string& text) {
  const AUParameter* const parameter = settable(index);
  if (const auto value = parameter != nullptr ? enteredControl(*parameter, text) : std::nullopt) {
    set(index, *value);
  }
}

void ControlsEditor::trigger(std::size_t index) {
  const AUParameter* const parameter = settable(index);
  const auto unit = unit_.lock();
  if (parameter != nullptr && unit != nullptr) {
    pressTrigger(unit, *parameter, mainQueue_);
  }
}

void ControlsEditor::chooseFile(std::size_t index) {
  const auto isFile = [&] {
    return tree.get() != nullptr && index < tree.get()->allParameters.size() &&
           isPath(tree.get()->allParameters[index]) &&
           LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state_);
  };
  if (!isFile()) {
    return;
  }
  const auto self = shared_from_this();  // the window may close while the panel is open
  const std::filesystem::path present = index < files.get().size() ? files.get()[index] : "";
  NSOpenPanel panel{.allowedType = FileType::audio};
  if (present.has_parent_path()) {
    panel.directory = present.parent_path();
  }
  const auto chosen = desktop_.runModal(panel);
  const auto unit = unit_.lock();
  auto* const messages = unit != nullptr ? messagesOf(*unit) : nullptr;
  if (chosen && messages != nullptr && isFile()) {
    messages->setParameterPath(tree.get()->allParameters[index].address, chosen->string());
    refresh();
    state_.markEdited();
  }
}

}  // namespace vrel
