// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/editors_mirror.h"

#include <QList>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "console/content_view.h"
#include "console/editor_panels.h"
#include "console/window/editor_view_model.h"
#include "document/app_state.h"
#include "performance/live_mode_policy.h"
#include "platform/message_parameters.h"

namespace vrel::window {
namespace {

using View = EditorViewModel;

QList<ControlEntry> entriesOf(const ControlsEditor& controls) {
  QList<ControlEntry> entries;
  for (const ControlRow& row : controls.rows.get()) {
    ControlEntry entry;
    entry.tree = controls.tree.get();
    entry.index = row.index;
    entry.section = QString::fromStdString(row.section);
    entries.append(entry);
  }
  return entries;
}

QList<double> valuesOf(const ControlsEditor& controls) {
  const auto& values = controls.values.get();
  return {values.begin(), values.end()};
}

/// Of a file its name.
QList<QString> textsOf(const ControlsEditor& controls) {
  QList<QString> shown;
  for (std::size_t index = 0; index < controls.texts.get().size(); ++index) {
    const std::string& text = controls.texts.get()[index];
    const bool isFile = isPath(controls.tree.get()->allParameters[index]);
    shown.append(QString::fromStdString(isFile ? std::filesystem::path(text).filename().string() : text));
  }
  return shown;
}

QList<PluginRow> presetsOf(const PresetChooser& chooser) {
  QList<PluginRow> rows;
  for (const PresetRow& row : chooser.rows.get()) {
    PluginRow shown;
    shown.section = QString::fromStdString(row.section);
    shown.key = QString::fromStdString(row.identifier);
    shown.name = QString::fromStdString(row.name);
    rows.append(shown);
  }
  return rows;
}

QList<QString> ownPresetsOf(const PresetChooser& chooser) {
  QList<QString> names;
  for (const auto& name : chooser.ownNames()) {
    names.append(QString::fromStdString(name));
  }
  return names;
}

void showPresets(MirrorPublisher<EditorViewModel>& view, PresetChooser& presets, AppState& state) {
  view.follow(View::hasPresetsKey, presets.isOffered);
  view.follow(View::presetSearchKey, presets.searchText);
  view.derive(
      View::presetsKey, [&presets] { return presetsOf(presets); }, presets.rows);
  view.derive(
      View::ownPresetNamesKey, [&presets] { return ownPresetsOf(presets); }, presets.rows);
  view.follow(View::presetKeyKey, presets.shown);
  view.follow(View::presetNameKey, presets.shownName);
  view.follow(View::isOwnPresetKey, presets.isOwn);
  view.follow(View::isPresetChangedKey, presets.isChanged);
  view.follow(View::presetProblemKey, presets.problem);
  view.derive(
      View::maySavePresetKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::savePreset, state); },
      state.isLiveModeEnabled);
}

}  // namespace

struct EditorsMirror::Shown {
  explicit Shown(MirrorSource& source) : view(source) {}

  MirrorPublisher<EditorViewModel> view;
};

EditorsMirror::EditorsMirror(MirrorSource& source, ContentView& content) : source_(source), content_(content) {
  connection_ = content_.editorPanels().shown.changed.connect([this](const auto&) { refresh(); });
  refresh();
}

EditorsMirror::~EditorsMirror() = default;

std::unique_ptr<EditorsMirror::Shown> EditorsMirror::makeShown(EditorPanel& panel) {
  auto shown = std::make_unique<Shown>(source_);
  auto& view = shown->view;
  ControlsEditor& controls = *panel.controls;
  view.set(View::editorIdKey, panel.id.text());
  view.follow(View::titleKey, panel.title);
  view.derive(
      View::contentWidthKey, [&panel] { return static_cast<int>(panel.contentSize.get().width); }, panel.contentSize);
  view.derive(
      View::contentHeightKey, [&panel] { return static_cast<int>(panel.contentSize.get().height); }, panel.contentSize);
  view.follow(View::centeringsKey, panel.centerings);
  view.follow(View::raisesKey, panel.raises);
  view.follow(View::searchTextKey, controls.searchText);
  view.derive(
      View::valuesKey, [&controls] { return valuesOf(controls); }, controls.values);
  view.derive(
      View::textsKey, [&controls] { return textsOf(controls); }, controls.texts);
  view.derive(
      View::mayChooseFileKey,
      [&state = content_.appState()] { return LiveModePolicy::isAllowed(LiveModeAction::changeInstrument, state); },
      content_.appState().isLiveModeEnabled);
  view.derive(
      View::entriesKey, [&controls] { return entriesOf(controls); }, controls.rows);
  view.derive(
      View::isLoadedKey, [&controls] { return controls.tree.get() != nullptr; }, controls.tree);
  view.derive(
      View::pendingControlKey, [this, &controls] { return pendingControl(controls); },
      content_.midiLearn().pendingPluginControl, controls.tree);
  showPresets(view, *controls.presets, content_.appState());
  return shown;
}

int EditorsMirror::pendingControl(const ControlsEditor& controls) const {
  const auto unit = controls.unit();
  const auto& tree = controls.tree.get();
  const auto control =
      unit != nullptr && tree != nullptr ? content_.learnedPluginControls().waitingControl(unit, *tree) : std::nullopt;
  return control ? static_cast<int>(*control) : -1;
}

void EditorsMirror::refresh() {
  std::vector<MirrorId> rows;
  std::set<Uuid> present;
  for (const auto& panel : content_.editorPanels().shown.get()) {
    auto& shown = editors_[panel->id];
    if (shown == nullptr) {
      shown = makeShown(*panel);
    }
    rows.push_back(shown->view.id);
    present.insert(panel->id);
  }
  std::erase_if(editors_, [&](const auto& entry) { return !present.contains(entry.first); });
  source_.setRows(mirror_ids::editors, std::move(rows));
}

}  // namespace vrel::window
