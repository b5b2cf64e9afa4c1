// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/thread_roles.h"
#include "platform/instrument_route.h"
#include "system/audio/node_processor.h"

namespace vrel::audio {

/// Which instruments get what is played, for the audio thread.
///
/// Made on the main thread and never changed: other settings are another table. Like a plan it is published by one
/// pointer, shares ownership of its processors, and is destroyed on the main thread when no block uses it any more.
class RouteTable {
 public:
  struct Route {
    std::shared_ptr<NodeProcessor> instrument;
    InstrumentRules rules;
  };

  explicit RouteTable(std::vector<Route> routes) : routes_(std::move(routes)) {}

  /// Gives the message to each instrument that takes it, as that instrument's rules say.
  void route(std::uint32_t frame, MidiMessage message) const noexcept VREL_AUDIO_THREAD;

 private:
  const std::vector<Route> routes_;
};

}  // namespace vrel::audio
