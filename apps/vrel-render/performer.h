// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/live_mode.h"
#include "performance/midi_learn.h"
#include "performance/song_switch.h"
#include "performance/tempo.h"
#include "vrel-render/no_desktop.h"
#include "vrel-render/show.h"

namespace vrel {
class AppState;
class AudioEngine;
class ConsoleOutput;
class FileManager;
class HostClock;
class MainQueue;
}  // namespace vrel

namespace vrel::render {

/// Does what a performer's hand does, to the logic that a console's controls would reach. Nothing waits: a song whose
/// marker has been performed may still be loading. Main thread.
class Performer {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    MainQueue& mainQueue;
    const HostClock& clock;
    ConsoleOutput& console;
    FileManager& files;
  };

  /// All are borrowed. The last good versions of what is saved over are kept in the folder.
  Performer(const Collaborators& collaborators, std::filesystem::path copiesFolder);

  void perform(const ShowAction& action);

  [[nodiscard]] SongSwitch& songSwitch() { return songSwitch_; }
  [[nodiscard]] SetlistFiles& setlistFiles() { return setlistFiles_; }
  [[nodiscard]] MidiLearn& midiLearn() { return midiLearn_; }
  [[nodiscard]] ConsoleSelection& selection() { return selection_; }

 private:
  void act(const MidiFileMessage& message);
  void act(const SongStep& song);
  void act(const PanicStep& panic);
  void act(const TapStep& tap);
  void act(const LiveStep& live);
  void act(const KeyStep& key);

  Collaborators with_;
  ConsoleSelection selection_;
  ChannelBuilder builder_;
  SongSwitch songSwitch_;
  Tempo tempo_;
  MidiLearn midiLearn_;
  NoDesktop desktop_;
  LiveMode liveMode_;
  SetlistCopies copies_;
  SetlistFiles setlistFiles_;
};

}  // namespace vrel::render
