// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/content_view.h"

#include <algorithm>
#include <utility>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "performance/performance_display.h"

namespace vrel {

ContentView::ContentView(const Collaborators& collaborators)
    : with_(collaborators),
      builder_(with_.appState, with_.audioEngine, with_.console),
      songSwitch_(
          {with_.appState, with_.audioEngine, with_.mainQueue, with_.clock, with_.console, selection_, builder_}),
      tempo_(with_.appState, with_.audioEngine, with_.clock),
      midiLearn_(with_.appState, with_.audioEngine, tempo_),
      liveMode_({with_.appState, with_.audioEngine, songSwitch_, with_.desktop}),
      songList_(with_.appState, with_.audioEngine, songSwitch_, selection_),
      channelOperations_(with_.appState, with_.audioEngine, builder_, selection_),
      stripControls_(with_.appState, with_.audioEngine),
      copies_(with_.files, with_.console, with_.copiesDirectory),
      setlistFiles_(
          {with_.appState, with_.audioEngine, songSwitch_, with_.files, with_.desktop, with_.console, copies_}) {
  songSwitch_.cancelMidiLearn = [this] { midiLearn_.cancelMidiLearn(); };
  liveMode_.clearFocus = [this] { songList_.focusedSongEditorId.set(std::nullopt); };
  observeMenus();
}

void ContentView::contentDidAppear() {
  showPerformance(with_.appState, with_.audioEngine);
  showMidiPortName(with_.appState, with_.audioEngine);
  midiLearn_.listenToEngine();
  if (with_.appState.songs.get().empty()) {
    setlistFiles_.newSetlist(false);
  }
  selectAChannel();
}

void ContentView::selectAChannel() {
  const auto& channels = with_.audioEngine.channels();
  const auto& selected = selection_.selectedChannelId.get();
  const bool isThere = selected && std::any_of(channels.begin(), channels.end(),
                                               [&](const auto& channel) { return channel->id == *selected; });
  if (!isThere) {
    selection_.selectedChannelId.set(channels.empty() ? std::nullopt : std::optional(channels.front()->id));
  }
}

void ContentView::observe(const std::string& notification, NSNotificationCenter::Listeners::Listener listener) {
  observers_.push_back(with_.notifications.addObserver(notification, std::move(listener)));
}

void ContentView::observeMenus() {
  const auto run = [](auto action) {
    return [action = std::move(action)](const NSNotificationCenter::Object&) { action(); };
  };
  observe("vrel.newSetlist", run([this] { setlistFiles_.newSetlist(true); }));
  observe("vrel.openSetlist", run([this] { setlistFiles_.openSetlist(); }));
  observe("vrel.openRecentSetlist", [this](const NSNotificationCenter::Object& file) {
    if (file) {
      setlistFiles_.openRecentSetlist(*file);
    }
  });
  observe("vrel.clearRecentSetlists", run([this] { with_.appState.clearRecentFiles(); }));
  observe("vrel.saveSetlist", run([this] { setlistFiles_.saveSetlist(); }));
  observe("vrel.saveSetlistAs", run([this] { setlistFiles_.saveSetlistAs(false); }));
  observe("vrel.clearMidiLearn", run([this] { midiLearn_.clearAllMidiLearn(); }));
  observe("vrel.cutChannel", run([this] { withSelectedChannel(&ChannelOperations::cutChannel); }));
  observe("vrel.copyChannel", run([this] { withSelectedChannel(&ChannelOperations::copyChannel); }));
  observe("vrel.pasteChannel", run([this] { channelOperations_.pasteChannel(std::nullopt); }));
  observe("vrel.duplicateChannel", run([this] { withSelectedChannel(&ChannelOperations::duplicateChannel); }));
  observe("vrel.requestTermination", run([this] { setlistFiles_.confirmTermination(); }));
}

void ContentView::withSelectedChannel(void (ChannelOperations::*operation)(const AudioChannel&)) {
  const auto selected = selection_.selectedChannelId.get();
  for (const auto& channel : with_.audioEngine.channels()) {
    if (channel->id == selected) {
      (channelOperations_.*operation)(*std::shared_ptr(channel));
      return;
    }
  }
}

void ContentView::setSongNotes(const std::string& text) {
  with_.appState.songNotes.set(text);
  with_.appState.isDirty.set(true);
}

void ContentView::setLanguage(Language language) {
  with_.appState.language.set(language);
  with_.appState.isDirty.set(true);
}

void ContentView::panic() {
  performPanic(with_.appState, with_.audioEngine);
}

ReorderDropDelegate ContentView::songReorderDropDelegate(Uuid song) {
  const auto items = [this] {
    std::vector<Uuid> ids;
    for (const auto& entry : with_.appState.songs.get()) {
      ids.push_back(entry.id);
    }
    return ids;
  };
  return {song,
          items,
          [this] { return !LiveModePolicy::isAllowed(LiveModeAction::moveSongs, with_.appState); },
          songList_.draggedSongId,
          songList_.dropTargetSongId,
          [this](std::size_t from, std::size_t to) { songList_.moveSongs({from}, to); }};
}

ReorderDropDelegate ContentView::channelReorderDropDelegate(Uuid channel) {
  const auto items = [this] {
    std::vector<Uuid> ids;
    for (const auto& strip : with_.audioEngine.channels()) {
      ids.push_back(strip->id);
    }
    return ids;
  };
  return {channel,
          items,
          [this] { return !LiveModePolicy::isAllowed(LiveModeAction::moveChannels, with_.appState); },
          channelOperations_.draggedChannelId,
          channelOperations_.dropTargetChannelId,
          [this](std::size_t from, std::size_t to) { channelOperations_.moveChannels({from}, to); }};
}

}  // namespace vrel
