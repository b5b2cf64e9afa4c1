// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/route_table.h"

#include "midi/routing_rules.h"

namespace vrel::audio {

void RouteTable::route(std::uint32_t frame, MidiMessage message) const noexcept {
  for (const Route& route : routes_) {
    if (const auto event = instrumentEvent(route.rules, message)) {
      route.instrument->takeEvent(frame, *event);
    }
  }
}

}  // namespace vrel::audio
