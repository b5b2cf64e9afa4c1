// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/byte_fifo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

namespace vrel {
namespace {

using Message = std::vector<std::uint8_t>;

TEST(ByteFifo, MessagesComeOutWholeAndInOrder) {
  ByteFifo fifo(64);
  Message message;
  EXPECT_FALSE(fifo.pop(message));
  for (std::uint8_t round = 0; round < 50; ++round) {
    ASSERT_TRUE(fifo.push(Message{0x90, round, 1}));
    ASSERT_TRUE(fifo.push(Message{}));
    ASSERT_TRUE(fifo.push(Message(20, round)));
    ASSERT_TRUE(fifo.pop(message));
    EXPECT_EQ(message, (Message{0x90, round, 1}));
    ASSERT_TRUE(fifo.pop(message));
    EXPECT_EQ(message, Message());
    ASSERT_TRUE(fifo.pop(message));
    EXPECT_EQ(message, Message(20, round));
    EXPECT_FALSE(fifo.pop(message));
  }
}

TEST(ByteFifo, WhatFindsNoRoomIsCountedAndLeavesTheRestWhole) {
  ByteFifo fifo(16);
  EXPECT_TRUE(fifo.push(Message{1, 2, 3, 4, 5, 6}));
  EXPECT_FALSE(fifo.push(Message{7, 8, 9}));
  EXPECT_FALSE(fifo.push(Message(100, 1)));
  EXPECT_TRUE(fifo.push(Message{7, 8}));
  EXPECT_FALSE(fifo.push(Message{}));
  EXPECT_EQ(fifo.dropped(), 3U);
  Message message;
  EXPECT_TRUE(fifo.pop(message));
  EXPECT_EQ(message, (Message{1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(fifo.pop(message));
  EXPECT_EQ(message, (Message{7, 8}));
  EXPECT_FALSE(fifo.pop(message));
}

TEST(ByteFifo, TwoThreadsLoseNothing) {
  constexpr std::uint32_t count = 20000;
  ByteFifo fifo(256);
  std::thread writer([&] {
    for (std::uint32_t number = 0; number < count;) {
      if (fifo.push(Message(number % 50, static_cast<std::uint8_t>(number)))) {
        ++number;
      } else {
        std::this_thread::yield();
      }
    }
  });
  Message message;
  std::uint32_t wrong = 0;
  for (std::uint32_t number = 0; number < count;) {
    if (!fifo.pop(message)) {
      std::this_thread::yield();
      continue;
    }
    wrong += message == Message(number % 50, static_cast<std::uint8_t>(number)) ? 0U : 1U;
    ++number;
  }
  writer.join();
  EXPECT_EQ(wrong, 0U);
}

TEST(ByteFifo, TheLongestMessageFillsItAndOneThatIsLongerIsNotStoredAtAll) {
  constexpr std::size_t capacity = 1U << 16U;
  constexpr std::size_t longest = capacity - ByteFifo::headBytes;
  ByteFifo fifo(capacity);
  Message message;
  EXPECT_FALSE(fifo.push(Message(longest + 1)));
  EXPECT_TRUE(fifo.push(Message(longest)));
  EXPECT_FALSE(fifo.push(Message{}));
  EXPECT_TRUE(fifo.pop(message));
  EXPECT_EQ(message.size(), longest);
  EXPECT_FALSE(fifo.pop(message));
  EXPECT_TRUE(fifo.push(Message{}));
  EXPECT_TRUE(fifo.pop(message));
  EXPECT_TRUE(message.empty());
}

TEST(ByteFifo, MessagesOfAllLengthsCrossTwoThreadsWhole) {
  ByteFifo fifo(1U << 16U);
  constexpr std::uint32_t total = 20000;
  const auto lengthOf = [](std::uint32_t number) { return number * 7919 % 3000; };
  std::thread producer([&] {
    for (std::uint32_t number = 0; number < total;) {
      number += fifo.push(Message(lengthOf(number), static_cast<std::uint8_t>(number))) ? 1U : 0U;
    }
  });
  Message message;
  for (std::uint32_t number = 0; number < total;) {
    if (fifo.pop(message)) {
      ASSERT_EQ(message, Message(lengthOf(number), static_cast<std::uint8_t>(number)));
      ++number;
    }
  }
  producer.join();
}

TEST(ByteFifo, TakingAMessageThatFitsTheVectorAllocatesNothing) {
  ByteFifo fifo(64);
  Message message;
  message.reserve(20);
  const auto* const storage = message.data();
  for (std::uint8_t length = 0; length <= 20; ++length) {
    ASSERT_TRUE(fifo.push(Message(length, length)));
    ASSERT_TRUE(fifo.pop(message));
    EXPECT_EQ(message.data(), storage);
  }
}

}  // namespace
}  // namespace vrel
