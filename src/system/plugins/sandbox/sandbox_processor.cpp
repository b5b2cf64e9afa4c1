// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/sandbox_processor.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "system/audio/finite_guard.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

// Others may be ready before the one that is slept on.
constexpr std::int64_t longestSleep = 100'000;  // nanoseconds

// An effect whose input came so late that less of the block was left has not missed it.
constexpr double fairShare = 0.25;

void count(std::atomic<std::uint64_t>& counter, std::uint64_t amount = 1) noexcept {
  counter.fetch_add(amount, std::memory_order_relaxed);
}

}  // namespace

SandboxProcessor::SandboxProcessor(Supervisor::Ready ready, Settings settings)
    : guest_(std::move(ready.guest)), outputChannelCount_(ready.outputChannelCount), settings_(std::move(settings)) {}

void SandboxProcessor::prepare(double sampleRate) {
  gain_.prepare(sampleRate);
  if (sampleRate == settings_.sampleRate) {
    return;
  }
  settings_.sampleRate = sampleRate;
  ByteWriter writer;
  writer.number(sampleRate);
  // A guest that is slow or dead is silent until it has done it; there is nothing to report beyond that.
  (void)guest_->ask(MessageKind::prepare, writer.take(), MessageKind::done, settings_.timeout);
}

bool SandboxProcessor::sendEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
  if (midiMessageBytes(status) == 0) {
    return false;
  }
  return events_.send({{status, data1, data2}});
}

void SandboxProcessor::takeEvent(std::uint32_t frame, MidiMessage message) noexcept {
  if (midiMessageBytes(message.status) != 0) {
    events_.route({{message.status, message.data1, message.data2}, static_cast<std::uint16_t>(frame)});
  }
}

void SandboxProcessor::begin(std::uint32_t frameCount) noexcept {
  accept(frameCount, {});
}

void SandboxProcessor::accept(std::uint32_t frameCount, const audio::Stream& input) noexcept {
  isBegun_ = true;
  dryChannelCount_ = input.channelCount;
  for (std::uint32_t channel = 0; channel < input.channelCount; ++channel) {
    std::copy_n(input.channels[channel], frameCount, dry_[channel].data());
  }
  isAwaited_ = request(frameCount, input);
  events_.endBlock();
}

bool SandboxProcessor::isReady(std::optional<std::int64_t> deadline) noexcept {
  return !isAwaited_ || guest_->isDead() || read(guest_->block().answer) == asked_ ||
         monotonicNanoseconds() >= deadlineOr(deadline);
}

void SandboxProcessor::sleepUntilReady(std::optional<std::int64_t> deadline) noexcept {
  SharedWord& word = guest_->block().answer;
  const Sequence before = read(word);
  if (before != asked_) {
    (void)waitWhile(word, before, std::min(deadlineOr(deadline), monotonicNanoseconds() + longestSleep));
  }
}

std::int64_t SandboxProcessor::deadlineOr(std::optional<std::int64_t> deadline) const noexcept {
  return deadline.value_or(askedAt_ + std::chrono::nanoseconds(settings_.longestBlock).count());
}

void SandboxProcessor::process(const audio::ProcessBlock& block) noexcept {
  if (!isBegun_) {
    accept(block.frameCount, block.inputs.empty() ? audio::Stream{} : block.inputs.front());
  }
  isBegun_ = false;
  delivery_ = audio::Delivery::missing;
  if (isAwaited_ && awaitAnswer(deadlineOr(block.deadline))) {
    guest_->link().blockAnswered();
    takeAnswer(block);
    return;
  }
  if (!guest_->isDead()) {
    isGivenUp_ = isGivenUp_ || isAwaited_;
    countMissed(block);
  }
  bypass(block);
}

void SandboxProcessor::bypass(const audio::ProcessBlock& block) noexcept {
  if (dryChannelCount_ == 0) {
    return;
  }
  delivery_ = audio::Delivery::bypassed;
  const audio::Stream dry{{dry_[0].data(), dry_[1].data()}, dryChannelCount_};
  audio::passOn(dry, block.output, block.frameCount);
}

void SandboxProcessor::countMissed(const audio::ProcessBlock& block) noexcept {
  count(settings_.counters->lateBlocks);
  const double seconds = static_cast<double>(block.frameCount) / settings_.sampleRate;
  if (isAwaited_ && !block.deadline) {
    guest_->link().blockMissed(GuestLink::hungSeconds);
  } else if (!isAwaited_ || dryChannelCount_ == 0 ||
             static_cast<double>(*block.deadline - askedAt_) >= 1e9 * fairShare * seconds) {
    guest_->link().blockMissed(seconds);
  }
}

bool SandboxProcessor::request(std::uint32_t frameCount, const audio::Stream& input) noexcept {
  SharedBlock& shared = guest_->block();
  if (guest_->isDead() || read(shared.answer) != asked_) {
    return false;
  }
  if (std::exchange(isGivenUp_, false)) {
    count(settings_.counters->lateAnswersDropped);
  }
  const Sequence sequence = nextSequence(asked_);
  BlockRequest& request = shared.requests[sequence % 2];
  request.frameCount = frameCount;
  request.inputChannelCount = input.channelCount;
  request.time = time_.read();
  for (std::uint32_t channel = 0; channel < input.channelCount; ++channel) {
    std::copy_n(input.channels[channel], frameCount, request.input[channel].data());
  }
  isMuted_ = guest_->link().isChanging();
  if (isMuted_) {
    request.eventCount = 0;
  } else {
    takeEvents(request);
  }
  asked_ = sequence;
  askedAt_ = monotonicNanoseconds();
  post(shared.request, sequence);
  return true;
}

void SandboxProcessor::takeEvents(BlockRequest& request) noexcept {
  std::uint32_t eventCount = 0;
  while (eventCount < request.events.size()) {
    const MidiRecord* const record = events_.front();
    if (record == nullptr) {
      break;
    }
    request.events[eventCount++] = *record;
    events_.pop();
  }
  request.eventCount = eventCount;
}

bool SandboxProcessor::awaitAnswer(std::int64_t deadline) noexcept {
  SharedWord& word = guest_->block().answer;
  for (;;) {
    const Sequence before = read(word);
    if (before == asked_) {
      return true;
    }
    if (guest_->isDead() || monotonicNanoseconds() >= deadline) {
      return false;
    }
    (void)waitWhile(word, before, deadline);  // a death changes the word too
  }
}

void SandboxProcessor::takeAnswer(const audio::ProcessBlock& block) noexcept {
  const BlockAnswer& answer = guest_->block().answers[asked_ % 2];
  addCounts(answer.counts);
  if (isMuted_) {
    bypass(block);
    return;
  }
  for (std::uint32_t channel = 0; channel < block.output.channelCount; ++channel) {
    const float* const source = answer.output[std::min(channel, outputChannelCount_ - 1)].data();
    std::copy_n(source, block.frameCount, block.output.channels[channel]);
  }
  gain_.apply(block.output, block.frameCount);
  delivery_ = audio::Delivery::whole;
  if (audio::silenceIfTooLarge(block.output, block.frameCount)) {
    delivery_ = audio::Delivery::missing;
    count(settings_.counters->silencedBlocks);
  }
}

void SandboxProcessor::addCounts(const GuestCounts& counts) noexcept {
  const GuestCounts before = std::exchange(counted_, counts);
  const auto add = [](std::atomic<std::uint64_t>& counter, std::uint64_t now, std::uint64_t earlier) {
    if (now > earlier) {
      count(counter, now - earlier);
    }
  };
  PluginCounters& counters = *settings_.counters;
  add(droppedByGuest_, counted_.droppedEvents, before.droppedEvents);
  add(counters.droppedEvents, counted_.droppedEvents, before.droppedEvents);
  add(counters.silencedBlocks, counted_.silencedBlocks, before.silencedBlocks);
  add(counters.skippedBlocks, counted_.skippedBlocks, before.skippedBlocks);
  add(counters.refusedWork, counted_.refusedWork, before.refusedWork);
  add(counters.mutedLogLines, counted_.mutedLogLines, before.mutedLogLines);
}

}  // namespace vrel::sandbox
