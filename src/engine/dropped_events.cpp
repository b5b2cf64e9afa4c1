// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/dropped_events.h"

#include <string>
#include <utility>

#include "channel/audio_channel.h"
#include "engine/strips.h"
#include "platform/console_output.h"
#include "platform/midi_service.h"

namespace vrel {

// Also called before strips leave, since another one may take their instruments over: hence what has been added, and
// not the count of the node.
void DroppedEvents::report() {
  std::erase_if(reported_, [](const auto& entry) { return entry.first.expired(); });
  std::size_t number = 0;
  for (const auto& channel : strips_.channels) {
    ++number;
    const auto* const instrument = channel->midiInstrument();
    if (instrument == nullptr) {
      continue;
    }
    const std::uint64_t count = instrument->droppedEvents();
    const std::uint64_t before = std::exchange(reported_[channel->instrumentNode.get()], count);
    if (before < count) {
      console_.print("Strip " + std::to_string(number) + " (" + channel->name.get() +
                     "): " + std::to_string(count - before) + " MIDI events dropped, its plug-in does not keep up");
    }
  }
  const std::uint64_t ofInput = midi_ != nullptr ? midi_->droppedMessages() : 0;
  const std::uint64_t ofInputBefore = std::exchange(reportedOfInput_, ofInput);
  if (ofInputBefore < ofInput) {
    console_.print("MIDI input: " + std::to_string(ofInput - ofInputBefore) + " messages dropped");
  }
}

}  // namespace vrel
