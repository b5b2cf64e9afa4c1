// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_mirror.h"

#include <QList>
#include <QString>
#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "console/content_view.h"
#include "console/control_laws.h"
#include "console/instrument_reload.h"
#include "console/problem_text.h"
#include "console/status_words.h"
#include "console/window/strip_color.h"
#include "console/window_settings.h"
#include "document/app_state.h"
#include "document/note_name.h"
#include "document/value_scales.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel::window {
/// A strip's copy.
struct ConsoleMirror::Strip {
  explicit Strip(MirrorSource& source) : view(source) {}
  std::shared_ptr<AudioChannel> channel;  // what it reads, until the next refresh releases it
  MirrorPublisher<StripViewModel> view;
  std::vector<std::shared_ptr<void>> connections;
};

namespace {

/// Or needs none.
bool hasItsInstrument(const AudioChannel& channel) {
  const auto status = channel.status.get();
  return status == ChannelStatus::running || status == ChannelStatus::noPlugin;
}

bool hasItsEffects(const AudioChannel& channel) {
  const auto slots = EffectRack::occupiedSlots(channel);
  return std::all_of(slots.begin(), slots.end(),
                     [&](const auto& slot) { return channel.effectNodes.get().contains(slot.id); });
}

}  // namespace

ConsoleMirror::ConsoleMirror(MirrorSource& source, ContentView& content, Observable<std::optional<NSAlert>>& shownAlert)
    : source_(source),
      content_(content),
      session_(source, mirror_ids::session),
      master_(source, mirror_ids::master),
      texts_(source, mirror_ids::texts),
      alert_(source, mirror_ids::alert),
      menuBar_(source, mirror_ids::menuBar),
      panels_(source, content),
      editors_(source, content),
      track_(source, content),
      clips_(source, content),
      help_(source, content),
      setlistPages_(source, content) {
  mirrorSession();
  mirrorPerformance();
  mirrorPolicy();
  mirrorEditing();
  mirrorMaster();
  mirrorAlert(shownAlert);
  mirrorProblems();
  setMenus({});
  source_.refresh = [this] { refresh(); };
  const auto refreshSoon = [this](const auto&) { source_.schedule(); };
  connections_.push_back(content_.appState().songs.changed.connect(refreshSoon));
  connections_.push_back(content_.selection().channelsViewVersion.changed.connect(refreshSoon));
  source_.schedule();
}

ConsoleMirror::~ConsoleMirror() {
  source_.refresh = nullptr;
}

void ConsoleMirror::mirrorSession() {
  using View = SessionViewModel;
  AppState& state = content_.appState();
  texts_.derive(
      TextsViewModel::languageKey, [&state] { return static_cast<int>(state.language.get()); }, state.language);
  session_.derive(
      View::fileNameKey,
      [&state] {
        const auto& path = state.currentFilePath.get();
        return path ? path->filename().string() : std::string();
      },
      state.currentFilePath);
  session_.follow(View::isDirtyKey, state.isDirty);
  session_.derive(
      View::selectedSongIndexKey,
      [&state] { return state.selectedSongIndex.get() ? static_cast<int>(*state.selectedSongIndex.get()) : -1; },
      state.selectedSongIndex);
  const auto songName = [&state](std::size_t ahead) {
    const auto& songs = state.songs.get();
    const auto index = state.selectedSongIndex.get();
    return index && *index + ahead < songs.size() ? songs[*index + ahead].name : std::string();
  };
  session_.derive(
      View::stageSongKey, [songName] { return songName(0); }, state.songs, state.selectedSongIndex);
  session_.derive(
      View::nextSongKey, [songName] { return songName(1); }, state.songs, state.selectedSongIndex);
  session_.follow(View::isSwitchingKey, state.songSwitchInProgress);
  session_.derive(
      View::switchTextKey, [&state] { return songSwitchText(state); }, state.songSwitchInProgress,
      state.songSwitchElapsedMs);
  session_.follow(View::tempoBpmKey, state.tempoBpm);
  session_.follow(View::songNotesKey, state.songNotes);
  session_.follow(View::hasLargeNotesKey, content_.largeNotes().isShown);
  session_.follow(View::notesPositionKey, content_.largeNotes().position);
  session_.follow(View::keyboardStartNoteKey, state.keyboardStartNote);
  session_.follow(View::keyboardKeyCountKey, state.keyboardKeyCount);
  session_.follow(View::midiPortNameKey, state.activeMidiPortName);
  session_.derive(
      View::hasMidiPortKey, [&state] { return isMidiPort(state.activeMidiPortName.get()); }, state.activeMidiPortName);
  session_.follow(View::isLoadingKey, state.showLoadingModal);
  session_.follow(View::loadingMessageKey, state.loadingMessage);
  session_.follow(View::isLookingForPluginsKey, state.isLookingForPlugins);
  session_.follow(View::remainingLoadsKey, state.remainingLoadsCount);
  session_.follow(View::totalLoadsKey, state.totalLoadsCount);
  session_.derive(
      View::loadingProgressKey,
      [&state] { return loadingProgress(state.totalLoadsCount.get(), state.remainingLoadsCount.get()).value_or(-1); },
      state.totalLoadsCount, state.remainingLoadsCount);
}

void ConsoleMirror::mirrorPolicy() {
  using View = SessionViewModel;
  AppState& state = content_.appState();
  const auto permit = [&](const auto& key, LiveModeAction action) {
    session_.derive(
        key, [&state, action] { return LiveModePolicy::isAllowed(action, state); }, state.isLiveModeEnabled);
  };
  permit(View::mayRenameSongKey, LiveModeAction::renameSong);
  permit(View::mayTypeTextKey, LiveModeAction::typeText);
  permit(View::mayMoveChannelsKey, LiveModeAction::moveChannels);
  permit(View::mayAddChannelKey, LiveModeAction::addChannel);
  permit(View::mayCutChannelKey, LiveModeAction::cutChannel);
  permit(View::mayCopyChannelKey, LiveModeAction::copyChannel);
  permit(View::mayPasteChannelKey, LiveModeAction::pasteChannel);
  permit(View::mayDuplicateChannelKey, LiveModeAction::duplicateChannel);
  permit(View::mayDeleteChannelKey, LiveModeAction::deleteChannel);
  permit(View::mayChooseMasterColorKey, LiveModeAction::chooseMasterColor);
  permit(View::mayChangeInstrumentKey, LiveModeAction::changeInstrument);
}

void ConsoleMirror::mirrorPerformance() {
  using View = SessionViewModel;
  using Kind = learn_kind::Kind;
  AppState& state = content_.appState();
  auto& pending = content_.midiLearn().pendingMidiLearnTarget;
  auto& control = content_.midiLearn().pendingPluginControl;
  session_.follow(View::isLiveKey, state.isLiveModeEnabled);
  session_.follow(View::isLearningKey, state.isMidiLearnMode);
  session_.derive(
      View::learnLabelKey,
      [&state, &pending, &control] {
        return midiLearnButtonLabel(state.language.get(), pending.get().has_value() || control.get().has_value());
      },
      state.language, pending, control);
  session_.derive(
      View::pendingLearnKindKey,
      [&pending] { return pending.get() ? static_cast<Kind>(pending.get()->kind) : Kind::None; }, pending);
  session_.derive(
      View::pendingLearnChannelKey,
      [&pending] { return pending.get() ? pending.get()->channelIndex.value_or(-1) : -1; }, pending);
}

void ConsoleMirror::mirrorEditing() {
  using View = SessionViewModel;
  SongList& songs = content_.songList();
  ChannelOperations& strips = content_.channelOperations();
  session_.follow(View::editingSongIdKey, songs.editingSongId);
  session_.follow(View::songNameDraftKey, songs.editingSongNameDraft);
  AppState& state = content_.appState();
  auto& damaged = content_.setlistFiles().damagedSetlist;
  session_.derive(
      View::canOpenNewestCopyKey,
      [&state, &damaged] {
        return damaged.get().has_value() && LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state);
      },
      damaged, state.isLiveModeEnabled);
  session_.derive(
      View::canPasteKey, [&strips] { return strips.channelClipboard.get().has_value(); }, strips.channelClipboard);
}

void ConsoleMirror::mirrorMaster() {
  using View = MasterViewModel;
  AudioChannel& master = *content_.audioEngine().masterChannel();
  master_.set(View::channelIdKey, master.id.text());
  master_.derive(
      View::effectCountKey, [&master] { return EffectRack::occupiedSlots(master).size(); }, master.effectSlots);
  master_.derive(
      View::hasFailedEffectKey, [&master] { return !master.failedEffects.get().empty(); }, master.failedEffects);
  master_.follow(View::volumeKey, master.volume);
  master_.derive(
      View::volumeTextKey, [&master] { return ChannelFaderScale::text(master.volume.get()); }, master.volume);
  master_.follow(View::muteKey, master.mute);
  master_.derive(
      View::colorKey, [&master] { return colorOf(master.color.get()); }, master.color);
}

void ConsoleMirror::mirrorAlert(Observable<std::optional<NSAlert>>& shownAlert) {
  const auto show = [this](const std::optional<NSAlert>& alert) {
    using View = AlertViewModel;
    const NSAlert words = alert.value_or(NSAlert());
    alert_.set(View::isShownKey, alert.has_value());
    alert_.set(View::isWarningKey, words.alertStyle == NSAlert::Style::warning);
    alert_.set(View::messageKey, words.messageText);
    alert_.set(View::informativeKey, words.informativeText);
    QList<QString> buttons;
    for (const auto& button : words.buttons) {
      buttons.append(QString::fromStdString(button));
    }
    alert_.set(View::buttonsKey, buttons);
  };
  show(shownAlert.get());
  connections_.push_back(shownAlert.changed.connect(show));
}

void ConsoleMirror::setMenus(const QList<MenuEntry>& menus) {
  menuBar_.set(MenuBarViewModel::menusKey, menus);
}

void ConsoleMirror::mirrorSettings(WindowSettings& settings) {
  session_.follow(SessionViewModel::zoomPercentKey, settings.zoomPercent);
  session_.follow(SessionViewModel::isKeyboardFoldedKey, settings.isKeyboardFolded);
  session_.follow(SessionViewModel::isStageFoldedKey, settings.isStageFolded);
  session_.follow(SessionViewModel::notesTextSizeKey, settings.notesTextSize);
  session_.follow(SessionViewModel::notesDisplayKey, settings.notesDisplay);
}

void ConsoleMirror::mirrorCollecting(Observable<std::optional<double>>& progress) {
  session_.derive(
      SessionViewModel::collectedKey, [&progress] { return progress.get() ? std::max(*progress.get(), 0.001) : 0.0; },
      progress);
}

void ConsoleMirror::setProjected(bool isProjected) {
  session_.set(SessionViewModel::isProjectedKey, isProjected);
}

void ConsoleMirror::setDropouts(std::uint64_t count) {
  session_.set(SessionViewModel::dropoutsKey, std::min<std::uint64_t>(count, std::numeric_limits<int>::max()));
}

void ConsoleMirror::setAudioOutput(bool isMissing, const std::string& awaited) {
  session_.set(SessionViewModel::isAudioOutputMissingKey, isMissing);
  session_.set(SessionViewModel::awaitedAudioOutputKey, awaited);
  if (!isMissing && shownProblem_ == FailureKind::output) {
    clearProblem();
  }
}

void ConsoleMirror::addProblem(FailureKind kind, const std::string& line) {
  shownProblem_ = kind;
  mayBeMended_ = false;  // what has failed is said after the change that it is about
  session_.set(SessionViewModel::problemKey, problemText(line, knownPlugins(content_.appState())));
  session_.set(SessionViewModel::problemCountKey, ++problemCount_);  // the same line again is another problem
}

void ConsoleMirror::mirrorProblems() {
  AppState& state = content_.appState();
  // What the last song had to say is over when the next one begins; what this switch says comes after.
  connections_.push_back(state.songSwitchLoadToken.changed.connect([this](const auto&) { clearProblem(); }));
  connections_.push_back(state.isDirty.changed.connect([this](bool isDirty) {
    if (!isDirty && shownProblem_ == FailureKind::save) {
      clearProblem();
    }
  }));
  AudioChannel& master = *content_.audioEngine().masterChannel();
  connections_.push_back(master.effectSlots.changed.connect([this](const auto&) { checkProblemSoon(); }));
  connections_.push_back(master.effectNodes.changed.connect([this](const auto&) { checkProblemSoon(); }));
}

/// After a change of an instrument or an effect; at the end of the turn, since a strip on which the old instrument runs
/// again may get a status that says what has failed.
void ConsoleMirror::checkProblemSoon() {
  mayBeMended_ = true;
  source_.schedule();
}

void ConsoleMirror::clearMendedProblem() {
  if (!std::exchange(mayBeMended_, false)) {
    return;
  }
  const AudioEngine& engine = content_.audioEngine();
  const auto& channels = engine.channels();
  const auto haveAll = [&channels](bool (*has)(const AudioChannel&)) {
    return std::all_of(channels.begin(), channels.end(), [has](const auto& channel) { return has(*channel); });
  };
  const bool isMended =
      (shownProblem_ == FailureKind::instrument && haveAll(hasItsInstrument)) ||
      (shownProblem_ == FailureKind::effect && haveAll(hasItsEffects) && hasItsEffects(*engine.masterChannel()));
  if (isMended) {
    clearProblem();
  }
}

void ConsoleMirror::clearProblem() {
  shownProblem_.reset();
  session_.set(SessionViewModel::problemKey, std::string());
}

void ConsoleMirror::refresh() {
  refreshSongs();
  refreshStrips();
  clearMendedProblem();
  panels_.refresh();
  clips_.refresh();
}

void ConsoleMirror::refreshSongs() {
  const auto& songs = content_.appState().songs.get();
  std::vector<MirrorId> rows;
  std::set<Uuid> present;
  for (const SongConfig& song : songs) {
    auto& view = songs_[song.id];
    if (view == nullptr) {
      view = std::make_unique<MirrorPublisher<SongViewModel>>(source_);
      view->set(SongViewModel::songIdKey, song.id.text());
    }
    view->set(SongViewModel::nameKey, song.name);
    rows.push_back(view->id);
    present.insert(song.id);
  }
  std::erase_if(songs_, [&](const auto& entry) { return !present.contains(entry.first); });
  if (rows != songRows_) {
    songRows_ = rows;
    source_.setRows(mirror_ids::songs, std::move(rows));
  }
}

void ConsoleMirror::refreshStrips() {
  const auto& channels = content_.audioEngine().channels();
  std::vector<MirrorId> rows;
  std::set<Uuid> present;
  for (std::size_t index = 0; index < channels.size(); ++index) {
    auto& strip = strips_[channels[index]->id];
    if (strip == nullptr) {
      strip = makeStrip(channels[index]);
    }
    strip->view.set(StripViewModel::indexKey, index);
    strip->view.set(StripViewModel::numberKey, index + 1);
    rows.push_back(strip->view.id);
    present.insert(channels[index]->id);
  }
  std::erase_if(strips_, [&](const auto& entry) { return !present.contains(entry.first); });
  if (rows != stripRows_) {
    stripRows_ = rows;
    source_.setRows(mirror_ids::strips, std::move(rows));
    mayBeMended_ = true;
  }
}

std::unique_ptr<ConsoleMirror::Strip> ConsoleMirror::makeStrip(const std::shared_ptr<AudioChannel>& shared) {
  auto strip = std::make_unique<Strip>(source_);
  AudioChannel& channel = *shared;
  AppState& state = content_.appState();
  auto& selected = content_.selection().selectedChannelId;
  using View = StripViewModel;
  MirrorPublisher<View>& view = strip->view;
  view.set(View::channelIdKey, channel.id.text());
  view.follow(View::nameKey, channel.name);
  view.derive(
      View::statusKey, [&] { return static_cast<View::Status>(channel.status.get()); }, channel.status);
  view.derive(
      View::instrumentKey,
      [&] {
        return static_cast<View::Instrument>(instrumentState(channel.status.get(), !channel.pluginPath.get().empty()));
      },
      channel.status, channel.pluginPath);
  view.derive(
      View::statusTextKey, [&] { return stripStatusText(channel.status.get(), state.language.get()); }, channel.status,
      state.language);
  view.derive(
      View::instrumentTextKey,
      [&] {
        // One that could not load keeps the name of what it wanted, where that is known.
        const bool isEmpty = channel.pluginPath.get().empty() &&
                             (channel.status.get() != ChannelStatus::loadFailed || channel.pluginName.get().empty());
        return isEmpty ? std::string(text(TextKey::noPlugin, state.language.get())) : channel.pluginName.get();
      },
      channel.pluginPath, channel.pluginName, channel.status, state.language);
  view.derive(
      View::hasInstrumentKey, [&] { return !channel.pluginPath.get().empty(); }, channel.pluginPath);
  view.derive(
      View::isVisualKey, [&] { return channel.pluginKind() == PluginPathKind::visual; }, channel.pluginPath);
  view.derive(
      View::isPlaybackKey, [&] { return channel.pluginKind() == PluginPathKind::playback; }, channel.pluginPath);
  view.derive(
      View::effectCountKey, [&] { return EffectRack::occupiedSlots(channel).size(); }, channel.effectSlots);
  view.derive(
      View::hasFailedEffectKey, [&] { return !channel.failedEffects.get().empty(); }, channel.failedEffects);
  view.follow(View::volumeKey, channel.volume);
  view.derive(
      View::volumeTextKey, [&] { return ChannelFaderScale::text(channel.volume.get()); }, channel.volume);
  view.follow(View::muteKey, channel.mute);
  view.follow(View::soloKey, channel.solo);
  view.derive(
      View::colorKey, [&] { return colorOf(channel.color.get()); }, channel.color);
  view.follow(View::isPlayingKey, channel.playbackIsPlaying);
  view.derive(
      View::isSelectedKey, [&] { return selected.get() == channel.id; }, selected);
  mirrorControls(view, channel);
  const auto check = [this](const auto&) { checkProblemSoon(); };
  strip->connections = {channel.status.changed.connect(check), channel.effectSlots.changed.connect(check),
                        channel.effectNodes.changed.connect(check)};
  strip->channel = shared;
  return strip;
}

void ConsoleMirror::mirrorControls(MirrorPublisher<StripViewModel>& view, AudioChannel& channel) {
  using View = StripViewModel;
  view.follow(View::gainKey, channel.gain);
  view.derive(
      View::gainTextKey, [&] { return ChannelGainScale::text(channel.gain.get()); }, channel.gain);
  view.follow(View::reverbKey, channel.reverb);
  view.derive(
      View::reverbTextKey, [&] { return ChannelReverbScale::text(channel.reverb.get()); }, channel.reverb);
  view.derive(
      View::canCrashKey, [&] { return InstrumentReload::canCrash(channel); }, channel.status, channel.instrumentNode);
  view.derive(
      View::canReviveKey, [&] { return InstrumentReload::canRevive(channel); }, channel.status, channel.pluginPath);
  view.follow(View::transposeKey, channel.transpose);
  view.derive(
      View::transposeTextKey, [&] { return transposeText(channel.transpose.get()); }, channel.transpose);
  view.follow(View::minNoteKey, channel.minNote);
  view.derive(
      View::minNoteNameKey, [&] { return noteName(channel.minNote.get()); }, channel.minNote);
  view.follow(View::maxNoteKey, channel.maxNote);
  view.derive(
      View::maxNoteNameKey, [&] { return noteName(channel.maxNote.get()); }, channel.maxNote);
  view.follow(View::sendSustainKey, channel.sendSustain);
  view.follow(View::sendExpressionKey, channel.sendExpression);
  view.follow(View::sustainControlsRotorKey, channel.sustainControlsRotor);
}

}  // namespace vrel::window
