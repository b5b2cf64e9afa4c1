// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/state/state.h>

#include <cstdint>
#include <memory>

#include "foundation/result.h"
#include "system/plugins/lv2/host_features.h"
#include "system/plugins/lv2/host_settings.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/lv2/plugin_description.h"
#include "system/plugins/lv2/plugin_log.h"
#include "system/plugins/lv2/plugin_worker.h"
#include "system/plugins/lv2/port_buffers.h"
#include "system/plugins/lv2/state_files.h"

struct LilvInstanceImpl;  // the library's name for a running plug-in

namespace vrel::lv2 {

class HostedPlugin;

/// Sends a plug-in that is released back to the thread that has made it, which destroys it. Any thread.
struct HostedPluginRelease {
  std::shared_ptr<Lv2World> world;
  SerialThread* pluginThread = nullptr;  // see HostSettings
  void operator()(HostedPlugin* plugin) const;
};
using HostedPluginPointer = std::unique_ptr<HostedPlugin, HostedPluginRelease>;

/// One running copy of a plug-in, active and connected, with all that it was given.
///
/// Order of calls: `make` on the world thread; then `run`, `reactivate` and what the parts offer, by
/// one thread at a time, as the unit's gate has it. Only a state may be saved while it runs.
class HostedPlugin {
 public:
  /// A new copy at `sampleRate` frames per second, in the state its data asks for. World thread. Fails
  /// with words that name the plug-in and what it lacks.
  [[nodiscard]] static Result<HostedPluginPointer> make(const std::shared_ptr<Lv2World>& world,
                                                        std::shared_ptr<const PluginDescription> description,
                                                        const HostSettings& settings, double sampleRate);
  ~HostedPlugin();
  HostedPlugin(const HostedPlugin&) = delete;
  HostedPlugin& operator=(const HostedPlugin&) = delete;

  /// Renders `frameCount` frames from the port buffers into the port buffers, then lets the worker's
  /// answers in.
  void run(std::uint32_t frameCount) noexcept { runAndAnswer(frameCount, false); }

  /// One run with no frames and no events, with all slow work done on the way. Not inside a block; the
  /// caller holds the gate and the work mutex. Some plug-ins load what a state names only now.
  void settle() noexcept;

  /// Sets the control of this symbol to a number of any type, as a stored state calls it; `plugin` is the HostedPlugin.
  /// Others, and what has another type, are passed over.
  static void setStoredControl(const char* symbol, void* plugin, const void* value, std::uint32_t size,
                               std::uint32_t type);

  /// Clears what sounds. The caller holds the gate and the work mutex.
  void reactivate() noexcept;

  [[nodiscard]] const PluginDescription& description() const { return *description_; }
  [[nodiscard]] const std::shared_ptr<const PluginDescription>& sharedDescription() const { return description_; }
  [[nodiscard]] double sampleRate() const { return sampleRate_; }
  [[nodiscard]] UridMap& urids() { return urids_; }
  [[nodiscard]] PortBuffers& ports() { return ports_; }
  [[nodiscard]] const PortBuffers& ports() const { return ports_; }
  [[nodiscard]] StateFiles& files() { return files_; }
  [[nodiscard]] PluginWorker& worker() { return worker_; }
  [[nodiscard]] const PluginLog& log() const { return log_; }

  /// The plug-in's own state, null when it keeps none beside its controls.
  [[nodiscard]] const LV2_State_Interface* stateInterface() const { return stateInterface_; }
  [[nodiscard]] LV2_Handle handle() const;
  /// The plug-in's function of this name; null where it has none.
  [[nodiscard]] const void* (*extensionData() const)(const char* uri);
  [[nodiscard]] const LV2_Feature* const* features() const { return features_.list(); }

 private:
  HostedPlugin(Lv2World& world, std::shared_ptr<const PluginDescription> description, const HostSettings& settings,
               double sampleRate);
  [[nodiscard]] Outcome open(Lv2World& world);
  [[nodiscard]] Outcome findObstacle() const;
  void loadDefaultState(Lv2World& world);
  void runAndAnswer(std::uint32_t frameCount, bool performNow) noexcept;

  const std::shared_ptr<const PluginDescription> description_;
  const double sampleRate_;
  UridMap& urids_;
  PluginLog log_;
  PluginWorker worker_;
  StateFiles files_;
  HostFeatures features_;
  PortBuffers ports_;
  LilvInstanceImpl* instance_ = nullptr;
  const LV2_State_Interface* stateInterface_ = nullptr;
};

}  // namespace vrel::lv2
