// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace vrel {
class AudioEngine;
class MainQueue;
}  // namespace vrel

namespace vrel::render {

/// The road of a message into the engine: the first three bytes of a packet, raw, posted to the main
/// queue and routed from there. What else a packet holds is not looked at; one of a single byte is dropped.
class PacketInput {
 public:
  /// The queue is borrowed.
  PacketInput(MainQueue& mainQueue, std::weak_ptr<AudioEngine> engine);

  /// Any thread. A message that finds the engine gone is dropped.
  void receive(std::span<const std::uint8_t> packet);

 private:
  MainQueue& mainQueue_;
  std::weak_ptr<AudioEngine> engine_;
};

}  // namespace vrel::render
