// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/render_handover.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace vrel::audio::test {
namespace {

constexpr std::uint32_t portFrames = 128;
constexpr std::size_t edgeBlocks = SoftEdges::edgeFrames / portFrames;
constexpr std::size_t manyBlocks = 4 * edgeBlocks;
constexpr float softStep = 0.01F;

/// A constant of one, and the number of the next frame.
class Constant final : public BlockRenderer {
 public:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
      left[frame] = 1;
      right[frame] = 1;
    }
    frames += frameCount;
  }
  void pump() override {}

  std::size_t frames = 0;
};

class Handover : public testing::Test {
 protected:
  /// The left channel of the next blocks of a port.
  std::vector<float> play(RenderHandover::Port& port, std::size_t blocks) {
    std::vector<float> played;
    for (std::size_t block = 0; block < blocks; ++block) {
      std::vector<float> left(portFrames, -1);
      std::vector<float> right(portFrames, -1);
      port.render(left.data(), right.data(), portFrames);
      EXPECT_EQ(left, right);
      played.insert(played.end(), left.begin(), left.end());
    }
    return played;
  }

  Constant renderer;
  RenderHandover handover;
  RenderHandover::Port first{handover};
  RenderHandover::Port second{handover};
};

float largestStep(float before, const std::vector<float>& samples) {
  float largest = 0;
  for (const float sample : samples) {
    largest = std::max(largest, std::abs(sample - before));
    before = sample;
  }
  return largest;
}

TEST_F(Handover, APortThatIsNotSelectedPlaysSilence) {
  handover.give(renderer);
  const auto played = play(first, 2);
  EXPECT_EQ(std::count(played.begin(), played.end(), 0.0F), 2 * portFrames);
  EXPECT_EQ(renderer.frames, 0U);
  EXPECT_EQ(first.blocks(), 2U);
  EXPECT_TRUE(first.isSilent());
}

TEST_F(Handover, TheSoundMovesWithoutAClickAndWithoutALostFrame) {
  handover.give(renderer);
  handover.select(first);
  EXPECT_LT(largestStep(0, play(first, manyBlocks)), softStep);
  handover.select(second);
  const auto end = play(first, edgeBlocks + 1);
  const auto beginning = play(second, edgeBlocks + 1);
  EXPECT_LT(largestStep(1, end), softStep) << "fades out";
  EXPECT_EQ(end.back(), 0);
  EXPECT_LT(largestStep(0, beginning), softStep) << "fades in";
  EXPECT_EQ(beginning.back(), 1);
  EXPECT_EQ(renderer.frames, (manyBlocks + edgeBlocks + 1) * portFrames) << "asked for by one of them at a time";
  EXPECT_TRUE(first.isSilent());
  EXPECT_FALSE(second.isSilent());
}

TEST_F(Handover, BehindAGapOfTheDeviceSilenceBeginsWithoutAnEdge) {
  handover.give(renderer);
  handover.select(first);
  play(first, manyBlocks);
  handover.select(second);
  first.noteGap();
  EXPECT_EQ(largestStep(0, play(first, edgeBlocks)), 0);
  handover.select(first);
  EXPECT_LT(largestStep(0, play(first, edgeBlocks)), softStep);
}

TEST_F(Handover, OnceWithdrawnTheRendererIsNotCalled) {
  handover.give(renderer);
  handover.select(first);
  play(first, manyBlocks);
  handover.withdraw();
  EXPECT_LT(largestStep(1, play(first, edgeBlocks)), softStep);
  EXPECT_EQ(renderer.frames, manyBlocks * portFrames);
}

TEST_F(Handover, TheRendererIsNeverCalledTwiceAtATime) {
  class Watched final : public BlockRenderer {
   public:
    void render(float*, float*, std::uint32_t) noexcept override {
      overlaps += isInside.exchange(true) ? 1 : 0;
      std::this_thread::yield();
      isInside = false;
    }
    void pump() override {}
    std::atomic<bool> isInside{false};
    std::atomic<int> overlaps{0};
  };
  Watched watched;
  handover.give(watched);
  std::atomic<bool> isEnding{false};
  const auto ask = [&](RenderHandover::Port& port) {
    std::vector<float> left(portFrames);
    std::vector<float> right(portFrames);
    while (!isEnding) {
      port.render(left.data(), right.data(), portFrames);
    }
  };
  std::thread one(ask, std::ref(first));
  std::thread other(ask, std::ref(second));
  constexpr int moves = 20000;
  for (int count = 0; count < moves; ++count) {
    handover.select(count % 2 == 0 ? first : second);
    if (count % 100 == 0) {
      handover.withdraw();
      EXPECT_FALSE(watched.isInside);
    }
  }
  isEnding = true;
  one.join();
  other.join();
  EXPECT_EQ(watched.overlaps, 0);
}

}  // namespace
}  // namespace vrel::audio::test
