// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/packet_ring.h"

#include <gtest/gtest.h>

#include <thread>

namespace vrel::system {
namespace {

using Packet = std::vector<std::uint8_t>;

bool push(PacketRing& ring, const Packet& packet) {
  const AudioThreadScope audioThread;
  return ring.push(packet);
}

TEST(PacketRing, PacketsComeOutWholeAndInOrder) {
  PacketRing ring(64);
  Packet packet;
  EXPECT_FALSE(ring.pop(packet));
  for (std::uint8_t round = 0; round < 50; ++round) {
    ASSERT_TRUE(push(ring, {0x90, round, 1}));
    ASSERT_TRUE(push(ring, {}));
    ASSERT_TRUE(push(ring, Packet(20, round)));
    ASSERT_TRUE(ring.pop(packet));
    EXPECT_EQ(packet, (Packet{0x90, round, 1}));
    ASSERT_TRUE(ring.pop(packet));
    EXPECT_EQ(packet, Packet());
    ASSERT_TRUE(ring.pop(packet));
    EXPECT_EQ(packet, Packet(20, round));
    EXPECT_FALSE(ring.pop(packet));
  }
}

TEST(PacketRing, WhatFindsNoRoomIsCountedAndLeavesTheRestWhole) {
  PacketRing ring(16);
  EXPECT_TRUE(push(ring, {1, 2, 3, 4, 5, 6}));
  EXPECT_FALSE(push(ring, {7, 8, 9}));
  EXPECT_FALSE(push(ring, Packet(100, 1)));
  EXPECT_TRUE(push(ring, {7, 8}));
  EXPECT_FALSE(push(ring, {}));
  EXPECT_EQ(ring.dropped(), 3U);
  Packet packet;
  EXPECT_TRUE(ring.pop(packet));
  EXPECT_EQ(packet, (Packet{1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(ring.pop(packet));
  EXPECT_EQ(packet, (Packet{7, 8}));
  EXPECT_FALSE(ring.pop(packet));
}

TEST(PacketRing, TwoThreadsLoseNothing) {
  constexpr std::uint32_t count = 20000;
  PacketRing ring(256);
  std::thread writer([&] {
    for (std::uint32_t number = 0; number < count;) {
      if (push(ring, Packet(number % 50, static_cast<std::uint8_t>(number)))) {
        ++number;
      } else {
        std::this_thread::yield();
      }
    }
  });
  Packet packet;
  std::uint32_t wrong = 0;
  for (std::uint32_t number = 0; number < count;) {
    if (!ring.pop(packet)) {
      std::this_thread::yield();
      continue;
    }
    wrong += packet == Packet(number % 50, static_cast<std::uint8_t>(number)) ? 0U : 1U;
    ++number;
  }
  writer.join();
  EXPECT_EQ(wrong, 0U);
}

}  // namespace
}  // namespace vrel::system
