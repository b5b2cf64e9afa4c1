// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/controls_editor.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "console/parameter_files.h"
#include "document/app_state.h"
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
  std::vector<std::string> textsNow;
  now.reserve(tree.get()->allParameters.size());
  for (const AUParameter& parameter : tree.get()->allParameters) {
    const bool isOfText = !isNumber(parameter);
    const float value = isOfText ? 0 : unit->auAudioUnit().parameterValue(parameter.address);
    now.push_back(std::isfinite(value) ? value : parameter.defaultValue);
    if (messages != nullptr) {
      textsNow.push_back(isOfText ? messages->parameterText(parameter.address) : std::string());
    }
  }
  values.set(std::move(now));
  texts.set(std::move(textsNow));
}

std::vector<float> ControlsEditor::settings() const {
  std::vector<float> settings;
  for (std::size_t index = 0; index < values.get().size(); ++index) {
    const AUParameter& parameter = tree.get()->allParameters[index];
    if (!parameter.isOutput && !parameter.isTrigger && isNumber(parameter)) {
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
  return parameter.isOutput || !isNumber(parameter) ? nullptr : &parameter;
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
  if (tree.get() != nullptr && index < tree.get()->allParameters.size() && isText(tree.get()->allParameters[index])) {
    setText(tree.get()->allParameters[index], text);
    return;
  }
  const AUParameter* const parameter = settable(index);
  if (const auto value = parameter != nullptr ? enteredControl(*parameter, text) : std::nullopt) {
    set(index, *value);
  }
}

void ControlsEditor::setText(const AUParameter& parameter, const std::string& text) {
  const auto unit = unit_.lock();
  auto* const messages = unit != nullptr ? messagesOf(*unit) : nullptr;
  if (messages != nullptr && !parameter.isOutput && text.size() <= longestParameterText &&
      messages->parameterText(parameter.address) != text) {
    messages->setParameterText(parameter.address, text);
    refresh();
    state_.markEdited();
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
  if (tree.get() == nullptr || index >= tree.get()->allParameters.size() || !isPath(tree.get()->allParameters[index])) {
    return;
  }
  const auto self = shared_from_this();  // the window may close while the panel is open
  if (chooseParameterFile(unit_, tree.get()->allParameters[index].address, state_, desktop_)) {
    refresh();
  }
}

}  // namespace vrel
