// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/panels_mirror.h"

#include <QList>
#include <memory>
#include <string>
#include <vector>

#include "console/content_view.h"
#include "console/plugin_preferences.h"
#include "console/strips_on_stage.h"
#include "console/window/strip_color.h"
#include "document/app_state.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel::window {
namespace {

/// Calls `changed` after each change of any of the values.
template <typename Changed, typename... Values>
void watch(std::vector<std::shared_ptr<void>>& connections, const Changed& changed, Values&... values) {
  (connections.push_back(values.changed.connect(changed)), ...);
}

void append(QList<PluginRow>& rows, const AppState& state, const QString& section, const AVAudioUnitComponent& plugin) {
  const auto key = pluginKey(plugin);
  rows.append({section, QString::fromStdString(key), QString::fromStdString(plugin.name),
               QString::fromStdString(plugin.manufacturerName), isFavouritePlugin(state, key)});
}

void append(QList<PluginRow>& rows, const AppState& state, TextKey heading,
            const std::vector<AVAudioUnitComponent>& plugins) {
  const auto title = text(heading, state.language.get());
  for (const auto& plugin : plugins) {
    append(rows, state, QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size())), plugin);
  }
}

QList<PluginRow> rowsOf(const AppState& state, const std::vector<AVAudioUnitComponent>& nearest,
                        const std::vector<AVAudioUnitComponent>& preferred, const std::vector<PluginGroup>& groups) {
  QList<PluginRow> rows;
  append(rows, state, TextKey::nearestPlugins, nearest);
  append(rows, state, TextKey::favouritesTitle, preferred);
  for (const auto& group : groups) {
    for (const auto& plugin : group.plugins) {
      append(rows, state, QString::fromStdString(group.manufacturerName), plugin);
    }
  }
  return rows;
}

}  // namespace

PanelsMirror::PanelsMirror(MirrorSource& source, ContentView& content)
    : content_(content),
      selector_(source, mirror_ids::selector),
      rack_(source, mirror_ids::rack),
      learned_(source, mirror_ids::learned),
      songControl_(source, mirror_ids::songControl) {
  mirrorSelector(source);
  mirrorRack(source);
  mirrorLearned(source);
  mirrorSongControl(source);
}

void PanelsMirror::mirrorSelector(MirrorSource& source) {
  using View = SelectorViewModel;
  AppState& state = content_.appState();
  const auto markInstruments = [this, &source](const auto&) {
    areInstrumentsNew_ = true;
    source.schedule();
  };
  watch(connections_, markInstruments, state.scannedPlugins, state.pluginSelectorFilter, state.pluginSelectorChannelId,
        state.favouritePlugins, state.recentPlugins, state.language);
  selector_.derive(
      View::isOpenKey, [&state] { return state.pluginSelectorChannelId.get().has_value(); },
      state.pluginSelectorChannelId);
  selector_.follow(View::searchTextKey, state.pluginSelectorFilter);
  selector_.follow(View::triedKeyKey, content_.instrumentSelector().triedKey);
}

void PanelsMirror::mirrorRack(MirrorSource& source) {
  using View = RackViewModel;
  AppState& state = content_.appState();
  EffectRack& rack = content_.effectRack();
  const auto markEffects = [this, &source](const auto&) {
    areEffectsNew_ = true;
    source.schedule();
  };
  watch(connections_, markEffects, state.scannedAudioEffectPlugins, rack.searchText, rack.openChannelId,
        state.favouritePlugins, state.recentPlugins, state.language);
  watch(
      connections_, [this, &source](const auto&) { followOpenRack(source); }, rack.openChannelId);
  rack_.derive(
      View::isOpenKey, [&rack] { return rack.openChannelId.get().has_value(); }, rack.openChannelId);
  rack_.follow(View::replacedSlotIdKey, rack.replacedSlotId);
  rack_.follow(View::searchTextKey, rack.searchText);
  rack_.derive(
      View::mayChangeKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::changeRack, state); },
      state.isLiveModeEnabled);
}

void PanelsMirror::followOpenRack(MirrorSource& source) {
  rackConnections_.clear();
  if (const auto channel = content_.effectRack().channel()) {
    watch(
        rackConnections_, [&source](const auto&) { source.schedule(); }, channel->effectSlots, channel->effectNodes,
        channel->failedEffects, content_.effectRack().revivedSlots);
  }
}

void PanelsMirror::refresh() {
  refreshSelector();
  refreshRack();
  refreshLearned();
  refreshSongControl();
}

void PanelsMirror::refreshSelector() {
  using View = SelectorViewModel;
  InstrumentSelector& selector = content_.instrumentSelector();
  const auto channel = selector.channel();
  if (channel == nullptr) {
    return;  // what was shown last stays until the panel has gone
  }
  selector_.set(View::stripNameKey, numberedName(content_.audioEngine(), *channel));
  selector_.set(View::colorKey, colorOf(channel->color.get()));
  selector_.set(View::loadedKeyKey, channel->pluginPath.get());
  if (areInstrumentsNew_) {
    areInstrumentsNew_ = false;
    selector_.set(View::rowsKey,
                  rowsOf(content_.appState(), selector.nearest(), selector.preferred(), selector.groups()));
  }
}

void PanelsMirror::refreshRack() {
  using View = RackViewModel;
  EffectRack& rack = content_.effectRack();
  const auto channel = rack.channel();
  if (channel == nullptr) {
    return;  // what was shown last stays until the panel has gone
  }
  rack_.set(View::ownerNameKey, numberedName(content_.audioEngine(), *channel));
  rack_.set(View::colorKey, colorOf(channel->color.get()));
  QList<RackSlot> effects;
  for (const auto& slot : EffectRack::occupiedSlots(*channel)) {
    effects.append({QString::fromStdString(slot.id.text()), QString::fromStdString(slot.pluginName),
                    !channel->effectNodes.get().contains(slot.id), channel->failedEffects.get().contains(slot.id),
                    rack.isInstalled(slot), rack.revivedSlots.get().contains(slot.id)});
  }
  rack_.set(View::effectsKey, effects);
  if (areEffectsNew_) {
    areEffectsNew_ = false;
    rack_.set(View::rowsKey, rowsOf(content_.appState(), {}, rack.preferred(), rack.groups()));
  }
}

void PanelsMirror::mirrorLearned(MirrorSource& source) {
  using View = LearnedControlsViewModel;
  AppState& state = content_.appState();
  auto& isShown = content_.learnedControls().isShown;
  watch(
      connections_, [&source](const auto&) { source.schedule(); }, state.globalMidiControlAssignments, state.songs,
      state.language, isShown);
  learned_.follow(View::isOpenKey, isShown);
  learned_.derive(
      View::mayRemoveKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::clearMidiLearn, state); },
      state.isLiveModeEnabled);
}

void PanelsMirror::refreshLearned() {
  if (!content_.learnedControls().isShown.get()) {
    return;
  }
  QList<LearnedEntry> rows;
  for (const auto& control : content_.learnedControls().all()) {
    LearnedEntry row;
    row.controlId = QString::fromStdString(control.id);
    row.control = QString::fromStdString(control.control);
    row.source = QString::fromStdString(control.source);
    row.place = QString::fromStdString(control.place);
    rows.append(row);
  }
  learned_.set(LearnedControlsViewModel::controlsKey, rows);
}

void PanelsMirror::mirrorSongControl(MirrorSource& source) {
  using View = SongControlViewModel;
  AppState& state = content_.appState();
  auto& isShown = content_.songControlPage().isShown;
  watch(
      connections_, [&source](const auto&) { source.schedule(); }, state.globalMidiControlAssignments, state.songs,
      state.songControl, content_.songRequests().lastProgram, isShown);
  songControl_.follow(View::isOpenKey, isShown);
  songControl_.derive(
      View::mayEditKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::clearMidiLearn, state); },
      state.isLiveModeEnabled);
}

void PanelsMirror::refreshSongControl() {
  using View = SongControlViewModel;
  const SongControlPage& page = content_.songControlPage();
  if (!page.isShown.get()) {
    return;
  }
  const SongControl& control = content_.appState().songControl.get();
  songControl_.set(View::isByProgramChangeKey, control.byProgramChange);
  songControl_.set(View::midiChannelKey, control.midiChannel ? *control.midiChannel + 1 : 0);
  songControl_.set(View::guardMillisecondsKey, static_cast<int>(control.stepGuardMilliseconds));
  songControl_.set(View::letRingSecondsKey, static_cast<int>(control.letRingSeconds));
  songControl_.set(View::nextSourceKey, page.sourceOf(MidiControlKind::nextSong));
  songControl_.set(View::previousSourceKey, page.sourceOf(MidiControlKind::previousSong));
  const auto& last = content_.songRequests().lastProgram.get();
  songControl_.set(View::lastProgramKey, last ? programText(*last) : std::string());
  QList<SongProgramEntry> rows;
  for (const auto& song : page.rows()) {
    SongProgramEntry row;
    row.songId = QString::fromStdString(song.songId);
    row.name = QString::fromStdString(song.name);
    row.program = QString::fromStdString(song.program);
    rows.append(row);
  }
  songControl_.set(View::songsKey, rows);
}

}  // namespace vrel::window
