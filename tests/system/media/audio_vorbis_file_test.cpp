// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_vorbis_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

double processorSeconds() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

TEST(VorbisFile, GivesTheSameSamplesFromAnywhere) {
  const auto file = opened("long.ogg");
  ASSERT_NE(file, nullptr);
  const std::int64_t length = file->length();
  ASSERT_EQ(length, std::int64_t{60} * 44100);
  const auto whole = readAt(*file, 0, static_cast<std::uint32_t>(length));
  for (std::int64_t turn = 0; turn < 300; ++turn) {
    const std::int64_t near = turn * 97;
    const std::int64_t far = turn * turn * 7919 % length;
    for (const std::int64_t frame : {near, far, length - 1 - near}) {
      const auto part = readAt(*file, frame, 600);
      for (std::size_t channel = 0; channel < 2; ++channel) {
        ASSERT_EQ(static_cast<std::int64_t>(part[channel].size()), std::min<std::int64_t>(600, length - frame));
        ASSERT_TRUE(std::equal(part[channel].begin(), part[channel].end(), whole[channel].begin() + frame))
            << "from " << frame;
      }
    }
  }
}

TEST(VorbisFile, ReachesALateFrameWithoutDecodingAllThatIsBeforeIt) {
  const auto file = opened("long.ogg");
  ASSERT_NE(file, nullptr);
  double begin = processorSeconds();
  const auto whole = readAt(*file, 0, static_cast<std::uint32_t>(file->length()));
  const double all = processorSeconds() - begin;
  begin = processorSeconds();
  for (int turn = 0; turn < 5; ++turn) {
    readAt(*file, file->length() - 44100 + turn * 1000, 100);
  }
  EXPECT_LT(processorSeconds() - begin, all) << "five times";
}

TEST(VorbisFile, IsReadAcrossADamageAndEndsEarly) {
  const auto file = opened("damaged.ogg");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->length(), 144000);
  AVAudioPCMBuffer buffer(file->processingFormat(), 144000);
  const auto failure = file->readIntoBuffer(buffer, 144000);
  ASSERT_TRUE(failure);
  EXPECT_THAT(failure->description, testing::HasSubstr("unexpected end of file"));
  EXPECT_EQ(file->framePosition(), buffer.frameLength);
  const auto whole = readAt(*opened("tones.ogg"), 0, 144000);
  const float* const left = buffer.floatChannelData()[0];
  EXPECT_TRUE(std::equal(left, left + 40000, whole[0].begin()));
  EXPECT_GT(buffer.frameLength, 48000U);
  EXPECT_EQ(readAt(*file, 0, 1)[0], std::vector{whole[0][0]}) << "and can be read again";
}

TEST(VorbisFile, ForScanningHasTheSameFramesButForTheirLastBits) {
  for (const auto* const name : {"long.ogg", "tones.ogg"}) {
    const auto exact = opened(name);
    const auto scanned = AudioFiles().openForScanning(mediaFile(name));
    ASSERT_TRUE(exact != nullptr && scanned != nullptr);
    ASSERT_EQ(scanned->length(), exact->length());
    constexpr std::uint32_t chunk = 10000;
    for (std::int64_t frame = 0; frame < exact->length(); frame += chunk) {
      const auto one = readAt(*exact, frame, chunk);
      const auto other = readAt(*scanned, frame, chunk);
      for (std::size_t channel = 0; channel < one.size(); ++channel) {
        ASSERT_TRUE(std::equal(one[channel].begin(), one[channel].end(), other[channel].begin(), other[channel].end(),
                               [](float left, float right) { return std::abs(left - right) < 1e-4F; }))
            << name << " from " << frame;
      }
    }
  }
}

TEST(VorbisFile, ForScanningFailsWhereItIsDamagedAndOutOfOrder) {
  const auto damaged = AudioFiles().openForScanning(mediaFile("damaged.ogg"));
  ASSERT_NE(damaged, nullptr);
  AVAudioPCMBuffer buffer(damaged->processingFormat(), 144000);
  EXPECT_TRUE(damaged->readIntoBuffer(buffer, 144000));
  const auto sound = AudioFiles().openForScanning(mediaFile("tones.ogg"));
  ASSERT_NE(sound, nullptr);
  sound->setFramePosition(1000);
  EXPECT_TRUE(sound->readIntoBuffer(buffer, 100));
  EXPECT_EQ(AudioFiles().openForScanning(mediaFile("tones.opus")), nullptr) << "there is no quicker way";
}

TEST(VorbisFile, IsNoOtherOggFile) {
  EXPECT_TRUE(AudioVorbisFile::open(mediaFile("tones.ogg")).ok());
  EXPECT_FALSE(AudioVorbisFile::open(mediaFile("tones.opus")).ok());
  EXPECT_FALSE(AudioVorbisFile::open(mediaFile("count.wav")).ok());
  EXPECT_FALSE(AudioVorbisFile::open(mediaFile("missing.ogg")).ok());
}

}  // namespace
}  // namespace vrel::system::test
