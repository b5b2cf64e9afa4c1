// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/packet_lane.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <utility>

#include "foundation/thread_roles.h"

namespace vrel {
namespace {

TEST(PacketLane, AReaderThatStallsLosesNoReleaseAndNoPanic) {
  audio::PacketLane lane(std::size_t{1} << 16U, std::make_shared<audio::OwedMessages>());
  const auto handOn = [&lane](std::uint8_t kind, std::uint32_t midiChannel, std::uint32_t data1, std::uint8_t data2) {
    const AudioThreadScope block;
    return lane.handOn(std::array<std::uint8_t, 3>{static_cast<std::uint8_t>(kind + midiChannel),
                                                   static_cast<std::uint8_t>(data1), data2});
  };
  for (std::uint32_t note = 0; handOn(0x90, note % 16, note / 16 % 128, 100); ++note) {
  }
  EXPECT_FALSE(handOn(0xB0, 0, 7, 3));
  for (int round = 0; round < 4; ++round) {
    for (std::uint32_t note = 0; note < 16 * 128; ++note) {
      EXPECT_FALSE(handOn(0x90, note % 16, note / 16, 100));
      EXPECT_EQ(handOn(0x80, note % 16, note / 16, 0), round == 0) << "once is enough";
    }
  }
  constexpr std::array<std::uint8_t, 4> panic{64, 1, 121, 123};
  for (std::uint32_t midiChannel = 0; midiChannel < 16; ++midiChannel) {
    for (const std::uint8_t controller : panic) {
      EXPECT_TRUE(handOn(0xB0, midiChannel, controller, 0));
    }
  }
  std::set<std::pair<int, int>> pressed;
  int controllers = 0;
  for (audio::PlayedPacket packet; lane.pop(packet);) {
    const std::pair key{packet.bytes[0] & 0x0F, packet.bytes[1]};
    const int kind = packet.bytes[0] & 0xF0;
    controllers += kind == 0xB0 ? 1 : 0;
    if (kind == 0x90) {
      pressed.insert(key);
    } else if (kind == 0x80) {
      pressed.erase(key);
    }
  }
  EXPECT_TRUE(pressed.empty());
  EXPECT_EQ(controllers, 64);
  EXPECT_TRUE(handOn(0x90, 0, 60, 100)) << "there is room again";
}

TEST(PacketLane, AReleaseThatABlockHasRoutedDoesNotReplaceOneForTheReader) {
  audio::PacketLane lane(std::size_t{1} << 17U, std::make_shared<audio::OwedMessages>());
  const auto playBlock = [&lane](const std::array<std::uint8_t, 3>& message, bool isRouted) {
    const AudioThreadScope block;
    lane.beginBlock();
    lane.add(0, message);
    for (auto& event : lane.events()) {
      event.isRouted = isRouted;
    }
    return lane.handOn(message);
  };
  constexpr std::array<std::uint8_t, 3> pressed{0x90, 60, 100};
  constexpr std::array<std::uint8_t, 3> released{0x80, 60, 0};
  while (playBlock(pressed, true)) {
  }
  EXPECT_TRUE(playBlock(released, true));
  EXPECT_FALSE(playBlock(pressed, true)) << "which sounds, although the reader never sees it";
  EXPECT_TRUE(playBlock(released, false));
  EXPECT_FALSE(playBlock(released, false)) << "once is enough";
}

}  // namespace
}  // namespace vrel
