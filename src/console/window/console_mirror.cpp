// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_mirror.h"

#include <QColor>
#include <QStringList>
#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "console/content_view.h"
#include "console/song_switch_status.h"
#include "console/status_words.h"
#include "document/app_state.h"
#include "document/stored_texts.h"
#include "document/value_scales.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel::window {
namespace {

QVariant colorOf(const std::vector<float>& components) {
  const auto part = [&](std::size_t index) { return index < components.size() ? components[index] : 0.0F; };
  return QColor::fromRgbF(part(0), part(1), part(2));
}

QString learnTargetKey(const std::optional<MidiControlTarget>& target) {
  if (!target) {
    return {};
  }
  auto key = QString::fromUtf8(storedText(target->kind).data(), static_cast<int>(storedText(target->kind).size()));
  if (target->channelIndex) {
    key += QLatin1Char('/') + QString::number(*target->channelIndex);
  }
  return key;
}

}  // namespace

/// A strip's copy, with the meter that it feeds.
struct ConsoleMirror::Strip {
  explicit Strip(MirrorSource& source) : object(source) {}
  std::shared_ptr<AudioChannel> channel;  // what it looks at, until the next refresh lets go of it
  std::shared_ptr<MeterCell> cell;
  MirrorPublisher object;
  std::vector<std::shared_ptr<void>> connections;
};

ConsoleMirror::ConsoleMirror(MirrorSource& source, ContentView& content, Observable<std::optional<NSAlert>>& shownAlert,
                             MeterBoard& meters)
    : source_(source),
      content_(content),
      meters_(meters),
      session_(source, mirror_ids::session),
      master_(source, mirror_ids::master),
      texts_(source, mirror_ids::texts),
      alert_(source, mirror_ids::alert),
      menuBar_(source, mirror_ids::menuBar) {
  mirrorSession();
  mirrorPerformance();
  mirrorPolicy();
  mirrorEditing();
  mirrorTexts();
  mirrorMaster();
  mirrorAlert(shownAlert);
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
  AppState& state = content_.appState();
  session_.derive(
      "language", [&state] { return static_cast<int>(state.language.get()); }, state.language);
  QStringList codes;
  for (const Language language : allLanguages) {
    codes.append(QString::fromStdString(std::string(code(language))));
  }
  session_.set("languageCodes", QVariant(codes));
  session_.derive(
      "fileName",
      [&state] {
        const auto& path = state.currentFilePath.get();
        return path ? path->filename().string() : std::string();
      },
      state.currentFilePath);
  session_.follow("isDirty", state.isDirty);
  session_.derive(
      "selectedSongIndex",
      [&state] { return state.selectedSongIndex.get() ? static_cast<int>(*state.selectedSongIndex.get()) : -1; },
      state.selectedSongIndex);
  session_.follow("switchInProgress", state.songSwitchInProgress);
  session_.derive(
      "switchText", [&state] { return songSwitchStatus(state).text; }, state.songSwitchInProgress,
      state.songSwitchElapsedMs);
  session_.follow("tempoBpm", state.tempoBpm);
  session_.follow("songNotes", state.songNotes);
  session_.follow("midiPortName", state.activeMidiPortName);
  session_.derive(
      "hasMidiPort", [&state] { return isMidiPort(state.activeMidiPortName.get()); }, state.activeMidiPortName);
  session_.follow("showLoading", state.showLoadingModal);
  session_.follow("loadingMessage", state.loadingMessage);
  session_.follow("remainingLoads", state.remainingLoadsCount);
  session_.follow("totalLoads", state.totalLoadsCount);
  session_.derive(
      "loadingProgress",
      [&state] { return loadingProgress(state.totalLoadsCount.get(), state.remainingLoadsCount.get()).value_or(-1); },
      state.totalLoadsCount, state.remainingLoadsCount);
  session_.set("problems", std::string());
  session_.set("problemCount", problemCount_);
  setDropouts(0);
}

void ConsoleMirror::mirrorPolicy() {
  struct Permission {
    const char* name;
    LiveModeAction action;
  };
  constexpr std::array permissions{Permission{"mayRenameSong", LiveModeAction::renameSong},
                                   Permission{"mayTypeText", LiveModeAction::typeText},
                                   Permission{"mayMoveChannels", LiveModeAction::moveChannels},
                                   Permission{"mayAddChannel", LiveModeAction::addChannel},
                                   Permission{"mayCutChannel", LiveModeAction::cutChannel},
                                   Permission{"mayCopyChannel", LiveModeAction::copyChannel},
                                   Permission{"mayPasteChannel", LiveModeAction::pasteChannel},
                                   Permission{"mayDuplicateChannel", LiveModeAction::duplicateChannel},
                                   Permission{"mayDeleteChannel", LiveModeAction::deleteChannel}};
  AppState& state = content_.appState();
  for (const auto& permission : permissions) {
    session_.derive(
        permission.name, [&state, action = permission.action] { return LiveModePolicy::isAllowed(action, state); },
        state.isLiveModeEnabled);
  }
}

void ConsoleMirror::mirrorPerformance() {
  AppState& state = content_.appState();
  auto& pending = content_.midiLearn().pendingMidiLearnTarget;
  session_.follow("isLive", state.isLiveModeEnabled);
  session_.derive(
      "modeWord", [&state] { return std::string(state.isLiveModeEnabled.get() ? "LIVE" : "EDIT"); },
      state.isLiveModeEnabled);
  session_.follow("isLearning", state.isMidiLearnMode);
  session_.derive(
      "learnLabel",
      [&state, &pending] { return midiLearnButtonLabel(state.language.get(), pending.get().has_value()); },
      state.language, pending);
  session_.derive(
      "pendingLearnTarget", [&pending] { return learnTargetKey(pending.get()); }, pending);
}

void ConsoleMirror::mirrorEditing() {
  SongList& songs = content_.songList();
  ChannelOperations& strips = content_.channelOperations();
  session_.follow("editingSongId", songs.editingSongId);
  session_.follow("songNameDraft", songs.editingSongNameDraft);
  session_.follow("draggedSongId", songs.draggedSongId);
  session_.follow("dropTargetSongId", songs.dropTargetSongId);
  session_.follow("draggedChannelId", strips.draggedChannelId);
  session_.follow("dropTargetChannelId", strips.dropTargetChannelId);
  session_.follow("selectedChannelId", content_.selection().selectedChannelId);
  session_.derive(
      "canPaste", [&strips] { return strips.channelClipboard.get().has_value(); }, strips.channelClipboard);
}

void ConsoleMirror::mirrorTexts() {
  showTexts();
  connections_.push_back(content_.appState().language.changed.connect([this](Language) { showTexts(); }));
}

void ConsoleMirror::showTexts() {
  const Language language = content_.appState().language.get();
  for (std::size_t index = 0; index < textKeyCount; ++index) {
    const auto key = static_cast<TextKey>(index);
    texts_.setVariant(QString::fromStdString(std::string(name(key))),
                      QString::fromStdString(std::string(text(key, language))));
  }
}

void ConsoleMirror::mirrorMaster() {
  AudioChannel& master = *content_.audioEngine().masterChannel();
  master_.follow("volume", master.volume);
  master_.derive(
      "volumeText", [&master] { return ChannelFaderScale::text(master.volume.get()); }, master.volume);
  master_.follow("mute", master.mute);
  master_.derive(
      "color", [&master] { return colorOf(master.color.get()); }, master.color);
  connectMeter(master, {}, connections_, masterCell_);
}

void ConsoleMirror::mirrorAlert(Observable<std::optional<NSAlert>>& shownAlert) {
  const auto show = [this](const std::optional<NSAlert>& alert) {
    alert_.set("shown", alert.has_value());
    const NSAlert words = alert.value_or(NSAlert());
    alert_.set("isWarning", words.alertStyle == NSAlert::Style::warning);
    alert_.set("message", words.messageText);
    alert_.set("informative", words.informativeText);
    QStringList buttons;
    for (const auto& button : words.buttons) {
      buttons.append(QString::fromStdString(button));
    }
    alert_.set("buttons", QVariant(buttons));
  };
  show(shownAlert.get());
  connections_.push_back(shownAlert.changed.connect(show));
}

void ConsoleMirror::setMenus(const QVariantList& menus) {
  menuBar_.set("menus", QVariant(menus));
}

void ConsoleMirror::setDropouts(std::uint64_t count) {
  session_.set("lateBlocks", static_cast<int>(std::min<std::uint64_t>(count, std::numeric_limits<int>::max())));
}

void ConsoleMirror::setProblem(const std::string& line) {
  session_.set("problems", line);
  session_.set("problemCount", ++problemCount_);  // the same words again are another problem
}

void ConsoleMirror::refresh() {
  refreshSongs();
  refreshStrips();
}

void ConsoleMirror::refreshSongs() {
  const auto& songs = content_.appState().songs.get();
  std::vector<MirrorId> rows;
  std::set<Uuid> present;
  for (std::size_t index = 0; index < songs.size(); ++index) {
    const SongConfig& song = songs[index];
    auto& object = songs_[song.id];
    if (object == nullptr) {
      object = std::make_unique<MirrorPublisher>(source_);
      object->set("songId", song.id.text());
    }
    object->set("name", song.name);
    object->set("number", static_cast<int>(index) + 1);
    rows.push_back(object->id);
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
    strip->object.set("index", static_cast<int>(index));
    strip->object.set("number", static_cast<int>(index) + 1);
    rows.push_back(strip->object.id);
    present.insert(channels[index]->id);
  }
  std::erase_if(strips_, [&](const auto& entry) { return !present.contains(entry.first); });
  if (rows != stripRows_) {
    stripRows_ = rows;
    source_.setRows(mirror_ids::strips, std::move(rows));
    meters_.prune();
  }
}

std::unique_ptr<ConsoleMirror::Strip> ConsoleMirror::makeStrip(const std::shared_ptr<AudioChannel>& shared) {
  auto strip = std::make_unique<Strip>(source_);
  AudioChannel& channel = *shared;
  AppState& state = content_.appState();
  auto& selected = content_.selection().selectedChannelId;
  MirrorPublisher& object = strip->object;
  object.set("channelId", channel.id.text());
  object.follow("name", channel.name);
  object.derive(
      "statusText", [&] { return stripStatusText(channel.status.get(), state.language.get()); }, channel.status,
      state.language);
  object.derive(
      "statusKind", [&] { return static_cast<int>(channel.status.get()); }, channel.status);
  object.derive(
      "statusColor", [&] { return colorOf(stripStatusColor(channel.status.get())); }, channel.status);
  object.derive(
      "instrumentText",
      [&] {
        return channel.pluginPath.get().empty() ? std::string(text(TextKey::noPlugin, state.language.get()))
                                                : channel.pluginName.get();
      },
      channel.pluginPath, channel.pluginName, state.language);
  object.follow("volume", channel.volume);
  object.derive(
      "volumeText", [&] { return ChannelFaderScale::text(channel.volume.get()); }, channel.volume);
  object.follow("mute", channel.mute);
  object.follow("solo", channel.solo);
  object.derive(
      "color", [&] { return colorOf(channel.color.get()); }, channel.color);
  object.follow("isPlaying", channel.playbackIsPlaying);
  object.derive(
      "isSelected", [&] { return selected.get() == channel.id; }, selected);
  connectMeter(channel, QString::fromStdString(channel.id.text()), strip->connections, strip->cell);
  strip->channel = shared;
  return strip;
}

void ConsoleMirror::connectMeter(AudioChannel& channel, const QString& key,
                                 std::vector<std::shared_ptr<void>>& connections, std::shared_ptr<MeterCell>& cell) {
  cell = meters_.cell(key);
  const auto store = [](std::atomic<float>& side, float peak) { side.store(peak, std::memory_order_relaxed); };
  connections.push_back(channel.peakL.changed.connect([cell, store](float peak) { store(cell->left, peak); }));
  connections.push_back(channel.peakR.changed.connect([cell, store](float peak) { store(cell->right, peak); }));
}

}  // namespace vrel::window
