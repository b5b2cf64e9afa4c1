// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/packet_input.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "support/simulated_stage.h"

namespace vrel::render {
namespace {

class RenderPacketInput : public SimulatedStage {
 protected:
  void receive(const std::vector<std::uint8_t>& packet) { input.receive(packet); }

  PacketInput input{mainQueue, engine};
};

TEST_F(RenderPacketInput, APacketIsRoutedOnTheMainQueueAndNotBefore) {
  const auto strip = addStrip("Piano");
  receive({0x90, 60, 100});
  EXPECT_TRUE(strip.instrument->events.empty());
  mainQueue.runAll();
  EXPECT_EQ(strip.instrument->events, (Events{{0x90, 60, 100}}));
}

TEST_F(RenderPacketInput, OnlyTheFirstMessageOfAPacketCounts) {
  const auto strip = addStrip("Piano");
  receive({0x90, 60, 100, 0x90, 64, 100});
  mainQueue.runAll();
  EXPECT_EQ(strip.instrument->events, (Events{{0x90, 60, 100}}));
}

TEST_F(RenderPacketInput, APacketOfTwoBytesHasAZeroBehindThem) {
  const auto strip = addStrip("Piano");
  receive({0xD3, 5});
  mainQueue.runAll();
  EXPECT_EQ(strip.instrument->events, (Events{{0xD3, 5, 0}}));
}

TEST_F(RenderPacketInput, PacketsOfOneByteOrNoneAreDropped) {
  receive({0xF8});
  receive({});
  EXPECT_EQ(mainQueue.runOne(), false);
}

TEST_F(RenderPacketInput, AMessageThatFindsTheEngineGoneIsDropped) {
  receive({0x90, 60, 100});
  engine.reset();
  mainQueue.runAll();
}

}  // namespace
}  // namespace vrel::render
