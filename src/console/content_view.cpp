// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/content_view.h"

#include <utility>

#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "performance/performance_display.h"

namespace vrel {

ContentView::ContentView(const Collaborators& collaborators)
    : appState_(collaborators.appState),
      audioEngine_(collaborators.audioEngine),
      notifications_(collaborators.notifications),
      builder_(appState_, audioEngine_, collaborators.console),
      songSwitch_({appState_, audioEngine_, collaborators.mainQueue, collaborators.clock, collaborators.console,
                   selection_, builder_}),
      tempo_(appState_, audioEngine_, collaborators.clock),
      midiLearn_(appState_, audioEngine_, tempo_),
      songRequests_({appState_, audioEngine_, songSwitch_, midiLearn_, collaborators.mainQueue, collaborators.clock,
                     collaborators.console}),
      liveMode_({appState_, audioEngine_, songSwitch_, collaborators.desktop}),
      songList_(appState_, audioEngine_, songSwitch_, selection_),
      channelOperations_(appState_, audioEngine_, builder_, selection_),
      instrumentSelector_({appState_, audioEngine_, collaborators.mainQueue, collaborators.console, selection_}),
      trackEditor_({appState_, audioEngine_, collaborators.mainQueue, collaborators.clock, collaborators.desktop,
                    selection_, instrumentSelector_, collaborators.media}),
      clipEditor_({appState_, audioEngine_, collaborators.mainQueue, collaborators.desktop, selection_,
                   collaborators.media.videos}),
      effectRack_({appState_, audioEngine_, collaborators.mainQueue, collaborators.console, selection_}),
      editHistory_({appState_, audioEngine_, builder_, selection_, collaborators.clock, songSwitch_, songList_,
                    instrumentSelector_}),
      largeNotes_(appState_, midiLearn_),
      learnedControls_(appState_),
      learnedPluginControls_(appState_, audioEngine_, midiLearn_, collaborators.mainQueue),
      songControlPage_(appState_, midiLearn_),
      stripControls_(appState_, audioEngine_),
      instrumentReload_(appState_, audioEngine_, collaborators.console),
      keyboardPanel_(appState_, audioEngine_),
      copies_(collaborators.files, collaborators.console, collaborators.copiesDirectory),
      setlistFiles_({appState_, audioEngine_, songSwitch_, collaborators.files, collaborators.desktop,
                     collaborators.console, copies_, collaborators.background}),
      setlistChecker_({appState_, songSwitch_, collaborators.mainQueue, collaborators.tools.processes,
                       collaborators.tools.checkProgram}),
      keptCopies_({appState_, copies_, setlistFiles_, collaborators.mainQueue, collaborators.tools.queues,
                   collaborators.tools.copiesFiles}),
      movedFiles_({appState_, audioEngine_, songSwitch_, setlistFiles_, instrumentSelector_, collaborators.mainQueue,
                   collaborators.desktop, collaborators.tools.queues, collaborators.tools.movedFiles}),
      droppedFiles_({appState_, setlistFiles_, instrumentSelector_, channelOperations_}),
      editorPanels_({appState_, collaborators.mainQueue, collaborators.desktop}),
      parameterFiles_(appState_, collaborators.mainQueue, collaborators.desktop),
      pluginEditors_(editorPanels_, collaborators.mainQueue, notifications_) {
  songSwitch_.cancelMidiLearn = [this] { midiLearn_.cancelMidiLearn(); };
  liveMode_.clearFocus = [this] { songList_.focusedSongEditorId.set(std::nullopt); };
  songSwitch_.amendRecord = [this](const AudioChannel& channel, ChannelConfig& record) {
    instrumentSelector_.amendRecord(channel, record);
  };
  channelOperations_.amendRecord = [this](const AudioChannel& channel, ChannelConfig& record) {
    instrumentSelector_.amendRecord(channel, record);
    if (channel.status.get() != ChannelStatus::loading) {
      songSwitch_.keepMissingSource(channel, record);
    }
  };
  connections_.push_back(pluginEditors_.controlTurned.connect(
      [this](const auto& unit, AUParameterAddress address) { learnedPluginControls_.touch(unit, address); }));
  connections_.push_back(pluginEditors_.fileRequested.connect(
      [this](const auto& unit, const std::string& identifier) { parameterFiles_.request(unit, identifier); }));
  // One of both is open at a time: they lie in the same place.
  connections_.push_back(trackEditor_.channelId.changed.connect([this](const auto& id) {
    if (id) {
      clipEditor_.cancel();
    }
  }));
  connections_.push_back(clipEditor_.channelId.changed.connect([this](const auto& id) {
    if (id) {
      trackEditor_.cancel();
    }
  }));
  connections_.push_back(midiLearn_.controlWillAct.connect([this](const MidiControlTarget& target, bool, float) {
    if (target.kind == MidiControlKind::panic) {
      trackEditor_.stopPreview();
    }
  }));
  // The same for these two.
  connections_.push_back(setlistChecker_.isShown.changed.connect([this](bool isShown) {
    if (isShown) {
      keptCopies_.close();
    }
  }));
  connections_.push_back(keptCopies_.isShown.changed.connect([this](bool isShown) {
    if (isShown) {
      setlistChecker_.close();
    }
  }));
  // What a person needs of these in Live mode, and LiveModePolicy allows, is opened then.
  connections_.push_back(appState_.isLiveModeEnabled.changed.connect([this](bool isLive) {
    if (isLive) {
      closePages();
    }
  }));
  instrumentSelector_.missingSource = [this](const AudioChannel& channel) {
    return songSwitch_.missingSource(channel);
  };
  instrumentSelector_.editTrack = [this](const AudioChannel& channel) { trackEditor_.open(channel); };
  instrumentSelector_.editClips = [this](const AudioChannel& channel) { clipEditor_.open(channel); };
  observeMenus();
}

void ContentView::contentDidAppear() {
  showPerformance(appState_, audioEngine_);
  showMidiPortName(appState_, audioEngine_);
  midiLearn_.listenToEngine();
  songRequests_.listenToEngine();
  if (appState_.songs.get().empty()) {
    setlistFiles_.newSetlist(false);
  }
  selectAChannel();
}

void ContentView::closePages() {
  effectRack_.close();
  learnedControls_.isShown.set(false);
  songControlPage_.isShown.set(false);
  setlistChecker_.close();
  keptCopies_.close();
}

void ContentView::selectAChannel() {
  if (!indexOfStrip(audioEngine_, selection_.selectedChannelId.get())) {
    selectFirstStrip(selection_, audioEngine_);
  }
}

void ContentView::observe(const std::string& notification, NSNotificationCenter::Listeners::Listener listener) {
  observers_.push_back(notifications_.addObserver(notification, std::move(listener)));
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
  observe("vrel.clearRecentSetlists", run([this] { appState_.clearRecentFiles(); }));
  observe("vrel.saveSetlist", run([this] { setlistFiles_.saveSetlist(); }));
  observe("vrel.saveSetlistAs", run([this] { setlistFiles_.saveSetlistAs(false); }));
  observe("vrel.checkSetlist", run([this] { setlistChecker_.open(); }));
  observe("vrel.showKeptCopies", run([this] { keptCopies_.open(); }));
  observe("vrel.clearMidiLearn", run([this] { midiLearn_.clearAllMidiLearn(); }));
  observe("vrel.cutChannel", run([this] { withSelectedChannel(&ChannelOperations::cutChannel); }));
  observe("vrel.copyChannel", run([this] { withSelectedChannel(&ChannelOperations::copyChannel); }));
  observe("vrel.pasteChannel", run([this] { channelOperations_.pasteChannel(std::nullopt); }));
  observe("vrel.duplicateChannel", run([this] { withSelectedChannel(&ChannelOperations::duplicateChannel); }));
  observe("vrel.undo", run([this] { editHistory_.undo(); }));
  observe("vrel.redo", run([this] { editHistory_.redo(); }));
  observe("vrel.showLearnedControls", run([this] {
            songControlPage_.isShown.set(false);  // which lies in the same place
            learnedControls_.isShown.set(true);
          }));
  observe("vrel.showSongControl", run([this] {
            learnedControls_.isShown.set(false);
            songControlPage_.isShown.set(true);
          }));
  observe("vrel.toggleLargeNotes", run([this] { largeNotes_.toggle(); }));
  observe(windowDidBecomeMainNotification, run([this] { editorPanels_.mainWindowCameToFront(); }));
  observe("vrel.requestTermination", run([this] { setlistFiles_.confirmTermination(); }));
}

void ContentView::withSelectedChannel(void (ChannelOperations::*operation)(const AudioChannel&)) {
  if (const auto channel = stripWithId(audioEngine_, selection_.selectedChannelId.get())) {
    (channelOperations_.*operation)(*channel);
  }
}

void ContentView::setSongNotes(const std::string& text) {
  appState_.songNotes.set(text);
  appState_.markEdited();
}

void ContentView::setLanguage(Language language) {
  appState_.language.set(language);
  appState_.markEdited();
}

void ContentView::panic() {
  trackEditor_.stopPreview();
  performPanic(appState_, audioEngine_);
}

ReorderDropDelegate ContentView::songReorderDropDelegate(Uuid song) {
  const auto items = [this] {
    std::vector<Uuid> ids;
    for (const auto& entry : appState_.songs.get()) {
      ids.push_back(entry.id);
    }
    return ids;
  };
  return {song,
          items,
          [this] { return !LiveModePolicy::isAllowed(LiveModeAction::moveSongs, appState_); },
          songList_.draggedSongId,
          songList_.dropTargetSongId,
          [this](std::size_t from, std::size_t to) { songList_.moveSongs({from}, to); }};
}

ReorderDropDelegate ContentView::channelReorderDropDelegate(Uuid channel) {
  const auto items = [this] {
    std::vector<Uuid> ids;
    for (const auto& strip : audioEngine_.channels()) {
      ids.push_back(strip->id);
    }
    return ids;
  };
  return {channel,
          items,
          [this] { return !LiveModePolicy::isAllowed(LiveModeAction::moveChannels, appState_); },
          channelOperations_.draggedChannelId,
          channelOperations_.dropTargetChannelId,
          [this](std::size_t from, std::size_t to) { channelOperations_.moveChannels({from}, to); }};
}

}  // namespace vrel
