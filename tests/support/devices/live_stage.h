// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/audio_engine.h"
#include "foundation/result.h"
#include "simulation/recording_console.h"
#include "system/audio/render_counters.h"
#include "system/audio/render_node_factory.h"
#include "system/audio/timed_events.h"
#include "system/devices/jack_midi_inlet.h"
#include "system/devices/system_audio_hardware.h"
#include "system/devices/system_audio_output.h"
#include "system/devices/system_midi_service.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::system::test {

/// The program without a window, on a JACK server: MIDI from all its sources, LV2 plug-ins in processes of their
/// own, sound to its playback ports.
///
/// The creating thread is the main thread and runs `loop`: work that other threads post wakes it. The clock is
/// stopped, so timers do not fire and the plug-ins' beat does not advance.
class LiveStage {
 public:
  struct Settings {
    std::string jackServerName;
    std::string pluginHostProgram;
    bool sandbox = true;  // plug-ins in processes of their own
  };

  /// Creates the program and starts its engine. Throws when the sandbox cannot start.
  explicit LiveStage(const Settings& settings);
  LiveStage(const LiveStage&) = delete;
  LiveStage& operator=(const LiveStage&) = delete;

  /// Loads the instrument with this LV2 URI into a new strip, and waits until it is loaded.
  [[nodiscard]] Outcome load(const std::string& uri);

  /// The log so far. Runs what is ready on the main queue.
  [[nodiscard]] const std::vector<std::string>& lines();

  [[nodiscard]] AudioEngine& engine() { return *engine_; }
  [[nodiscard]] OfflineMainLoop& loop() { return loop_; }
  [[nodiscard]] const MIDIService& midi() const { return midi_; }
  [[nodiscard]] const SystemAudioOutput& output() const { return *output_; }
  [[nodiscard]] const PluginCounters& pluginCounters() const { return *pluginCounters_; }

 private:
  [[nodiscard]] AudioUnitFactory& units() { return sandbox_ ? static_cast<AudioUnitFactory&>(*sandbox_) : lv2Units_; }
  void makeSandbox(const Settings& settings);

  // In construction order: each uses those above it.
  simulation::RecordingConsole console_;
  OfflineClock clock_;
  OfflineMainLoop loop_{clock_};
  SerialQueueFactory queues_;
  LibplistSerialization propertyLists_;
  const MidiInlets midiInlets_{std::make_shared<JackMidiInlet>(), std::make_shared<audio::TimedEvents>()};
  SystemAudioHardware hardware_;
  SystemMidiService midi_;
  std::shared_ptr<SystemAudioOutput> output_;
  audio::RenderNodeFactory nodes_;
  std::shared_ptr<PluginCounters> pluginCounters_ = std::make_shared<PluginCounters>();
  std::shared_ptr<lv2::Lv2World> world_ = lv2::Lv2World::open();
  lv2::Lv2UnitFactory lv2Units_;
  std::unique_ptr<sandbox::SandboxingUnitFactory> sandbox_;  // null without a sandbox
  std::shared_ptr<void> rateFollowed_;
  std::shared_ptr<AudioEngine> engine_;
};

}  // namespace vrel::system::test
