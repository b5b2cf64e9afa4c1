// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/plugin_worker.h"

#include <cerrno>

namespace vrel::lv2 {

PluginWorker::PluginWorker(const HostSettings& settings)
    : mode_(settings.workerMode), counters_(settings.counters), feature_{this, &PluginWorker::schedule} {
  sem_init(&wake_, 0, 0);
}

PluginWorker::~PluginWorker() {
  detach();
  sem_destroy(&wake_);
}

void PluginWorker::detach() {
  if (thread_.joinable()) {
    stopping_.store(true, std::memory_order_release);
    sem_post(&wake_);
    thread_.join();
  }
}

void PluginWorker::attach(LV2_Handle plugin, const LV2_Worker_Interface* interface) {
  plugin_ = plugin;
  interface_ = interface;
  if (interface_ == nullptr) {
    return;
  }
  request_.reserve(longestMessage);
  response_.reserve(longestMessage);
  if (mode_ == WorkerMode::thread) {
    thread_ = std::thread([this] { serve(); });
  }
}

void PluginWorker::endBlock(bool performNow) noexcept {
  if (interface_ == nullptr) {
    return;
  }
  if (performNow || mode_ == WorkerMode::withinBlock) {
    while (performOne()) {
    }
  }
  while (responses_.pop(response_)) {
    if (interface_->work_response != nullptr) {
      interface_->work_response(plugin_, static_cast<std::uint32_t>(response_.size()), response_.data());
    }
  }
  if (interface_->end_run != nullptr) {
    interface_->end_run(plugin_);
  }
}

LV2_Worker_Status PluginWorker::schedule(LV2_Worker_Schedule_Handle self, std::uint32_t size, const void* data) {
  auto& worker = *static_cast<PluginWorker*>(self);
  const LV2_Worker_Status status = worker.store(worker.requests_, size, data);
  if (status == LV2_WORKER_SUCCESS && worker.mode_ == WorkerMode::thread) {
    sem_post(&worker.wake_);
  }
  return status;
}

LV2_Worker_Status PluginWorker::respond(LV2_Worker_Respond_Handle self, std::uint32_t size, const void* data) {
  auto& worker = *static_cast<PluginWorker*>(self);
  return worker.store(worker.responses_, size, data);
}

LV2_Worker_Status PluginWorker::store(ByteFifo& fifo, std::uint32_t size, const void* data) {
  if (data == nullptr && size > 0) {
    return LV2_WORKER_ERR_UNKNOWN;
  }
  if (!fifo.push({static_cast<const std::uint8_t*>(data), size})) {
    counters_->refusedWork.fetch_add(1, std::memory_order_relaxed);
    return LV2_WORKER_ERR_NO_SPACE;
  }
  return LV2_WORKER_SUCCESS;
}

bool PluginWorker::performOne() {
  if (!requests_.pop(request_)) {
    return false;
  }
  interface_->work(plugin_, &PluginWorker::respond, this, static_cast<std::uint32_t>(request_.size()), request_.data());
  return true;
}

void PluginWorker::serve() {
  for (;;) {
    while (sem_wait(&wake_) != 0 && errno == EINTR) {
    }
    if (stopping_.load(std::memory_order_acquire)) {
      return;
    }
    const MutexLock lock(workMutex_);
    performOne();  // nothing is there when the control half has done it already
  }
}

}  // namespace vrel::lv2
