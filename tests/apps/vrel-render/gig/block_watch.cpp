// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/gig/block_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace vrel {
namespace {

using Clock = std::chrono::steady_clock;

/// How long this thread has waited for a processor so far, as the system reports it.
class RunDelay {
 public:
  RunDelay() : file_(open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC)) {}
  ~RunDelay() {
    if (file_ >= 0) {
      close(file_);
    }
  }
  RunDelay(const RunDelay&) = delete;
  RunDelay& operator=(const RunDelay&) = delete;

  /// Nanoseconds; 0 where the system does not report it.
  [[nodiscard]] std::int64_t now() const {
    std::array<char, 128> text{};
    if (pread(file_, text.data(), text.size() - 1, 0) <= 0) {
      return 0;
    }
    char* behindRunTime = nullptr;
    std::strtoll(text.data(), &behindRunTime, 10);
    return std::strtoll(behindRunTime, nullptr, 10);
  }

 private:
  int file_;
};

}  // namespace

BlockWatch::BlockWatch(double sampleRate, std::uint32_t blockFrames, std::shared_ptr<const PluginCounters> plugins)
    : plugins_(std::move(plugins)), device_(sampleRate, blockFrames) {}

Outcome BlockWatch::start(audio::BlockRenderer& renderer) {
  renderer_ = &renderer;
  return device_.start(*this);
}

void BlockWatch::render(float* left, float* right, std::uint32_t frameCount) noexcept {
  thread_local const RunDelay delay;
  const auto lateAnswers = plugins_->lateBlocks.load();
  const auto delayed = delay.now();
  const auto begun = Clock::now();
  renderer_->render(left, right, frameCount);
  const auto taken = std::chrono::nanoseconds(Clock::now() - begun).count();
  const auto own = taken - (delay.now() - delayed);
  const auto limit = static_cast<std::int64_t>(frameCount * 1e9 / device_.sampleRate());
  blocks.fetch_add(1);
  soundingBlocks.fetch_add(std::any_of(left, left + frameCount, [](float sample) { return sample != 0; }) ? 1U : 0U);
  const bool isOfPlugin = plugins_->lateBlocks.load() != lateAnswers;
  if (taken > limit) {
    (isOfPlugin ? lateByPlugin : own <= limit ? lateByMachine : lateByProgram).fetch_add(1);
  }
  if (!isOfPlugin) {
    longestOfProgram.store(std::max(longestOfProgram.load(), own));
  }
}

}  // namespace vrel
