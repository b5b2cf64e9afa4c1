// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/timed_events.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "midi/midi_bytes.h"

namespace vrel::audio {
namespace {

// What would come later than this was not played then: a clock has jumped.
constexpr double longestWaitSeconds = 0.2;

bool isPress(MidiMessage message) {
  return highNibble(message.status) == statusNoteOn && message.data2 > 0;
}

/// Whether the events of a panic undo what the message does.
bool isReset(MidiMessage message) {
  switch (highNibble(message.status)) {
    case statusPolyphonicAftertouch:
    case statusChannelPressure:
    case statusPitchBend:
      return true;
    case statusController:
      return message.data1 == controllerModulation || message.data1 == controllerExpression ||
             (message.data1 >= controllerSustain && message.data1 <= controllerSoftPedal);
    default:
      return isPress(message);
  }
}

}  // namespace

bool TimedEvents::push(std::int64_t time, MidiMessage message) noexcept {
  const std::uint64_t pushed = pushed_.load(std::memory_order_relaxed);  // only this thread writes it
  const bool mayWait = isTaken_.load(std::memory_order_relaxed) && !owed_->any();
  if (mayWait && ring_.push({time, pushed + 1, message})) {
    pushed_.store(pushed + 1);
    return true;
  }
  overruns_.fetch_add(mayWait ? 1 : 0, std::memory_order_relaxed);
  lastOvertaken_.store(pushed);
  return false;
}

std::shared_ptr<const void> TimedEvents::owe() {
  owed_->add();
  return OwedMessages::untilRouted(owed_);
}

std::span<DeviceEvent> TimedEvents::take(std::uint64_t blockTime, std::uint32_t frameCount,
                                         double sampleRate) noexcept {
  forgetKept();
  std::size_t count = std::exchange(kept_, 0);
  double lastFrame = 0;
  const Played* played = nullptr;
  while (count < due_.size() && (played = ring_.front()) != nullptr) {
    if ((isPress(played->message) && played->number <= lastOvertaken_.load()) ||
        (isReset(played->message) && played->number <= lastReset_.load())) {
      ring_.pop();
      continue;
    }
    const double sinceBlock =
        static_cast<double>(played->time - static_cast<std::int64_t>(blockTime)) * sampleRate / 1e9;
    double frame = std::max(std::round(sinceBlock + frameCount), lastFrame);
    if (frame >= frameCount && frame < frameCount + longestWaitSeconds * sampleRate) {
      break;
    }
    frame = frame < frameCount ? frame : lastFrame;
    due_[count++] = {static_cast<std::uint32_t>(frame), played->message};
    lastFrame = frame;
    ring_.pop();
  }
  return std::span(due_).first(count);
}

// What was kept came before any panic that has not been seen yet.
void TimedEvents::forgetKept() noexcept {
  const std::uint64_t reset = lastReset_.load();
  if (std::exchange(seenReset_, reset) != reset) {
    const auto kept = std::span(due_).first(kept_);
    const auto end =
        std::remove_if(kept.begin(), kept.end(), [](const DeviceEvent& event) { return isReset(event.message); });
    kept_ = static_cast<std::size_t>(end - kept.begin());
  }
}

void TimedEvents::keep(std::span<const DeviceEvent> taken) noexcept {
  for (const DeviceEvent& event : taken) {
    if (!event.isRouted && !isPress(event.message)) {
      due_[kept_++] = {0, event.message};  // never behind the one that is read
    }
  }
}

}  // namespace vrel::audio
