// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "console/channel_operations.h"
#include "console/clip_editor.h"
#include "console/dropped_files.h"
#include "console/edit_history.h"
#include "console/editor_media.h"
#include "console/editor_panels.h"
#include "console/effect_rack.h"
#include "console/help_window.h"
#include "console/instrument_reload.h"
#include "console/instrument_selector.h"
#include "console/kept_copies.h"
#include "console/keyboard_panel.h"
#include "console/large_notes.h"
#include "console/learned_controls.h"
#include "console/learned_plugin_controls.h"
#include "console/moved_files.h"
#include "console/parameter_files.h"
#include "console/reorder.h"
#include "console/setlist_checker.h"
#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "console/song_control_page.h"
#include "console/song_list.h"
#include "console/strip_controls.h"
#include "console/track_editor.h"
#include "engine/plugin_editors.h"
#include "foundation/uuid.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/live_mode.h"
#include "performance/midi_learn.h"
#include "performance/song_requests.h"
#include "performance/song_switch.h"
#include "performance/tempo.h"
#include "platform/notification_center.h"

namespace vrel {

class AppState;
class AudioEngine;
class BackgroundWork;
class ConsoleOutput;
class Desktop;
class DispatchQueueFactory;
class FileManager;
class HostClock;
class MainQueue;

/// Everything that the main window does, without the window.
///
/// A facade: it owns the parts, brings the commands of the menus to them, and has no logic of its own. The parts are
/// reached by their own names, e.g. `content.songList().addSong()`. One for the life of the program. Main thread.
class ContentView {
 public:
  /// What the pages of the setlist work with beside the main thread. Null where the program does without.
  struct SetlistTools {
    DispatchQueueFactory* queues = nullptr;      // borrowed; whose queues may leave work on files behind
    std::shared_ptr<FileManager> copiesFiles{};  // for the thread of the kept copies alone
    std::shared_ptr<FileManager> movedFiles{};   // for the thread that looks for files alone
    ChildProcessFactory* processes = nullptr;    // borrowed
    std::string checkProgram{};                  // the path of vrel-render
  };

  struct Collaborators {
    AppState& appState;
    AudioEngine& audioEngine;
    MainQueue& mainQueue;
    const HostClock& clock;
    ConsoleOutput& console;
    Desktop& desktop;
    FileManager& files;
    NSNotificationCenter& notifications;
    std::filesystem::path copiesDirectory;  // of setlists that a save replaces
    EditorMedia media{};
    BackgroundWork* background = nullptr;  // for setlists; see SetlistFiles
    SetlistTools tools{};
  };

  /// All are borrowed and outlive this.
  explicit ContentView(const Collaborators& collaborators);

  /// The window has come up: connects what is played with what is shown, and puts a first song on stage when there is
  /// none.
  void contentDidAppear();

  [[nodiscard]] AppState& appState() { return appState_; }
  [[nodiscard]] AudioEngine& audioEngine() { return audioEngine_; }
  [[nodiscard]] ConsoleSelection& selection() { return selection_; }
  [[nodiscard]] SongSwitch& songSwitch() { return songSwitch_; }
  [[nodiscard]] SongList& songList() { return songList_; }
  [[nodiscard]] ChannelOperations& channelOperations() { return channelOperations_; }
  [[nodiscard]] InstrumentSelector& instrumentSelector() { return instrumentSelector_; }
  [[nodiscard]] ClipEditor& clipEditor() { return clipEditor_; }
  [[nodiscard]] TrackEditor& trackEditor() { return trackEditor_; }
  [[nodiscard]] EffectRack& effectRack() { return effectRack_; }
  [[nodiscard]] EditorPanels& editorPanels() { return editorPanels_; }
  [[nodiscard]] PluginEditors& pluginEditors() { return pluginEditors_; }
  [[nodiscard]] EditHistory& editHistory() { return editHistory_; }
  [[nodiscard]] DroppedFiles& droppedFiles() { return droppedFiles_; }
  [[nodiscard]] LearnedControls& learnedControls() { return learnedControls_; }
  [[nodiscard]] LargeNotes& largeNotes() { return largeNotes_; }
  [[nodiscard]] LearnedPluginControls& learnedPluginControls() { return learnedPluginControls_; }
  [[nodiscard]] SongControlPage& songControlPage() { return songControlPage_; }
  [[nodiscard]] VrelHelpWindowController& help() { return help_; }
  [[nodiscard]] VrelHelpWindowController& liveKeysHelp() { return liveKeysHelp_; }
  [[nodiscard]] StripControls& stripControls() { return stripControls_; }
  [[nodiscard]] InstrumentReload& instrumentReload() { return instrumentReload_; }
  [[nodiscard]] KeyboardPanel& keyboardPanel() { return keyboardPanel_; }
  [[nodiscard]] SetlistFiles& setlistFiles() { return setlistFiles_; }
  [[nodiscard]] SetlistChecker& setlistChecker() { return setlistChecker_; }
  [[nodiscard]] KeptCopies& keptCopies() { return keptCopies_; }
  [[nodiscard]] MidiLearn& midiLearn() { return midiLearn_; }
  [[nodiscard]] SongRequests& songRequests() { return songRequests_; }
  [[nodiscard]] LiveMode& liveMode() { return liveMode_; }
  [[nodiscard]] Tempo& tempo() { return tempo_; }

  /// The text of the notes panel has changed: an edit.
  void setSongNotes(const std::string& text);
  /// The language picker has another value: an edit, although no file keeps it.
  void setLanguage(Language language);
  /// What every panic button does.
  void panic();

  /// What a row of the song list, and a strip, does as the target of a drag.
  [[nodiscard]] ReorderDropDelegate songReorderDropDelegate(Uuid song);
  [[nodiscard]] ReorderDropDelegate channelReorderDropDelegate(Uuid channel);

 private:
  void observe(const std::string& notification, NSNotificationCenter::Listeners::Listener listener);
  void observeMenus();
  void withSelectedChannel(void (ChannelOperations::*operation)(const AudioChannel&));
  void selectAChannel();
  /// Those over songs or strips, but for the large notes, which are for the stage.
  void closePages();

  AppState& appState_;
  AudioEngine& audioEngine_;
  NSNotificationCenter& notifications_;
  ConsoleSelection selection_;
  ChannelBuilder builder_;
  SongSwitch songSwitch_;
  Tempo tempo_;
  MidiLearn midiLearn_;
  SongRequests songRequests_;
  LiveMode liveMode_;
  SongList songList_;
  ChannelOperations channelOperations_;
  InstrumentSelector instrumentSelector_;
  TrackEditor trackEditor_;
  ClipEditor clipEditor_;
  EffectRack effectRack_;
  EditHistory editHistory_;
  LargeNotes largeNotes_;
  LearnedControls learnedControls_;
  LearnedPluginControls learnedPluginControls_;
  SongControlPage songControlPage_;
  VrelHelpWindowController help_{HelpSubject::manual};
  VrelHelpWindowController liveKeysHelp_{HelpSubject::liveKeys};
  StripControls stripControls_;
  InstrumentReload instrumentReload_;
  KeyboardPanel keyboardPanel_;
  SetlistCopies copies_;
  SetlistFiles setlistFiles_;
  SetlistChecker setlistChecker_;
  KeptCopies keptCopies_;
  MovedFiles movedFiles_;
  DroppedFiles droppedFiles_;
  EditorPanels editorPanels_;
  ParameterFiles parameterFiles_;
  PluginEditors pluginEditors_;
  std::vector<NSNotificationCenter::Listeners::Connection> observers_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel
