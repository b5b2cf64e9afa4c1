// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>

#include "console/content_view.h"
#include "platform/notification_center.h"
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

/// Performs the steps of a show through the logic that the console's controls use. Nothing waits: after a song
/// marker the song may still be loading. Main thread.
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

  /// All are borrowed. `copiesFolder` keeps the copies of setlists that are overwritten.
  Performer(const Collaborators& collaborators, const std::filesystem::path& copiesFolder);

  void perform(const ShowAction& action);

  [[nodiscard]] ContentView& content() { return content_; }

 private:
  /// A click on a learnable control: in Learn mode selects it, else runs `action`.
  void click(const MidiControlTarget& target, const std::function<void()>& action);
  void act(const MidiFileMessage& message);
  void act(const SongStep& song);
  void act(const PanicStep& panic);
  void act(const TapStep& tap);
  void act(const LearnStep& learn);
  void act(const LiveStep& live);
  void act(const KeyStep& key);

  AppState& state_;
  AudioEngine& engine_;
  ConsoleOutput& console_;
  NoDesktop desktop_;
  NSNotificationCenter notifications_;
  ContentView content_;
};

}  // namespace vrel::render
