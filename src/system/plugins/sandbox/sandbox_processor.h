// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/thread_roles.h"
#include "system/audio/node_processor.h"
#include "system/audio/smoothed_gain.h"
#include "system/plugins/instrument_events.h"
#include "system/plugins/musical_time.h"
#include "system/plugins/plugin_counters.h"
#include "system/plugins/sandbox/supervisor.h"

namespace vrel::sandbox {

/// The audio half of a unit whose plug-in lives in a guest: asks for a block in `begin` (a source) or in `accept` (an
/// effect), and takes the answer in `process`.
///
/// With a deadline, an answer that is not there by then is given up: the block is silent, and the answer,
/// when it comes, is dropped. Until it has come the guest is not asked again, and events wait. Without a
/// deadline it waits for as long as the guest lives, but not above `longestBlock`. While the guest changes its plug-in
/// (a state, a reset, a rate), blocks are silent and events wait. A dead guest is silent at once. Where an instrument
/// would be silent for want of an answer an effect is bypassed: its input goes on as it is. The guest's link counts
/// what the blocks have missed, but not what an effect could not do since its input came late.
///
/// Threads: `takeEvent`, `begin`, `accept` and `process` belong to the block, all else to the main thread.
class SandboxProcessor final : public audio::NodeProcessor {
 public:
  struct Settings {
    double sampleRate = 48000;  // at which the plug-in was made
    GuestLink::Timeout timeout;
    GuestLink::Timeout captureTimeout;
    std::shared_ptr<PluginCounters> counters;

    // Where a block has no deadline, a guest that takes longer than this for one is hung (see GuestLink), and ended.
    std::chrono::milliseconds longestBlock = std::chrono::seconds(30);
  };

  SandboxProcessor(Supervisor::Ready ready, Settings settings);

  /// For another rate the guest recreates its plug-in; waits for that, within the timeout.
  void prepare(double sampleRate) override VREL_NOT_AUDIO_THREAD;
  [[nodiscard]] std::uint32_t outputChannelCount(std::uint32_t /*inputChannelCount*/) const override {
    return outputChannelCount_;
  }
  [[nodiscard]] bool worksElsewhere() const override { return true; }
  void takeEvent(std::uint32_t frame, MidiMessage message) noexcept override VREL_AUDIO_THREAD;
  void begin(std::uint32_t frameCount) noexcept override VREL_AUDIO_THREAD;
  void accept(std::uint32_t frameCount, const audio::Stream& input) noexcept override VREL_AUDIO_THREAD;
  [[nodiscard]] bool isReady(std::optional<std::int64_t> deadline) noexcept override VREL_AUDIO_THREAD;
  void sleepUntilReady(std::optional<std::int64_t> deadline) noexcept override VREL_AUDIO_THREAD;
  void process(const audio::ProcessBlock& block) noexcept override VREL_AUDIO_THREAD;
  [[nodiscard]] audio::Delivery delivery() const noexcept override { return delivery_; }

  /// Hands one message to the next block; false when it is not a message or there is no room. Wait-free.
  bool sendEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);

  /// The next block forgets what has been sent so far.
  void forgetEvents() { events_.forget(); }
  /// Events that found no room, here or in the guest.
  [[nodiscard]] std::uint64_t droppedEvents() const { return events_.dropped() + droppedByGuest_; }

  [[nodiscard]] audio::SmoothedGain& gain() { return gain_; }
  [[nodiscard]] HostTimeBlocks& time() { return time_; }
  [[nodiscard]] Guest& guest() { return *guest_; }
  /// The rate that the graph asked for last, frames per second.
  [[nodiscard]] double sampleRate() const { return settings_.sampleRate; }
  [[nodiscard]] GuestLink::Timeout timeout() const { return settings_.timeout; }
  /// Whether the main thread waits for changes at all.
  [[nodiscard]] bool waits() const { return settings_.timeout != GuestLink::Timeout(0); }
  [[nodiscard]] GuestLink::Timeout captureTimeout() const { return settings_.captureTimeout; }

 private:
  [[nodiscard]] bool request(std::uint32_t frameCount, const audio::Stream& input) noexcept VREL_AUDIO_THREAD;
  void takeEvents(BlockRequest& request) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] bool awaitAnswer(std::int64_t deadline) noexcept VREL_AUDIO_THREAD;
  [[nodiscard]] std::int64_t deadlineOr(std::optional<std::int64_t> deadline) const noexcept VREL_AUDIO_THREAD;
  void takeAnswer(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void countMissed(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void bypass(const audio::ProcessBlock& block) noexcept VREL_AUDIO_THREAD;
  void addCounts(const GuestCounts& counts) noexcept VREL_AUDIO_THREAD;

  const std::shared_ptr<Guest> guest_;
  const std::uint32_t outputChannelCount_;
  Settings settings_;
  audio::SmoothedGain gain_;
  HostTimeBlocks time_;

  InstrumentEvents events_{settings_.counters->droppedEvents};
  std::atomic<std::uint64_t> droppedByGuest_{0};

  // The block's.
  std::int64_t askedAt_ = 0;  // nanoseconds of the monotonic clock
  Sequence asked_ = 0;
  bool isBegun_ = false;    // `begin` or `accept` was called, `process` was not
  bool isAwaited_ = false;  // the answer to `asked_` is still good for this block
  bool isGivenUp_ = false;  // the answer to `asked_` comes for nothing
  bool isMuted_ = false;    // the answer to `asked_` is from before a change
  audio::Delivery delivery_ = audio::Delivery::whole;
  GuestCounts counted_{};
  std::uint32_t dryChannelCount_ = 0;  // 0 for a source
  StereoSamples dry_{};                // the input of this block; what is shared with the guest it may overwrite
};

}  // namespace vrel::sandbox
