// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/content_view.h"
#include "document/plugin_path.h"
#include "platform/notification_center.h"
#include "simulation/scripted_desktop.h"
#include "simulation/simulated_audio_files.h"
#include "simulation/simulated_audio_player.h"
#include "support/session_on.h"
#include "support/simulated_session.h"
#include "support/simulated_stage.h"

namespace vrel {

/// Constructed before the engine that plays them.
struct SimulatedSounds {
  simulation::SimulatedAudioFiles sounds;
  simulation::SimulatedAudioPlayers players;
};

struct MachineWithSounds : SimulatedSounds, SimulatedMachine {
  MachineWithSounds() {
    engine =
        AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, &sounds});
    mainQueue.runAll();
  }
};

/// A song at 120 beats per minute with two empty strips, and a mono file of ten seconds at 1000 frames per second.
class TrackStage : public testing::Test, protected MachineWithSounds, protected SessionOn {
 protected:
  TrackStage() : SessionOn(*engine, mainQueue, clock, console) {
    files.placeDirectory(state.recentFilesPath.parent_path());
    addSound("/ten.wav", 10);
    SongConfig song;
    song.channels = {record("A", ""), record("B", "")};
    setSongs({song});
    content.contentDidAppear();
    run();
    content.songSwitch().applySong(0);
    run();
    state.isDirty.set(false);
  }

  /// A file of samples of this size.
  void addSound(const std::string& path, double seconds, float sample = 0.5F) {
    auto& sound = sounds.sounds[path];
    sound.sampleRate = framesPerSecond;
    sound.channels.assign(1, std::vector<float>(static_cast<std::size_t>(seconds * framesPerSecond + 0.5), sample));
    sounds.identities[path] = path + " first";
  }

  /// Runs all queues until none has work.
  void run() {
    do {
      settle();
    } while (queues.queue("vrel.waveform.scan").runOne() || queues.queue("vrel.waveform.detail").runOne() ||
             mainQueue.pendingCount() > 0);
  }

  /// Lets time pass as the main loop does.
  void pass(double seconds) { mainQueue.advance(seconds); }

  [[nodiscard]] TrackEditor& editor() { return content.trackEditor(); }
  [[nodiscard]] AudioChannel& strip(std::size_t index) { return *engine->channels()[index]; }
  [[nodiscard]] double start() { return editor().range.get().start; }
  [[nodiscard]] double end() { return editor().range.get().end; }

  /// Opens for the first strip, with this file.
  void openWith(const std::string& path) {
    editor().open(strip(0));
    editor().setFile(path);
    run();
  }

  /// Opens for the first strip, which plays this stretch of the file.
  void openWith(const std::string& path, double from, double to) {
    play(path, from, to);
    editor().open(strip(0));
    run();
  }

  void play(const std::string& path, double from, double to) {
    auto source = record("", std::string(pathPlayback));
    source.playbackFilePath = path;
    source.playbackStartTime = from;
    source.playbackEndTime = to;
    content.instrumentSelector().put(engine->channels()[0], source);
    // As in a record that was never normalised by a load.
    strip(0).playbackStartTime.set(from);
    strip(0).playbackEndTime.set(to);
    state.isDirty.set(false);
  }

  /// Drags from one time to another, in the whole file.
  void drag(double from, double to) {
    editor().beginDrag(from / editor().duration.get());
    editor().drag(to / editor().duration.get());
    editor().endDrag();
  }

  static constexpr double framesPerSecond = 1000;

  simulation::ScriptedDesktop desktop;
  NSNotificationCenter notifications;
  simulation::SimulatedFileManager cacheFiles;
  ContentView content{{state,
                       *engine,
                       mainQueue,
                       clock,
                       console,
                       desktop,
                       files,
                       notifications,
                       "/home/me/copies",
                       {&sounds, &players, &queues, &cacheFiles, "/cache/peaks"}}};
};

}  // namespace vrel
