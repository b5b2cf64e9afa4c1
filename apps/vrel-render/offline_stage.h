// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

/// The whole program without a console: the machine's plug-ins, the render graph and the logic on it, on
/// a clock of its own that moves only here. One thread, which plays main thread and audio thread in turn.
class OfflineStage {
 public:
  struct Settings {
    int rate = 48000;           // frames per second
    std::uint32_t block = 128;  // frames
    bool sandbox = true;        // instruments in processes of their own
  };

  /// All are borrowed; the log may be null.
  OfflineStage(Settings settings, std::shared_ptr<lv2::Lv2World> world, ConsoleOutput& console, EventLog* log);
  OfflineStage(const OfflineStage&) = delete;
  OfflineStage& operator=(const OfflineStage&) = delete;

  /// Starts the engine with an empty stage. Comes first, once.
  [[nodiscard]] Outcome start(SetlistFile setlist);

  /// Puts a song on stage and waits, with the clock standing, until all its plug-ins and those made
  /// ahead have answered. A plug-in that never does is waited for as long as a song switch is on stage, in the
  /// machine's own time, and the show goes on without it. An index out of range does nothing.
  void applySong(std::size_t index);

  /// Does what the performer does, at its own time, after what falls due before it.
  void perform(const ShowStep& step);

  /// Does what falls due before `seconds` of the show, then renders the next block. What it gives stands
  /// until the next call.
  audio::OfflineDevice::Block renderBlockUntil(double seconds);

  /// Saves the setlist with the song on stage as it stands; a failure is told on the console. Whether it is saved.
  [[nodiscard]] bool save(const std::string& path);

  [[nodiscard]] const std::vector<SongConfig>& songs() const { return state_.songs.get(); }
  [[nodiscard]] const std::vector<std::size_t>& songsApplied() const { return recorder_.songsApplied(); }

  /// What went wrong so far: what is missing in the songs that were on stage, and what was counted in the blocks.
  [[nodiscard]] std::vector<std::string> problems() const;

 private:
  [[nodiscard]] std::set<std::string> pluginsBeingMade();
  [[nodiscard]] bool hasSettled();
  void standStill();
  /// Waits for the disk, and for all that a started or ended file brings about.
  void waitForPlayers();
  void waitForPlugins();
  void goOnWithoutAnswers();
  void noteLoadProblems();
  [[nodiscard]] std::unique_ptr<sandbox::SandboxingUnitFactory> makeSandbox(
      const Settings& settings, const std::shared_ptr<lv2::Lv2World>& world);
  void pluginDied(const std::shared_ptr<AVAudioUnit>& node, int processId);

  // In the order of birth; what stands further down uses what stands above.
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
  std::unique_ptr<sandbox::SandboxingUnitFactory> sandboxUnits_;  // null when all is in this process
  MainQueueUnits units_;
  system::FileCalls fileCalls_;
  system::PosixFileManager machineFiles_{fileCalls_};
  RunFiles runFiles_{machineFiles_};
  system::IniUserDefaults defaults_;  // of this run only
  AppState state_;
  std::shared_ptr<AudioEngine> engine_;
  Performer performer_;
  StageRecorder recorder_;
  ClipRecorder clipRecorder_;
  std::size_t songsWaitedFor_ = 0;         // of those that went on stage
  std::set<std::string> unanswered_;       // paths of plug-ins that are waited for no more
  std::vector<std::string> loadProblems_;  // each once
};

}  // namespace vrel::render
