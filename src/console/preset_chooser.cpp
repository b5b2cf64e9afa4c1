// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/preset_chooser.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>

#include "document/app_state.h"
#include "performance/live_mode_policy.h"
#include "platform/audio_unit.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

std::string foldedText(std::string_view text) {
  std::string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return folded;
}

std::string trimmedName(const std::string& text) {
  const auto begin = text.find_first_not_of(" \t\n");
  return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(" \t\n") - begin + 1);
}

}  // namespace

PresetChooser::PresetChooser(const std::shared_ptr<AVAudioUnit>& unit, std::shared_ptr<Loaded> loaded, AppState& state,
                             MainQueue& mainQueue, std::function<void()> readControls)
    : unit_(unit),
      loaded_(std::move(loaded)),
      state_(state),
      mainQueue_(mainQueue),
      readControls_(std::move(readControls)) {
  connections_.push_back(searchText.changed.connect([this](const auto&) { showRows(); }));
  connections_.push_back(state_.language.changed.connect([this](const auto&) { showRows(); }));
  showLoaded();
}

void PresetChooser::withPresets(const std::function<void(PluginPresets&)>& request) const {
  const auto unit = unit_.lock();
  if (auto* const presets = unit != nullptr ? dynamic_cast<PluginPresets*>(&unit->auAudioUnit()) : nullptr) {
    request(*presets);
  }
}

void PresetChooser::load() {
  withPresets([this](PluginPresets& presets) {
    presets.requestPresets([weak = weak_from_this(), &mainQueue = mainQueue_](std::vector<AUAudioUnitPreset> list) {
      mainQueue.async([weak, list = std::move(list)] {
        if (const auto self = weak.lock()) {
          self->presets_ = list;
          self->isOffered.set(true);
          self->showRows();
        }
      });
    });
  });
}

void PresetChooser::showRows() {
  const std::string wanted = foldedText(searchText.get());
  const std::string own(text(TextKey::ownPresets, state_.language.get()));
  std::vector<PresetRow> found;
  for (const auto& preset : presets_) {
    if (foldedText(preset.name).find(wanted) != std::string::npos ||
        foldedText(preset.bankName).find(wanted) != std::string::npos) {
      found.push_back({preset.identifier, preset.name, preset.isUserPreset ? own : preset.bankName});
    }
  }
  rows.set(std::move(found));
}

const AUAudioUnitPreset* PresetChooser::find(const std::string& identifier) const {
  const auto found = std::find_if(presets_.begin(), presets_.end(),
                                  [&](const auto& preset) { return preset.identifier == identifier; });
  return found == presets_.end() ? nullptr : &*found;
}

void PresetChooser::show(const AUAudioUnitPreset& preset) {
  shown.set(preset.identifier);
  shownName.set(preset.name);
  isOwn.set(preset.isUserPreset);
  showChange();
}

void PresetChooser::showLoaded() {
  show(loaded_->preset);
}

void PresetChooser::compare(std::vector<float> settings) {
  settings_ = std::move(settings);
  showChange();
}

void PresetChooser::showChange() {
  isChanged.set(wanted_.empty() && loaded_->isSome() && !settings_.empty() && settings_ != loaded_->settings);
}

void PresetChooser::choose(const std::string& identifier) {
  const AUAudioUnitPreset* const preset = find(identifier);
  if (preset == nullptr || !LiveModePolicy::isAllowed(LiveModeAction::choosePreset, state_)) {
    return;
  }
  wanted_ = identifier;
  show(*preset);
  if (loading_.empty()) {
    use(*preset);
  }
}

void PresetChooser::step(int rowCount) {
  const auto& all = rows.get();
  if (all.empty() || rowCount == 0) {
    return;
  }
  const auto last = static_cast<std::ptrdiff_t>(all.size()) - 1;
  const auto current =
      std::find_if(all.begin(), all.end(), [this](const auto& row) { return row.identifier == shown.get(); });
  std::ptrdiff_t next = rowCount > 0 ? 0 : last;
  if (current != all.end()) {
    next = std::clamp<std::ptrdiff_t>(std::distance(all.begin(), current) + rowCount, 0, last);
    if (all[static_cast<std::size_t>(next)].identifier == shown.get()) {
      return;  // there are no more
    }
  }
  choose(all[static_cast<std::size_t>(next)].identifier);
}

void PresetChooser::use(const AUAudioUnitPreset& preset) {
  loading_ = preset.identifier;
  withPresets([&](PluginPresets& presets) {
    presets.usePreset(preset.identifier,
                      [weak = weak_from_this(), preset, &mainQueue = mainQueue_](const Outcome& failure) {
                        mainQueue.async([weak, preset, failure] {
                          if (const auto self = weak.lock()) {
                            self->used(preset, failure);
                          }
                        });
                      });
  });
}

void PresetChooser::used(const AUAudioUnitPreset& preset, const Outcome& failure) {
  loading_.clear();
  if (failure) {
    report(TextKey::presetNotLoaded, Error{preset.name + ": " + failure->description});
  } else {
    problem.set({});
    readControls_();
    *loaded_ = {preset, settings_};
    state_.markEdited();
  }
  const AUAudioUnitPreset* const next = wanted_ == preset.identifier ? nullptr : find(wanted_);
  if (next != nullptr) {
    use(AUAudioUnitPreset(*next));
    return;
  }
  wanted_.clear();
  showLoaded();
}

void PresetChooser::report(TextKey what, const Error& why) {
  problem.set(std::string(text(what, state_.language.get())) + ": " + why.description);
}

std::vector<std::string> PresetChooser::ownNames() const {
  std::vector<std::string> names;
  for (const auto& preset : presets_) {
    if (preset.isUserPreset) {
      names.push_back(preset.name);
    }
  }
  return names;
}

void PresetChooser::save(const std::string& name, bool mayReplace) {
  const std::string wanted = trimmedName(name);
  const auto own = ownNames();
  const bool isTaken = std::find(own.begin(), own.end(), wanted) != own.end();
  if (wanted.empty() || (isTaken && !mayReplace) || !LiveModePolicy::isAllowed(LiveModeAction::savePreset, state_)) {
    return;
  }
  withPresets([&](PluginPresets& presets) {
    readControls_();
    presets.saveUserPreset(
        wanted, mayReplace,
        [weak = weak_from_this(), settings = settings_, &mainQueue = mainQueue_](Result<AUAudioUnitPreset> saved) {
          mainQueue.async([weak, settings, saved = std::move(saved)] {
            const auto self = weak.lock();
            if (self != nullptr && !saved) {
              self->report(TextKey::presetNotSaved, saved.error());
              self->load();  // another editor may have saved one of this name
            } else if (self != nullptr) {
              self->problem.set({});
              *self->loaded_ = {saved.value(), settings};
              self->showLoaded();
              self->load();
            }
          });
        });
  });
}

void PresetChooser::removeLoaded() {
  if (!loaded_->preset.isUserPreset || !wanted_.empty() ||
      !LiveModePolicy::isAllowed(LiveModeAction::deletePreset, state_)) {
    return;
  }
  withPresets([&](PluginPresets& presets) {
    presets.deleteUserPreset(loaded_->preset.identifier,
                             [weak = weak_from_this(), &mainQueue = mainQueue_](const Outcome& failure) {
                               mainQueue.async([weak, failure] {
                                 const auto self = weak.lock();
                                 if (self != nullptr && failure) {
                                   self->report(TextKey::presetNotDeleted, *failure);
                                 } else if (self != nullptr) {
                                   self->problem.set({});
                                   *self->loaded_ = {};
                                   self->showLoaded();
                                   self->load();
                                 }
                               });
                             });
  });
}

}  // namespace vrel
