// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/packet_input.h"

#include <utility>

#include "engine/audio_engine.h"
#include "platform/dispatch.h"

namespace vrel::render {

PacketInput::PacketInput(MainQueue& mainQueue, std::weak_ptr<AudioEngine> engine)
    : mainQueue_(mainQueue), engine_(std::move(engine)) {}

void PacketInput::receive(std::span<const std::uint8_t> packet) {
  if (packet.size() < 2) {
    return;
  }
  const std::uint8_t status = packet[0];
  const std::uint8_t data1 = packet[1];
  const std::uint8_t data2 = packet.size() == 2 ? std::uint8_t{0} : packet[2];
  mainQueue_.async([engine = engine_, status, data1, data2] {
    if (const auto target = engine.lock()) {
      target->routeMIDI(status, data1, data2);
    }
  });
}

}  // namespace vrel::render
