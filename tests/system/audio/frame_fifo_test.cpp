// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/frame_fifo.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <thread>
#include <vector>

namespace vrel::audio {
namespace {

constexpr std::uint32_t capacity = 64;

/// Frames that are numbered from `first` on; the right channel holds their negatives.
struct Frames {
  explicit Frames(std::uint32_t count, std::uint64_t first = 0) : left(count), right(count) {
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      left[frame] = static_cast<float>(first + frame);
      right[frame] = -left[frame];
    }
  }
  [[nodiscard]] std::array<const float*, 2> input() const { return {left.data(), right.data()}; }
  [[nodiscard]] FrameFifo::Output output() { return {left.data(), right.data()}; }
  bool operator==(const Frames&) const = default;

  std::vector<float> left;
  std::vector<float> right;
};

std::uint32_t take(FrameFifo& fifo, Frames& frames) {
  const AudioThreadScope block;
  return fifo.take(frames.output(), static_cast<std::uint32_t>(frames.left.size()));
}

TEST(FrameFifo, HasRoomForThePowerOfTwoThatIsNotLess) {
  EXPECT_EQ(FrameFifo(1).capacity(), 1U);
  EXPECT_EQ(FrameFifo(64).capacity(), 64U);
  EXPECT_EQ(FrameFifo(65).capacity(), 128U);
}

TEST(FrameFifo, FramesComeOutInOrderAcrossTheEndOfTheMemory) {
  FrameFifo fifo(capacity);
  for (std::uint64_t number = 0; number < 1000; number += 23) {
    fifo.write(Frames(23, number).input(), 23);
    EXPECT_EQ(fifo.waiting(), 23U);
    EXPECT_EQ(fifo.room(), capacity - 23);
    Frames taken(23);
    ASSERT_EQ(take(fifo, taken), 23U);
    ASSERT_EQ(taken, Frames(23, number));
  }
  Frames none(1);
  EXPECT_EQ(take(fifo, none), 0U);
}

TEST(FrameFifo, WhatIsPlacedIsThereOnceItIsCommitted) {
  FrameFifo fifo(capacity);
  fifo.write(Frames(60).input(), 60);
  Frames taken(60);
  ASSERT_EQ(take(fifo, taken), 60U);
  const Frames placed(10, 100);
  for (std::uint32_t channel = 0; channel < 2; ++channel) {
    fifo.place(channel, 0, placed.input()[channel], 4);
    fifo.place(channel, 4, placed.input()[channel] + 4, 6);
  }
  EXPECT_EQ(fifo.waiting(), 0U);
  fifo.commit(10);
  Frames copied(10);
  fifo.copyOldest(0, copied.left.data(), 10);
  fifo.copyOldest(1, copied.right.data(), 10);
  EXPECT_EQ(copied, placed);
  EXPECT_EQ(fifo.waiting(), 10U);
  fifo.release(10);
  EXPECT_EQ(fifo.waiting(), 0U);
}

TEST(FrameFifo, TheSpaceIsOneSegmentThatEndsWhereTheMemoryOrTheRoomEnds) {
  FrameFifo fifo(capacity);
  EXPECT_EQ(fifo.space().frameCount, capacity);
  fifo.commit(50);
  EXPECT_EQ(fifo.space().frameCount, capacity - 50);
  fifo.release(20);
  EXPECT_EQ(fifo.space().frameCount, capacity - 50);
  fifo.commit(capacity - 50);
  EXPECT_EQ(fifo.space().frameCount, 20U);
}

TEST(FrameFifo, TwoThreadsLoseNothing) {
  constexpr std::uint64_t total = 20000;
  FrameFifo fifo(capacity);
  std::thread writer([&] {
    for (std::uint64_t number = 0; number < total;) {
      const auto count = static_cast<std::uint32_t>(1 + number % 13);
      if (fifo.room() < count) {
        std::this_thread::yield();
        continue;
      }
      fifo.write(Frames(count, number).input(), count);
      number += count;
    }
  });
  std::uint32_t wrong = 0;
  for (std::uint64_t number = 0; number < total;) {
    Frames taken(17);
    const std::uint32_t count = take(fifo, taken);
    for (std::uint32_t frame = 0; frame < count; ++frame) {
      const auto expected = static_cast<float>(number + frame);
      wrong += taken.left[frame] == expected && taken.right[frame] == -expected ? 0U : 1U;
    }
    number += count;
  }
  writer.join();
  EXPECT_EQ(wrong, 0U);
}

}  // namespace
}  // namespace vrel::audio
