// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/instrument_routes.h"

#include <utility>

#include "channel/audio_channel.h"
#include "engine/strips.h"
#include "midi/strip_rules.h"
#include "platform/audio_engine.h"

namespace vrel {

void InstrumentRoutes::follow(AudioChannel& channel) {
  auto& connections = followed_[channel.id];
  const auto follow = [&connections](const auto& react, auto&... values) {
    (connections.push_back(values.changed.connect([react](const auto&) { react(); })), ...);
  };
  follow([this] { publish(); }, channel.instrumentNode, channel.pluginPath);
  const auto publishRules = [this, &channel] {
    if (hasPlayedInstrument(channel)) {
      publish();
    }
  };
  follow(publishRules, channel.minNote, channel.maxNote, channel.transpose, channel.sendSustain, channel.sendExpression,
         channel.sustainControlsRotor);
}

void InstrumentRoutes::leave(const AudioChannel& channel) {
  followed_.erase(channel.id);
}

void InstrumentRoutes::publish() {
  std::vector<InstrumentRoute> routes;
  routes.reserve(strips_.channels.size() + strips_.ringing.size());
  for (const auto* const channels : {&strips_.channels, &strips_.ringing}) {
    for (const auto& channel : *channels) {
      if (hasPlayedInstrument(*channel)) {
        routes.push_back({channel->instrumentNode.get(), rulesOf(*channel)});
      }
    }
  }
  if (routes != published_) {
    published_ = routes;
    engine_.setInstrumentRoutes(std::move(routes));
  }
}

}  // namespace vrel
