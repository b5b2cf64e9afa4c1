// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/audio_unit.h"
#include "system/plugins/editor_place.h"
#include "system/plugins/plugin_counters.h"
#include "system/plugins/preset_library.h"
#include "system/plugins/sandbox/supervisor.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::sandbox {

class EditorService;

/// Where a plug-in is found on this machine.
struct PluginPlace {
  std::string name;
  std::string bundlePath;  // with a separator at its end
  std::string uri;

  /// Reads what its controls are; may be empty. See Lv2World.
  std::function<void(double sampleRate, AUAudioUnit::ParameterTreeHandler handler)> requestParameters{};

  std::shared_ptr<PresetLibrary> presets{};  // its presets; may be null

  /// Looks for its own editor, and answers on any thread; may be empty. See Lv2World.
  std::function<void(std::function<void(std::optional<EditorPlace>)> handler)> requestEditor{};
};

struct SandboxSettings {
  double sampleRate = 48000;  // frames per second
  std::uint32_t nominalBlockFrames = 128;
  bool worksWithinBlock = false;  // see InstantiateRequest
  bool isRealTime = true;

  /// How long the main thread waits for a plug-in to take a state, to be reset or to follow a new rate: not at all on a
  /// device, where its blocks are silent until it has. And how long for a capture of all plug-ins together. None is as
  /// long as the plug-in lives, while rendering a file.
  GuestLink::Timeout timeout = std::chrono::milliseconds(0);
  GuestLink::Timeout captureTimeout = std::chrono::milliseconds(50);

  /// See SandboxProcessor::Settings.
  std::chrono::milliseconds longestBlock = std::chrono::seconds(30);

  std::function<void(const std::string&)> log;  // any thread
  std::shared_ptr<PluginCounters> counters = std::make_shared<PluginCounters>();
};

/// Makes nodes whose plug-ins run in processes of their own, also where they are asked for in this one, as effects are.
///
/// Threads: main. A sandboxed instantiation takes as long as it takes and answers on the supervisor's
/// thread. All that is borrowed outlives the supervisor.
/// Failure: a plug-in that dies while it is made is an error like any other; a request that its handler makes for the
/// same plug-in fails at once, as that one did. One that dies later is
/// reported once, to the death handler, or logged when nobody holds its node any more.
class SandboxingUnitFactory final : public AudioUnitFactory {
 public:
  /// Finds a plug-in by its codes; none when it is not installed. Any thread; may wait for a scan.
  using Finder = std::function<std::optional<PluginPlace>(const AudioComponentDescription&)>;

  /// A unit whose process has ended by itself.
  struct Death {
    std::shared_ptr<AVAudioUnit> node;
    int processId = 0;
    std::string how;  // "Organ was killed by signal 9"
  };
  using DeathHandler = std::function<void(const Death& death)>;  // main queue

  SandboxingUnitFactory(std::shared_ptr<Supervisor> supervisor, Finder finder, MainQueue& mainQueue,
                        SandboxSettings settings);

  /// The rate at which later units are made, frames per second; as for Lv2UnitFactory. Any thread.
  void setSampleRate(double framesPerSecond) { sampleRate_ = framesPerSecond; }

  /// Set before the first request, on the main thread; called until the factory goes.
  void setDeathHandler(DeathHandler handler);

  /// Opens the plug-ins' own editors from now on; without it they have none. Set before the first request.
  void setEditors(std::shared_ptr<EditorService> editors) { editors_ = std::move(editors); }

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override;
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override;

 private:
  void launch(const AudioComponentDescription& description, UnitHandler completionHandler);

  const std::shared_ptr<Supervisor> supervisor_;
  const Finder finder_;
  MainQueue& mainQueue_;
  const SandboxSettings settings_;
  std::atomic<double> sampleRate_;
  std::shared_ptr<EditorService> editors_;
  const std::shared_ptr<DeathHandler> deathHandler_ = std::make_shared<DeathHandler>();  // used on the main thread
};

}  // namespace vrel::sandbox
