// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/serial_thread.h"
#include "system/plugins/plugin_counters.h"

namespace vrel::lv2 {

/// Where a plug-in's slow work is done.
enum class WorkerMode {
  thread,       // on a thread of the unit's own, beside the audio: for playing
  withinBlock,  // by the rendering thread, at the end of the block: for a render that must repeat exactly
};

/// What a plug-in learns of its host, and where its errors are counted.
struct HostSettings {
  /// Gets one line of a plug-in's log. Any thread, but never inside a block.
  using LogSink = std::function<void(const std::string& line)>;

  double sampleRate = 48000;  // frames per second; a unit follows the graph when that has another
  std::uint32_t nominalBlockFrames = 128;
  WorkerMode workerMode = WorkerMode::thread;
  bool guardsBuffers = false;  // a plug-in that writes outside its port buffers crashes: for a process of its own
  SerialThread* pluginThread = nullptr;  // where the plug-in is made and ends; null for the world's. Borrowed
  LogSink log;
  std::shared_ptr<PluginCounters> counters = std::make_shared<PluginCounters>();
};

}  // namespace vrel::lv2
