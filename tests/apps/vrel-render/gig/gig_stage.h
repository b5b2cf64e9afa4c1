// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "apps/vrel-render/gig/block_watch.h"
#include "apps/vrel-render/gig/gig_show.h"
#include "document/app_state.h"
#include "document/setlist.h"
#include "engine/audio_engine.h"
#include "foundation/uuid.h"
#include "platform/console_output.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/dispatch/system_clock.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/media/audio_files.h"
#include "system/media/clip_factory.h"
#include "system/plugins/lv2/host_settings.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"
#include "system/property_list/libplist_serialization.h"
#include "system/user_defaults/ini_user_defaults.h"
#include "vrel-render/performer.h"
#include "vrel-render/run_files.h"

namespace vrel {

/// The program without a window, in real time, on a watched device.
class GigStage {
 public:
  static constexpr double sampleRate = 48000;
  static constexpr std::uint32_t blockFrames = 256;

  /// How long a capture and a restored state wait for a plug-in: as on a device, or as long as it takes, for what must
  /// be the same however busy the machine is.
  enum class StateWaits { asOnADevice, untilDone };

  /// Plug-ins are those on LV2_PATH. Copies of overwritten setlists are kept in the folder.
  GigStage(const std::filesystem::path& copiesFolder, StateWaits waits);
  GigStage(const GigStage&) = delete;
  GigStage& operator=(const GigStage&) = delete;

  /// Opens the gig's setlist as the program itself saves it, once every song was on stage: with the states of all
  /// plug-ins. It is opened.vrel in the folder.
  [[nodiscard]] SetlistFile open(const std::filesystem::path& folder);

  void load(const std::string& setlistPath);
  [[nodiscard]] bool save(const std::string& setlistPath);

  /// The steps of a MIDI file's bytes.
  [[nodiscard]] static std::vector<render::ShowStep> stepsOf(const std::string& midi);

  /// Performs the steps at their times, plus the time of the song switches. After every switch `onSwitched` is called
  /// with the number of switches so far.
  void perform(const std::vector<render::ShowStep>& steps, const std::function<void(std::size_t)>& onSwitched);

  /// Plays a note on the song on stage, and returns when every instrument has received it.
  void playNote(std::uint8_t note);

  /// Waits until the song switch has ended.
  void finishSwitch();
  /// Waits until prewarming has ended, too, and the processes of plug-ins that were released.
  void settle();

  /// Milliseconds of each song switch, from the click.
  [[nodiscard]] const std::vector<double>& switchTimes() const { return switchTimes_; }
  [[nodiscard]] std::vector<std::string> lines() const { return console_.lines(); }
  [[nodiscard]] const BlockWatch& watch() const { return *device_; }
  [[nodiscard]] const audio::RenderCounters& renderCounters() const { return *renderCounters_; }
  [[nodiscard]] const PluginCounters& pluginCounters() const { return *pluginCounters_; }
  [[nodiscard]] const AppState& state() const { return state_; }
  [[nodiscard]] const GigEvents& events() const { return events_; }
  /// Edits that can be undone, each of which holds what it changed.
  [[nodiscard]] std::size_t undoSteps() { return performer_.content().editHistory().undoCount(); }
  /// Instruments on stage that have a process of their own.
  [[nodiscard]] std::size_t sandboxedInstruments() const;

 private:
  /// Records the log. Any thread.
  class Lines final : public ConsoleOutput {
   public:
    void print(const std::string& line) override {
      const std::lock_guard lock(mutex_);
      lines_.push_back(line);
    }
    [[nodiscard]] std::vector<std::string> lines() const {
      const std::lock_guard lock(mutex_);
      return lines_;
    }

   private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
  };

  void watchEvents();
  void watchTracks();
  void wait(double seconds);
  [[nodiscard]] bool isPoolIdle();
  /// Plug-ins on stage and in the pool, each of which has a process.
  [[nodiscard]] std::size_t heldPlugins();
  [[nodiscard]] std::unique_ptr<sandbox::SandboxingUnitFactory> makeSandbox(StateWaits waits);

  // In construction order: each uses those above it.
  Lines console_;
  system::SystemClock clock_;
  system::MainLoop mainLoop_;
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
  std::shared_ptr<audio::RenderCounters> renderCounters_ = std::make_shared<audio::RenderCounters>();
  std::shared_ptr<PluginCounters> pluginCounters_ = std::make_shared<PluginCounters>();
  std::shared_ptr<BlockWatch> device_ = std::make_shared<BlockWatch>(sampleRate, blockFrames, pluginCounters_);
  std::shared_ptr<system::AudioFiles> audioFiles_ = std::make_shared<system::AudioFiles>();
  system::ClipFactory clips_{clock_};
  audio::RenderNodeFactory nodes_{device_, renderCounters_, audioFiles_};
  std::shared_ptr<lv2::Lv2World> world_ = lv2::Lv2World::open();
  lv2::HostSettings host_;
  std::shared_ptr<sandbox::Supervisor> supervisor_;
  std::unique_ptr<sandbox::SandboxingUnitFactory> units_;
  system::FileCalls fileCalls_;
  system::PosixFileManager systemFiles_{fileCalls_};
  render::RunFiles files_{systemFiles_};
  system::IniUserDefaults defaults_;  // for this run only
  AppState state_;
  std::shared_ptr<AudioEngine> engine_;
  render::Performer performer_;
  std::size_t switches_ = 0;
  std::vector<double> switchTimes_;
  Signal<>::Connection counted_;
  GigEvents events_;
  std::set<Uuid> shownClips_;
  std::vector<std::shared_ptr<void>> watching_;
  std::vector<std::shared_ptr<void>> watchingTracks_;  // of the song on stage
};

}  // namespace vrel
