// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "document/app_state.h"
#include "document/setlist.h"
#include "engine/audio_engine.h"
#include "foundation/result.h"
#include "performance/song_switch.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/media/audio_files.h"
#include "system/media/clip_factory.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"
#include "system/property_list/libplist_serialization.h"
#include "system/user_defaults/ini_user_defaults.h"
#include "vrel-render/clip_recorder.h"
#include "vrel-render/main_queue_units.h"
#include "vrel-render/performer.h"
#include "vrel-render/run_files.h"
#include "vrel-render/show.h"
#include "vrel-render/stage_recorder.h"

namespace vrel {
class ConsoleOutput;
}  // namespace vrel

namespace vrel::render {

class EventLog;

/// The program without a window: the installed plug-ins, the render graph and the logic, on a virtual clock.
/// One thread, which acts as main thread and audio thread alternately.
class OfflineStage {
 public:
  struct Settings {
    int rate = 48000;           // frames per second
    std::uint32_t block = 128;  // frames
    bool sandbox = true;        // plug-ins in processes of their own

    // How long a song waits for the answers of its plug-ins, and a block for that of one.
    std::chrono::seconds answerTimeout{static_cast<int>(SongSwitch::songSwitchTimeoutSeconds)};
    std::chrono::seconds blockTimeout{30};
  };

  /// All are borrowed; the log may be null.
  OfflineStage(Settings settings, std::shared_ptr<lv2::Lv2World> world, ConsoleOutput& console, EventLog* log);
  OfflineStage(const OfflineStage&) = delete;
  OfflineStage& operator=(const OfflineStage&) = delete;

  /// Starts the engine with no song on stage. First call, once.
  [[nodiscard]] Outcome start(SetlistFile setlist);

  /// Switches to a song and waits, with the clock stopped, until all its plug-ins and the prewarmed ones have
  /// answered. The wait ends after `answerTimeout`, in real time; the show then continues without the missing
  /// plug-in. An index out of range has no effect.
  void applySong(std::size_t index);

  /// Performs a step at its time, after all that is due before it.
  void perform(const ShowStep& step);

  /// Runs what is due before `seconds` of the show, then renders the next block. The result is valid until
  /// the next call.
  audio::OfflineDevice::Block renderBlockUntil(double seconds);

  /// Saves the setlist with the current state of the song on stage. False on failure, which is logged.
  [[nodiscard]] bool save(const std::string& path);

  [[nodiscard]] const std::vector<SongConfig>& songs() const { return state_.songs.get(); }
  [[nodiscard]] const std::vector<std::size_t>& songsApplied() const { return recorder_.songsApplied(); }

  /// How long the last block took, without what is read from the disk beside it.
  [[nodiscard]] std::chrono::nanoseconds lastBlockTime() const { return lastBlockTime_; }

  [[nodiscard]] const AudioEngine& engine() const { return *engine_; }
  [[nodiscard]] const AppState& state() const { return state_; }

  /// How many blocks of plug-ins, audio files and the mix were silenced: not finite or too large.
  [[nodiscard]] std::uint64_t silencedBlocks() const;

  /// The problems so far: what failed to load in the songs that were on stage, and the error counters.
  [[nodiscard]] std::vector<std::string> problems() const;

 private:
  [[nodiscard]] std::set<std::string> pluginsBeingMade();
  [[nodiscard]] bool hasSettled();
  void finishStep();
  /// Waits for the disk, and for all that a started or ended file causes.
  void waitForPlayers();
  void waitForPlugins();
  void continueWithoutAnswers();
  void noteLoadProblems();
  [[nodiscard]] std::unique_ptr<sandbox::SandboxingUnitFactory> makeSandbox(
      const Settings& settings, const std::shared_ptr<lv2::Lv2World>& world);
  void pluginDied(const sandbox::SandboxingUnitFactory::Death& death);

  const std::chrono::seconds answerTimeout_;
  std::chrono::nanoseconds lastBlockTime_{0};

  // In construction order: each uses those above it.
  ConsoleOutput& console_;
  system::OfflineClock clock_;
  system::OfflineMainLoop mainLoop_{clock_};
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
  std::shared_ptr<audio::OfflineDevice> device_;
  std::shared_ptr<audio::RenderCounters> renderCounters_ = std::make_shared<audio::RenderCounters>();
  std::shared_ptr<PluginCounters> pluginCounters_ = std::make_shared<PluginCounters>();
  std::shared_ptr<system::AudioFiles> files_ = std::make_shared<system::AudioFiles>();
  system::ClipFactory clips_{clock_};
  audio::RenderNodeFactory nodes_;
  lv2::Lv2UnitFactory lv2Units_;
  Outcome sandboxFailure_;
  std::unique_ptr<sandbox::SandboxingUnitFactory> sandboxUnits_;  // null without a sandbox
  MainQueueUnits units_;
  system::FileCalls fileCalls_;
  system::PosixFileManager systemFiles_{fileCalls_};
  RunFiles runFiles_{systemFiles_};
  system::IniUserDefaults defaults_;  // for this run only
  AppState state_;
  std::shared_ptr<AudioEngine> engine_;
  Performer performer_;
  StageRecorder recorder_;
  ClipRecorder clipRecorder_;
  double renderedUntil_ = 0;               // seconds of the show
  std::size_t songsWaitedFor_ = 0;         // of songsApplied()
  std::set<std::string> unanswered_;       // paths of plug-ins that timed out
  std::vector<std::string> loadProblems_;  // each once
};

}  // namespace vrel::render
