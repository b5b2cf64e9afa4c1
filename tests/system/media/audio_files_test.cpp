// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

using testing::Values;

class LosslessFile : public testing::TestWithParam<std::string> {};

TEST_P(LosslessFile, GivesEveryFrameExactly) {
  const auto file = opened(GetParam());
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->processingFormat(), (AVAudioFormat{48000, 2}));
  ASSERT_EQ(file->length(), 96000);
  const auto whole = readAt(*file, 0, 96000);
  ASSERT_EQ(whole[0].size(), 96000U);
  for (std::int64_t frame = 0; frame < 96000; ++frame) {
    ASSERT_EQ(whole[0][static_cast<std::size_t>(frame)], countAt(frame)) << "frame " << frame;
    ASSERT_EQ(whole[1][static_cast<std::size_t>(frame)], -countAt(frame)) << "frame " << frame;
  }
}

TEST_P(LosslessFile, SeeksToTheFrame) {
  const auto file = opened(GetParam());
  ASSERT_NE(file, nullptr);
  for (const std::int64_t frame : {95999, 0, 1, 4095, 4096, 4097, 50000, 12345, 19999, 20000}) {
    file->setFramePosition(frame);
    EXPECT_EQ(file->framePosition(), frame);
    EXPECT_EQ(readAt(*file, frame, 1)[0], std::vector{countAt(frame)}) << "frame " << frame;
    EXPECT_EQ(file->framePosition(), frame + 1);
  }
}

TEST_P(LosslessFile, EndsWhereItEnds) {
  const auto file = opened(GetParam());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(readAt(*file, 95990, 100)[0].size(), 10U);
  EXPECT_EQ(readAt(*file, 96000, 100)[0].size(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Media, LosslessFile, Values("count.wav", "count.aiff", "count.flac"),
                         [](const auto& each) { return each.param.substr(each.param.find('.') + 1); });

struct Lossy {
  std::string name;
  std::int64_t slack;      // frames by which the length may exceed the input: a last packet that is not trimmed
  std::size_t before = 0;  // encoder delay in frames that the container does not declare
};

class LossyFile : public testing::TestWithParam<Lossy> {};

TEST_P(LossyFile, HasAsManyFramesAsItSays) {
  const auto file = opened(GetParam().name);
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->processingFormat(), (AVAudioFormat{48000, 2}));
  EXPECT_GE(file->length(), 144000);
  EXPECT_LE(file->length(), 144000 + GetParam().slack);
  const auto whole = readAt(*file, 0, 200000);
  EXPECT_EQ(static_cast<std::int64_t>(whole[0].size()), file->length());
}

// A frame of difference would show as 0.02; some decoders generate the noise between the tones differently each time.
TEST_P(LossyFile, SoundsTheSameFromAnywhere) {
  const auto file = opened(GetParam().name);
  ASSERT_NE(file, nullptr);
  const auto whole = readAt(*file, 0, 140000);
  for (const std::size_t frame : {100000U, 1U, 20000U, 70001U, 33333U, 0U, 130000U}) {
    const auto part = readAt(*file, static_cast<std::int64_t>(frame), 3000);
    ASSERT_EQ(part[0].size(), 3000U);
    float largest = 0;
    for (std::size_t index = 0; index < part[0].size(); ++index) {
      largest = std::max(largest, std::fabs(part[0][index] - whole[0][frame + index]));
    }
    EXPECT_LT(largest, 5e-3F) << "from frame " << frame;
  }
}

TEST_P(LossyFile, HoldsTheSoundInItsPlace) {
  const auto file = opened(GetParam().name);
  ASSERT_NE(file, nullptr);
  const auto whole = readAt(*file, 0, 48000);
  double product = 0;
  double power = 0;
  double wanted = 0;
  for (std::size_t frame = 4800; frame < 40000; ++frame) {
    const double t = static_cast<double>(frame) / 48000;
    const double pi = std::acos(-1.0);
    const double sound = 0.2 * std::sin(440 * 2 * pi * t) + 0.1 * std::sin(1234.5 * 2 * pi * t * (1 + t / 20));
    const auto heard = static_cast<double>(whole[0][GetParam().before + frame]);
    product += sound * heard;
    power += heard * heard;
    wanted += sound * sound;
  }
  EXPECT_GT(product / std::sqrt(power * wanted), 0.999);
}

INSTANTIATE_TEST_SUITE_P(Media, LossyFile,
                         Values(Lossy{"tones.ogg", 0}, Lossy{"tones.mp3", 0}, Lossy{"tones.m4a", 1024},
                                Lossy{"movie.mp4", 1024}, Lossy{"tones.opus", 0}, Lossy{"tones-opus.webm", 400},
                                Lossy{"tones-aac.mkv", 2048, 1024}),
                         [](const auto& each) {
                           auto name = each.param.name;
                           std::erase_if(name, [](char letter) { return letter == '.' || letter == '-'; });
                           return name;
                         });

TEST(AudioFile, IsKnownByItsContentNotByItsName) {
  EXPECT_EQ(opened("renamed.wav")->length(), opened("tones.mp3")->length());
  EXPECT_EQ(opened("renamed.mp3")->length(), opened("tones.m4a")->length());
}

TEST(AudioFile, OfTwentyChannelsGivesThemAll) {
  const auto file = opened("twenty.wav");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->processingFormat().channelCount, 20U);
  const auto frame = readAt(*file, 100, 1);
  for (std::size_t channel = 0; channel < 20; ++channel) {
    EXPECT_EQ(frame[channel][0], static_cast<float>(100 + channel) / 32768.0F);
  }
}

TEST(AudioFile, OfThreeHoursIsNotReadIntoMemory) {
  AudioFiles files;
  const auto file = opened("three-hours.wav");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->length(), 3LL * 3600 * 48000);
  EXPECT_EQ(files.makePCMBuffer(file->processingFormat(), static_cast<std::uint32_t>(file->length())), nullptr);
  EXPECT_EQ(readAt(*file, file->length() - 10, 100)[0].size(), 10U);
}

TEST(RateConverter, IsTheSameInPiecesAsInOne) {
  const auto sound = readAt(*opened("tones.ogg"), 0, 20000);
  const auto convertBy = [&](std::uint32_t chunk) {
    AudioFiles files;
    const auto converter = files.makeConverter(48000, 44100);
    std::vector<float> left(40000);
    std::vector<float> right(40000);
    std::uint32_t given = 0;
    for (std::uint32_t at = 0; at < 20000;) {
      const auto progress =
          converter->convert({sound[0].data() + at, sound[1].data() + at}, std::min(chunk, 20000 - at),
                             {left.data() + given, right.data() + given}, 40000 - given);
      at += progress.taken;
      given += progress.given;
    }
    while (const auto more = converter->finish({left.data() + given, right.data() + given}, 40000 - given)) {
      given += more;
    }
    left.resize(given);
    return left;
  };
  const auto whole = convertBy(20000);
  EXPECT_EQ(whole.size(), 18375U);
  EXPECT_EQ(convertBy(4096), whole);
  EXPECT_EQ(convertBy(7), whole);
}

}  // namespace
}  // namespace vrel::system::test
