// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/midi_queue.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "system/plugins/instrument_events.h"

namespace vrel {
namespace {

using Bytes3 = std::array<std::uint8_t, 3>;

class Queue : public testing::Test {
 protected:
  bool push(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    return queue->push({{status, data1, data2}});
  }

  /// Pushes until one is dropped; returns how many were not.
  std::uint32_t fill(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    std::uint32_t count = 0;
    while (push(status, data1, data2)) {
      ++count;
    }
    return count;
  }

  std::vector<Bytes3> popAll() {
    std::vector<Bytes3> all;
    while (const MidiRecord* const record = queue->front()) {
      all.push_back(record->bytes);
      queue->pop();
    }
    return all;
  }

  std::unique_ptr<MidiQueue> queue = std::make_unique<MidiQueue>();
};

TEST_F(Queue, FullOfControllersItStillTakesKeysAndFullOfKeysReleases) {
  const std::uint32_t controllers = fill(0xB0, 11, 100);
  EXPECT_EQ(controllers, MidiRing::capacity - MidiQueue::reservedForKeys);
  const std::uint32_t bends = fill(0xE0, 0, 64);
  EXPECT_EQ(bends, 0U);
  const std::uint32_t pressed = fill(0x90, 60, 100);
  EXPECT_EQ(pressed, MidiQueue::reservedForKeys - MidiQueue::reservedForReleases);
  EXPECT_TRUE(push(0x80, 60, 0));
  EXPECT_TRUE(push(0x90, 61, 0)) << "a release too";
  EXPECT_TRUE(push(0xB0, 64, 0));
  EXPECT_FALSE(push(0xB0, 64, 127));
  EXPECT_EQ(queue->dropped(), 4U);
  const auto all = popAll();
  ASSERT_EQ(all.size(), controllers + pressed + 3);
  EXPECT_EQ(all.back(), (Bytes3{0xB0, 64, 0}));
}

TEST_F(Queue, NoReleaseIsEverLostAndEachComesOnceBehindWhatWasSentBefore) {
  for (int time = 0; time < 3; ++time) {
    for (std::uint8_t channel = 0; channel < 16; ++channel) {
      for (std::uint8_t key = 0; key < 128; ++key) {
        EXPECT_TRUE(push(static_cast<std::uint8_t>(0x80 + channel), key, 30));
      }
      for (const std::uint8_t controller : std::array<std::uint8_t, 5>{64, 1, 120, 121, 123}) {
        EXPECT_TRUE(push(static_cast<std::uint8_t>(0xB0 + channel), controller, 0));
      }
    }
  }
  EXPECT_FALSE(push(0x90, 60, 100)) << "its release would come before it";
  EXPECT_EQ(queue->dropped(), 1U);
  const auto all = popAll();
  EXPECT_EQ(all.size(), MidiRing::capacity + 16 * (128 + 5));
  const std::set<Bytes3> behind(all.begin() + MidiRing::capacity, all.end());
  EXPECT_EQ(behind.size(), 16U * (128 + 5));
  EXPECT_TRUE(behind.contains({0x8F, 127, 0}));
  EXPECT_TRUE(behind.contains({0xBF, 123, 0}));
  EXPECT_TRUE(push(0x90, 60, 100)) << "emptied, it takes all again";
  EXPECT_EQ(popAll(), std::vector<Bytes3>({{0x90, 60, 100}}));
}

TEST_F(Queue, WhatIsForgottenNeverComesOutAndWhatFollowsDoes) {
  (void)fill(0x90, 60, 100);
  for (int time = 0; time < 1000; ++time) {
    (void)push(0x80, 60, 0);
  }
  queue->forget();
  EXPECT_EQ(queue->front(), nullptr);
  (void)push(0x80, 60, 0);
  queue->forget();
  (void)push(0x90, 64, 1);
  EXPECT_EQ(popAll(), std::vector<Bytes3>({{0x90, 64, 1}}));
}

TEST_F(Queue, FromThreadToThreadEveryKeyThatWasTakenInIsReleasedInOrder) {
  std::array<int, 128> held{};
  std::atomic<bool> isOver = false;
  std::thread block([&] {
    for (bool isLast = false; !isLast;) {
      isLast = isOver;
      while (const MidiRecord* const record = queue->front()) {
        held[record->bytes[1]] = record->bytes[0] == 0x90 ? 1 : 0;
        queue->pop();
      }
    }
  });
  for (int round = 0; round < 20000; ++round) {
    const auto key = static_cast<std::uint8_t>(round % 128);
    (void)push(0x90, key, 100);
    (void)push(0xB0, 11, key);
    EXPECT_TRUE(push(0x80, key, 0));
  }
  isOver = true;
  block.join();
  EXPECT_EQ(held, (std::array<int, 128>{}));
}

/// The test's thread plays both the main thread and the block.
class EventsOfAnInstrument : public testing::Test {
 protected:
  void send(Bytes3 bytes) { (void)events->send({bytes}); }
  void route(Bytes3 bytes, std::uint16_t frame) {
    const AudioThreadScope block;
    events->route({bytes, frame});
  }

  struct Taken {
    std::uint16_t frame;
    Bytes3 bytes;
    bool operator==(const Taken&) const = default;
  };

  /// What a block takes that has room for so many.
  std::vector<Taken> block(std::size_t most = 10000) {
    std::vector<Taken> taken;
    taken.reserve(std::size_t{3} * MidiRing::capacity);
    const AudioThreadScope block;
    while (taken.size() < most) {
      const MidiRecord* const record = events->front();
      if (record == nullptr) {
        break;
      }
      taken.push_back({record->frame, record->bytes});
      events->pop();
    }
    events->endBlock();
    return taken;
  }

  std::atomic<std::uint64_t> dropped{0};
  std::unique_ptr<InstrumentEvents> events = std::make_unique<InstrumentEvents>(dropped);
};

TEST_F(EventsOfAnInstrument, WhatWasSentComesFirstAndWhatIsRoutedKeepsItsFrame) {
  send({0xB0, 7, 1});
  route({0x90, 60, 100}, 17);
  route({0x90, 64, 100}, 90);
  EXPECT_EQ(block(), (std::vector<Taken>{{0, {0xB0, 7, 1}}, {17, {0x90, 60, 100}}, {90, {0x90, 64, 100}}}));
}

TEST_F(EventsOfAnInstrument, WhatIsSentWithinABlockComesBehindWhatWasRoutedAndNoFrameGoesBack) {
  route({0x90, 60, 100}, 17);
  send({0x80, 60, 0});
  EXPECT_EQ(block(), (std::vector<Taken>{{17, {0x90, 60, 100}}, {17, {0x80, 60, 0}}}));
}

TEST_F(EventsOfAnInstrument, WhatABlockLeavesComesAtTheFirstFrameOfTheNextBeforeAllElse) {
  route({0x90, 60, 100}, 17);
  route({0x90, 64, 100}, 40);
  EXPECT_EQ(block(1).size(), 1U);
  route({0x90, 67, 100}, 3);
  EXPECT_EQ(block(), (std::vector<Taken>{{0, {0x90, 64, 100}}, {3, {0x90, 67, 100}}}));
  route({0x90, 69, 100}, 5);
  EXPECT_EQ(block(), (std::vector<Taken>{{5, {0x90, 69, 100}}}));
}

TEST_F(EventsOfAnInstrument, WhatNoBlockTookComesAtTheFirstFrame) {
  route({0x90, 60, 100}, 100);
  route({0x90, 64, 100}, 20);  // by now in another block, and the first has not called the instrument
  route({0x90, 67, 100}, 90);
  EXPECT_EQ(block(), (std::vector<Taken>{{0, {0x90, 60, 100}}, {20, {0x90, 64, 100}}, {90, {0x90, 67, 100}}}));
  route({0x90, 69, 100}, 5);
  EXPECT_EQ(block(), (std::vector<Taken>{{5, {0x90, 69, 100}}}));
}

TEST_F(EventsOfAnInstrument, APanicComesBehindANoteThatWaits) {
  route({0x90, 60, 100}, 17);
  (void)block(0);
  send({0x80, 60, 0});
  route({0x90, 62, 100}, 9);
  EXPECT_EQ(block(), (std::vector<Taken>{{0, {0x90, 60, 100}}, {0, {0x80, 60, 0}}, {9, {0x90, 62, 100}}}));
}

TEST_F(EventsOfAnInstrument, AResetForgetsWhatWasSentAndWhatWasRoutedButNothingLater) {
  route({0x90, 60, 100}, 17);
  (void)block(0);
  send({0x90, 61, 100});
  events->forget();
  send({0x90, 62, 100});
  route({0x90, 63, 100}, 5);
  EXPECT_EQ(block(), (std::vector<Taken>{{0, {0x90, 62, 100}}, {5, {0x90, 63, 100}}}));
  EXPECT_EQ(dropped, 0U);
}

TEST_F(EventsOfAnInstrument, FiftyThousandMessagesForABlockThatNeverComesLoseNoReleaseAndNoPanic) {
  for (int message = 0; message < 50000; ++message) {
    const auto key = static_cast<std::uint8_t>(message / 2 % 128);
    route({static_cast<std::uint8_t>(message % 2 == 0 ? 0x90 : 0x80), key, static_cast<std::uint8_t>(100)}, 0);
  }
  for (std::uint8_t channel = 0; channel < 16; ++channel) {
    send({static_cast<std::uint8_t>(0xB0 + channel), 123, 0});
  }
  std::set<std::uint8_t> held;
  std::set<std::uint8_t> silenced;
  for (const auto& [frame, bytes] : block()) {
    if (bytes[0] == 0x90) {
      held.insert(bytes[1]);
    } else if (bytes[0] == 0x80) {
      held.erase(bytes[1]);
    } else {
      silenced.insert(bytes[0]);
    }
  }
  EXPECT_TRUE(held.empty());
  EXPECT_EQ(silenced.size(), 16U);
  EXPECT_EQ(events->dropped(), dropped);
  EXPECT_GT(dropped, 0U);
}

TEST_F(EventsOfAnInstrument, ResetsAndSendsBesideBlocksLoseNothingThatCameAfterTheLastReset) {
  std::atomic<bool> isOver = false;
  std::atomic<int> blocks = 0;
  std::array<int, 128> held{};
  std::thread audio([&] {
    for (bool isLast = false; !isLast; ++blocks) {
      isLast = isOver;
      route({0xE0, 0, 64}, 3);
      for (const auto& [frame, bytes] : block()) {
        held[bytes[1]] = bytes[0] == 0x90 ? 1 : 0;
      }
    }
  });
  for (int round = 0; round < 5000; ++round) {
    events->forget();
    const auto key = static_cast<std::uint8_t>(1 + round % 127);
    send({0x90, key, 100});
    send({0x80, key, 0});
  }
  for (const int seen = blocks; blocks < seen + 2;) {
    std::this_thread::yield();  // what is forgotten leaves the queue with the next block
  }
  for (std::uint8_t key = 1; key < 128; ++key) {
    send({0x80, key, 0});
  }
  send({0x90, 5, 100});
  isOver = true;
  audio.join();
  std::array<int, 128> expected{};
  expected[5] = 1;
  EXPECT_EQ(held, expected);
}

}  // namespace
}  // namespace vrel
