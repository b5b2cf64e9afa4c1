// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/audio/player_stage.h"
#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

using audio::test::OfflinePlayers;

std::vector<float> twice(const std::vector<float>& samples) {
  std::vector<float> both = samples;
  both.insert(both.end(), samples.begin(), samples.end());
  return both;
}

TEST(PlayingFile, ALoopIsTheFileReadTwice) {
  for (const std::string name : {"count.wav", "count.flac", "tones.ogg", "tones.mp3", "tones.m4a", "movie.mp4"}) {
    SCOPED_TRACE(name);
    OfflinePlayers stage;
    const auto player = stage.addPlayer();
    const auto file = opened(name);
    stage.loop(player, file, 1000, 30001, 2);
    player->play();
    const auto tape = stage.record(70000);
    const auto once = readAt(*opened(name), 1000, 30001);
    auto expected = twice(once[0]);
    // A decoder that comes back from elsewhere may round its first frames otherwise.
    float largest = 0;
    for (std::size_t frame = 0; frame < expected.size(); ++frame) {
      largest = std::max(largest, std::fabs(tape.left[frame] - expected[frame]));
    }
    EXPECT_LE(largest, name.starts_with("count") || name == "tones.ogg" ? 0.0F : 5e-3F);
    EXPECT_TRUE(std::all_of(tape.left.begin() + 60002, tape.left.end(), [](float sample) { return sample == 0; }));
    EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
    EXPECT_EQ(stage.counters->unreadFrames.load(), 0U);
  }
}

TEST(PlayingFile, OfAnotherRateIsConvertedAcrossTheSeam) {
  const auto converters = std::make_shared<AudioFiles>();
  OfflinePlayers stage(converters);
  const auto player = stage.addPlayer();
  stage.loop(player, opened("count-44100.wav"), 0, 44100, 2);
  player->play();
  const auto tape = stage.record(100000);

  const auto sound = readAt(*opened("count-44100.wav"), 0, 44100);
  const std::array<std::vector<float>, 2> input{twice(sound[0]), twice(sound[1])};
  std::vector<float> left(100000);
  std::vector<float> right(100000);
  const auto converter = converters->makeConverter(44100, 48000);
  const auto progress =
      converter->convert({input[0].data(), input[1].data()}, 88200, {left.data(), right.data()}, 100000);
  std::uint32_t given = progress.given;
  ASSERT_EQ(progress.taken, 88200U);
  while (const auto more = converter->finish({left.data() + given, right.data() + given}, 100000 - given)) {
    given += more;
  }
  EXPECT_EQ(given, 96000U);
  EXPECT_EQ(tape.left, left);
  EXPECT_EQ(tape.right, right);
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST(PlayingFile, OfOneSideSoundsOnBoth) {
  OfflinePlayers stage;
  const auto player = stage.addPlayer();
  player->scheduleSegment(opened("mono.wav"), 10, 1000, [] {});
  player->play();
  const auto tape = stage.record(1024);
  EXPECT_EQ(tape.left[5], countAt(15));
  EXPECT_EQ(tape.left, tape.right);
}

TEST(PlayingFile, OfTwentyChannelsSoundsWithTheFirstTwo) {
  OfflinePlayers stage;
  const auto player = stage.addPlayer();
  player->scheduleSegment(opened("twenty.wav"), 0, 480, [] {});
  player->play();
  const auto tape = stage.record(512);
  EXPECT_EQ(tape.left[100], 100.0F / 32768);
  EXPECT_EQ(tape.right[100], 101.0F / 32768);
}

TEST(PlayingFile, OfThreeHoursPlaysItsLastSecond) {
  OfflinePlayers stage;
  const auto player = stage.addPlayer();
  const auto file = opened("three-hours.wav");
  bool isConsumed = false;
  player->scheduleSegment(file, file->length() - 48000, 48000, [&] { isConsumed = true; });
  player->play();
  stage.record(47000);
  EXPECT_FALSE(isConsumed);
  stage.record(2048);
  EXPECT_TRUE(isConsumed);
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
  EXPECT_EQ(stage.counters->unreadFrames.load(), 0U);
}

TEST(PlayingFile, OfOneFrameOrNoneHoldsNobodyUp) {
  for (const std::string name : {"one.wav", "zero.wav"}) {
    SCOPED_TRACE(name);
    OfflinePlayers stage;
    const auto player = stage.addPlayer();
    stage.loop(player, opened(name), 0, 1, 1000000);
    player->play();
    const auto tape = stage.record(12800);
    EXPECT_EQ(tape.left[12799], name == "one.wav" ? 0.5F : 0.0F);
    EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
    player->stop();
    stage.runQueue();
  }
}

TEST(PlayingFile, PlaysOnWhenItsNameIsRemovedOrGivenToAnother) {
  const CopiedFile copy("count.wav", "played-file.wav");
  OfflinePlayers stage;
  const auto player = stage.addPlayer();
  stage.loop(player, opened("played-file.wav"), 0, 90000, 3);
  player->play();
  auto tape = stage.record(1024).left;
  std::filesystem::remove(copy.path);
  auto more = stage.record(99072).left;
  tape.insert(tape.end(), more.begin(), more.end());
  std::filesystem::copy_file(mediaFile("one.wav"), copy.path);
  more = stage.record(80000).left;
  tape.insert(tape.end(), more.begin(), more.end());
  for (std::size_t frame = 0; frame < tape.size(); ++frame) {
    ASSERT_EQ(tape[frame], countAt(static_cast<std::int64_t>(frame % 90000))) << "frame " << frame;
  }
  EXPECT_EQ(stage.counters->unreadFrames.load(), 0U);
}

TEST(PlayingFile, IsSilentFromWhereItIsCutWhileItPlaysAndItsLoopGoesOn) {
  const CopiedFile copy("count.wav", "shortened-file.wav");
  OfflinePlayers stage;
  const auto player = stage.addPlayer();
  stage.loop(player, opened("shortened-file.wav"), 0, 90000, 2);
  player->play();
  stage.record(128);
  constexpr std::size_t framesLeft = 60000;
  std::filesystem::resize_file(copy.path, std::filesystem::file_size(copy.path) - 4 * (96000 - framesLeft));
  const auto rest = stage.record(180000 - 128).left;
  for (std::size_t frame = 128; frame < 180000; ++frame) {
    const auto inPass = frame % 90000;
    ASSERT_EQ(rest[frame - 128], inPass < framesLeft ? countAt(static_cast<std::int64_t>(inPass)) : 0.0F)
        << "frame " << frame;
  }
  EXPECT_EQ(stage.counters->unreadFrames.load(), 2 * (90000 - framesLeft));
  EXPECT_EQ(stage.counters->underrunBlocks.load(), 0U);
}

TEST(PlayingFile, ALoopThatBeginsLateInALongOneHasNoSeam) {
  OfflinePlayers stage(nullptr, 44100);
  const auto player = stage.addPlayer();
  const auto once = readAt(*opened("long.ogg"), 2500001, 50000);
  stage.loop(player, opened("long.ogg"), 2500001, 50000, 2);
  player->play();
  const auto tape = stage.record(100000);
  EXPECT_EQ(tape.left, twice(once[0]));
  EXPECT_EQ(tape.right, twice(once[1]));
}

TEST(PlayingFile, RendersTheSameEachTime) {
  const auto play = [] {
    OfflinePlayers stage(std::make_shared<AudioFiles>(), 48000, 37);
    for (const std::string name : {"count-44100.wav", "tones.mp3", "tones.m4a"}) {
      const auto player = stage.addPlayer();
      stage.loop(player, opened(name), 777, 20000, 4);
      player->play();
    }
    return stage.record(60000);
  };
  const auto first = play();
  const auto second = play();
  EXPECT_EQ(first.left, second.left);
  EXPECT_EQ(first.right, second.right);
}

}  // namespace
}  // namespace vrel::system::test
