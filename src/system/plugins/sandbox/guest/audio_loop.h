// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/plugin_counters.h"
#include "system/plugins/sandbox/shared_layout.h"

namespace vrel::sandbox {

/// The guest's audio thread: waits for a block, plays it through the plug-in, answers, and waits again.
/// Runs from construction to destruction; a plug-in that never comes back keeps both from ending.
class AudioLoop {
 public:
  struct Settings {
    bool isRealTime = false;  // ask for real-time scheduling; without the right to it things go on as they are
  };

  /// The memory is borrowed.
  AudioLoop(SharedBlock& shared, std::shared_ptr<lv2::Lv2Processor> processor,
            std::shared_ptr<const PluginCounters> counters, Settings settings);
  ~AudioLoop();
  /// Makes what the blocks answered so far have done to the plug-in known to the calling thread. The host may
  /// have learned of it already, but this process does not see that.
  void catchUp() const { (void)answered_.load(std::memory_order_acquire); }

  AudioLoop(const AudioLoop&) = delete;
  AudioLoop& operator=(const AudioLoop&) = delete;

 private:
  void passTimeOn();
  void run() noexcept;
  void answer(const BlockRequest& request, BlockAnswer& answer) noexcept;

  SharedBlock& shared_;
  const std::shared_ptr<lv2::Lv2Processor> processor_;
  const std::shared_ptr<const PluginCounters> counters_;
  const Settings settings_;
  const std::uint32_t outputChannelCount_;  // the same at every rate
  std::atomic<Sequence> answered_{0};
  MusicalTime time_;  // of the block under way; the audio thread's
  std::thread thread_;
};

}  // namespace vrel::sandbox
