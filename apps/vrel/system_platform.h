// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "console/editor_media.h"
#include "engine/engine_platform.h"
#include "platform/console_output.h"
#include "system/audio/preview_bus.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_node_factory.h"
#include "system/audio/timed_events.h"
#include "system/devices/jack_midi_inlet.h"
#include "system/devices/system_audio_hardware.h"
#include "system/devices/system_audio_output.h"
#include "system/devices/system_midi_service.h"
#include "system/dispatch/serial_queue.h"
#include "system/media/audio_files.h"
#include "system/media/clip_factory.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/sandbox/editor_service.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel {
class ConsoleOutput;
class HostClock;
class MainQueue;
}  // namespace vrel

namespace vrel::app {

/// The real parts behind the platform's operations, for playing on this machine: its sound and MIDI devices, its LV2
/// plug-ins in processes of their own, its audio files and clips. Main thread.
///
/// Failure: where processes cannot be started the plug-ins run in this one, and that is logged.
class SystemPlatform {
 public:
  struct Settings {
    std::string jackServerName{};         // empty: the one that the environment names
    std::string pluginHostProgram{};      // empty: the one beside this program
    std::filesystem::path pluginsFile{};  // what the last scan has found; empty: each one reads all
  };

  /// All is borrowed and outlives this.
  SystemPlatform(const Settings& settings, MainQueue& mainQueue, HostClock& clock, ConsoleOutput& console);
  SystemPlatform(const SystemPlatform&) = delete;
  SystemPlatform& operator=(const SystemPlatform&) = delete;

  /// What the engine asks of the machine; valid for as long as this lives.
  [[nodiscard]] EnginePlatform platform();
  /// What the editors read and play sound files with, without a cache.
  [[nodiscard]] EditorMedia editorMedia();
  [[nodiscard]] AVAudioUnitComponentManager& components() { return *world_; }

  /// Called on the main thread when the process of a plug-in has ended by itself.
  void setDeathHandler(sandbox::SandboxingUnitFactory::DeathHandler handler);

  /// The plug-ins' own editors; null where processes cannot be started.
  [[nodiscard]] sandbox::EditorService* editors() { return editors_.get(); }

  /// Blocks that were late or silent: xruns of the device, late plug-ins, files that were not read in time.
  [[nodiscard]] std::uint64_t dropouts() const;

  [[nodiscard]] system::SystemAudioOutput& output() { return *output_; }
  [[nodiscard]] const PluginCounters& pluginCounters() const { return *pluginCounters_; }

 private:
  [[nodiscard]] std::unique_ptr<sandbox::SandboxingUnitFactory> makeSandbox(const Settings& settings);
  [[nodiscard]] std::shared_ptr<sandbox::EditorService> makeEditors(const std::string& helperPath);
  [[nodiscard]] std::function<void(const std::string&)> log(FailureKind kind = FailureKind::other);
  [[nodiscard]] std::function<void(const std::string&)> infoLog();

  // In construction order; each member uses those above it.
  MainQueue& mainQueue_;
  HostClock& clock_;
  ConsoleOutput& console_;
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
  const system::MidiInlets midiInlets_{std::make_shared<system::JackMidiInlet>(),
                                       std::make_shared<audio::TimedEvents>()};
  system::SystemAudioHardware hardware_;
  system::SystemMidiService midi_;
  std::shared_ptr<system::SystemAudioOutput> output_;
  std::shared_ptr<audio::RenderCounters> renderCounters_ = std::make_shared<audio::RenderCounters>();
  std::shared_ptr<PluginCounters> pluginCounters_ = std::make_shared<PluginCounters>();
  std::shared_ptr<system::AudioFiles> files_ = std::make_shared<system::AudioFiles>();
  system::ClipFactory clips_;
  std::shared_ptr<audio::PreviewBus> preview_;
  audio::RenderNodeFactory nodes_;
  std::shared_ptr<lv2::Lv2World> world_;
  lv2::Lv2UnitFactory lv2Units_;
  std::shared_ptr<sandbox::EditorService> editors_;          // null where processes cannot be started
  std::unique_ptr<sandbox::SandboxingUnitFactory> sandbox_;  // null where processes cannot be started
  std::shared_ptr<void> rateFollowed_;
};

}  // namespace vrel::app
