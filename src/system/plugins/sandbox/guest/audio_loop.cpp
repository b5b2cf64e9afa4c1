// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest/audio_loop.h"

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "foundation/thread_roles.h"
#include "system/audio/denormal_guard.h"
#include "system/audio/node_processor.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

// Below the priorities that audio servers give their own threads and their clients'.
constexpr int realTimePriority = 60;

constexpr rlim_t longestRunMicroseconds = 2'000'000;

void becomeRealTime(SharedBlock& shared) {
  sched_param parameters{};
  parameters.sched_priority = realTimePriority;
  if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0) {
    // Who computes for so long without once waiting for a block holds up the machine: the system ends it.
    const rlimit longestRun{longestRunMicroseconds, longestRunMicroseconds};
    (void)setrlimit(RLIMIT_RTTIME, &longestRun);
  }
  // All memory only where there is no limit: with one, the plug-in's next large allocation would fail.
  rlimit limit{};
  if (getrlimit(RLIMIT_MEMLOCK, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) {
    (void)mlockall(MCL_CURRENT | MCL_FUTURE);
  } else {
    (void)mlock(&shared, sizeof shared);
  }
}

GuestCounts countsOf(const PluginCounters& counters) {
  return {.droppedEvents = counters.droppedEvents,
          .silencedBlocks = counters.silencedBlocks,
          .skippedBlocks = counters.skippedBlocks,
          .refusedWork = counters.refusedWork,
          .mutedLogLines = counters.mutedLogLines};
}

}  // namespace

AudioLoop::AudioLoop(SharedBlock& shared, std::shared_ptr<lv2::Lv2Processor> processor,
                     std::shared_ptr<const PluginCounters> counters, Settings settings)
    : shared_(shared),
      processor_(std::move(processor)),
      counters_(std::move(counters)),
      settings_(settings),
      outputChannelCount_(processor_->outputChannelCount(0)) {
  processor_->shareControls(shared_.controls);
  passTimeOn();
  thread_ = std::thread([this] { run(); });
}

// The plug-in asks this thread, as it would ask the host's.
void AudioLoop::passTimeOn() {
  processor_->time().set(
      AUHostMusicalContextBlock([this](double* tempo, double* beatsPerBar, std::int64_t* beatUnit, double* beat,
                                       std::int64_t* /*offset*/, double* barStartBeat) {
        *tempo = time_.tempoBpm;
        *beatsPerBar = time_.beatsPerBar;
        *beatUnit = time_.beatUnit;
        *beat = time_.beat;
        *barStartBeat = time_.barStartBeat;
        return time_.isKnown != 0;
      }));
  processor_->time().set(AUHostTransportStateBlock(
      [this](std::uint64_t* flags, double* samplePosition, double* /*cycleStart*/, double* /*cycleEnd*/) {
        *flags = time_.isMoving != 0 ? transportStateMoving : 0;
        *samplePosition = time_.samplePosition;
        return time_.isKnown != 0;
      }));
}

AudioLoop::~AudioLoop() {
  post(shared_.request, endOfBlocks);
  thread_.join();
}

void AudioLoop::run() noexcept {
  if (settings_.isRealTime) {
    becomeRealTime(shared_);
  }
  const audio::DenormalGuard denormals;
  for (Sequence done = 0;;) {
    const Sequence sequence = waitWhile(shared_.request, done, std::nullopt);
    if (sequence == endOfBlocks) {
      return;
    }
    if (sequence != done) {
      answer(shared_.requests[sequence % 2], shared_.answers[sequence % 2]);
      done = sequence;
      answered_.store(sequence, std::memory_order_release);
      post(shared_.answer, sequence);
    }
  }
}

void AudioLoop::answer(const BlockRequest& request, BlockAnswer& answer) noexcept {
  time_ = request.time;
  audio::Stream input;
  audio::Stream output;
  // The input is the host's to write and the plug-in's copy is made from it; it is not written here.
  auto& samples = const_cast<StereoSamples&>(request.input);
  input.channelCount = request.inputChannelCount;
  output.channelCount = outputChannelCount_;
  for (std::uint32_t channel = 0; channel < audio::maximumStreamChannels; ++channel) {
    input.channels[channel] = samples[channel].data();
    output.channels[channel] = answer.output[channel].data();
    std::fill_n(answer.output[channel].data(), request.frameCount, 0.0F);
  }
  const AudioThreadScope block;
  for (std::uint32_t index = 0; index < request.eventCount; ++index) {
    const auto& [bytes, frame] = request.events[index];
    processor_->takeEvent(frame, {bytes[0], bytes[1], bytes[2]});
  }
  processor_->process({.frameCount = request.frameCount,
                       .inputs = std::span<const audio::Stream>(&input, input.channelCount > 0 ? 1 : 0),
                       .output = output});
  answer.counts = countsOf(*counters_);
}

}  // namespace vrel::sandbox
