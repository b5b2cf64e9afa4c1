// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/worker/worker.h>
#include <semaphore.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "foundation/byte_fifo.h"
#include "foundation/mutex.h"
#include "system/plugins/lv2/host_settings.h"

namespace vrel::lv2 {

/// Slow work that a plug-in asks for in its block, and the answers it gets.
///
/// Messages: a request (plug-in to worker) and a response (worker to plug-in) are the plug-in's own
/// bytes, up to `longestMessage` of them. A message without room is refused with
/// LV2_WORKER_ERR_NO_SPACE and counted; the plug-in deals with it.
///
/// Threads: whoever holds the unit's gate calls `endBlock`. In WorkerMode::thread the worker thread
/// takes the requests, one at a time, under `workMutex`; the control half takes that mutex for
/// whatever must not meet the work (restoring, activating, saving) and then plays the worker itself.
class PluginWorker {
 public:
  static constexpr std::size_t fifoBytes = std::size_t{1} << 16U;
  static constexpr std::size_t longestMessage = fifoBytes - ByteFifo::headBytes;

  explicit PluginWorker(const HostSettings& settings);
  ~PluginWorker();
  PluginWorker(const PluginWorker&) = delete;
  PluginWorker& operator=(const PluginWorker&) = delete;

  /// Gives the worker its plug-in. `interface` is null for a plug-in that has no work to do.
  void attach(LV2_Handle plugin, const LV2_Worker_Interface* interface);

  /// Ends the worker thread; what is still asked for is given up. To be called before the plug-in goes.
  void detach();

  /// After each run: delivers the responses. With `performNow`, and always in
  /// WorkerMode::withinBlock, first does what was asked for, here.
  void endBlock(bool performNow) noexcept;

  [[nodiscard]] Mutex& workMutex() { return workMutex_; }
  [[nodiscard]] LV2_Worker_Schedule* feature() { return &feature_; }

 private:
  static LV2_Worker_Status schedule(LV2_Worker_Schedule_Handle self, std::uint32_t size, const void* data);
  static LV2_Worker_Status respond(LV2_Worker_Respond_Handle self, std::uint32_t size, const void* data);
  LV2_Worker_Status store(ByteFifo& fifo, std::uint32_t size, const void* data);
  bool performOne();
  void serve();

  const WorkerMode mode_;
  const std::shared_ptr<PluginCounters> counters_;
  LV2_Worker_Schedule feature_;
  LV2_Handle plugin_ = nullptr;
  const LV2_Worker_Interface* interface_ = nullptr;
  ByteFifo requests_{fifoBytes};
  ByteFifo responses_{fifoBytes};
  std::vector<std::uint8_t> request_;   // the worker's
  std::vector<std::uint8_t> response_;  // the block's

  Mutex workMutex_;
  sem_t wake_{};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace vrel::lv2
