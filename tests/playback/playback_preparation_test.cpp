// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_preparation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "playback/playback_envelope.h"
#include "playback/playback_range.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_audio_files.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

constexpr double rate = 48000;

TEST(PlaybackRange, AnEndOfZeroIsTheEndOfTheFile) {
  EXPECT_EQ(normalisedPlaybackRange(0.5, 0, 2, rate), (PlaybackRange{0.5, 2, 24000, 72000}));
}

TEST(PlaybackRange, AnEndBeforeTheStartIsTheEndOfTheFile) {
  EXPECT_EQ(normalisedPlaybackRange(1, 0.5, 2, rate), (PlaybackRange{1, 2, 48000, 48000}));
}

TEST(PlaybackRange, AStartBehindTheFileLeavesOneFrame) {
  EXPECT_EQ(normalisedPlaybackRange(3, 4, 2, rate), (PlaybackRange{2, 2, 96000, 1}));
  EXPECT_EQ(normalisedPlaybackRange(3, 0, 2, rate), (PlaybackRange{2, 2, 96000, 1}));
}

TEST(PlaybackRange, ANegativeStartIsTheBeginning) {
  EXPECT_EQ(normalisedPlaybackRange(-1, 1, 2, rate), (PlaybackRange{0, 1, 0, 48000}));
}

TEST(PlaybackRange, AnEndBehindTheFileIsItsEnd) {
  EXPECT_EQ(normalisedPlaybackRange(0, 9, 2, rate), (PlaybackRange{0, 2, 0, 96000}));
}

TEST(PlaybackRange, HalvesOfAFrameGoUp) {
  EXPECT_EQ(normalisedPlaybackRange(0.25, 0.75, 5, 10), (PlaybackRange{0.25, 0.75, 3, 5}));
}

TEST(PlaybackRange, AFileWithoutLengthOrRateHasOneFrame) {
  EXPECT_EQ(normalisedPlaybackRange(0, 0, 0, rate), (PlaybackRange{0, 0, 0, 1}));
  EXPECT_EQ(normalisedPlaybackRange(1, 2, 0, 0), (PlaybackRange{0, 0, 0, 1}));
}

TEST(PlaybackRange, TimesThatAreNoNumbersAreTheWholeFile) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(normalisedPlaybackRange(none, none, 2, rate), (PlaybackRange{0, 2, 0, 96000}));
}

TEST(PlaybackRange, ALengthBeyond32BitsStopsTheProgram) {
  EXPECT_DEATH(static_cast<void>(normalisedPlaybackRange(0, 0, 100000, rate)), "fewer than 2\\^32 frames");
}

std::shared_ptr<AVAudioPCMBuffer> bufferOf(const std::vector<std::vector<float>>& channels) {
  const auto frames = channels.empty() ? 0U : static_cast<std::uint32_t>(channels.front().size());
  auto made =
      std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{rate, static_cast<std::uint32_t>(channels.size())}, frames);
  auto& buffer = *made;
  for (std::size_t channel = 0; channel < channels.size(); ++channel) {
    std::copy(channels[channel].begin(), channels[channel].end(), buffer.floatChannelData()[channel]);
  }
  buffer.frameLength = frames;
  return made;
}

TEST(PlaybackEnvelope, AShortFileHasOneEntry) {
  std::vector<float> left(511, 0.1F);
  left[510] = -0.9F;
  EXPECT_THAT(playbackEnvelope(*bufferOf({left, std::vector<float>(511, 0.2F)})), ElementsAre(Pair(0.9F, 0.2F)));
}

TEST(PlaybackEnvelope, OfAMonoFileHasEqualChannels) {
  std::vector<float> samples(5120);
  for (std::size_t frame = 0; frame < samples.size(); ++frame) {
    samples[frame] = -0.1F * static_cast<float>(static_cast<std::uint32_t>(frame) >> 9U);
  }
  const auto envelope = playbackEnvelope(*bufferOf({samples}));
  ASSERT_THAT(envelope, SizeIs(10));
  for (std::size_t entry = 0; entry < envelope.size(); ++entry) {
    EXPECT_FLOAT_EQ(envelope[entry].first, static_cast<float>(entry) * 0.1F);
    EXPECT_EQ(envelope[entry].first, envelope[entry].second);
  }
}

TEST(PlaybackEnvelope, HasAtMost240Entries) {
  EXPECT_THAT(playbackEnvelope(*bufferOf({std::vector<float>(std::size_t{512} * 239)})), SizeIs(239));
  EXPECT_THAT(playbackEnvelope(*bufferOf({std::vector<float>(std::size_t{512} * 1000)})), SizeIs(240));
}

TEST(PlaybackEnvelope, TakesTheFirstTwoOfManyChannels) {
  const auto buffer = bufferOf({std::vector<float>(8, 0.1F), std::vector<float>(8, 0.2F), std::vector<float>(8, 1.0F)});
  EXPECT_THAT(playbackEnvelope(*buffer), ElementsAre(Pair(0.1F, 0.2F)));
}

TEST(PlaybackEnvelope, IsEmptyWithoutSound) {
  EXPECT_THAT(playbackEnvelope(*bufferOf({})), IsEmpty());
  EXPECT_THAT(playbackEnvelope(*bufferOf({{}})), IsEmpty());
}

struct PlaybackPreparation : testing::Test {
  PlaybackPreparation() { files.sounds["/a.wav"] = {rate, {std::vector<float>(9600, 0.5F)}, {}, 0}; }

  simulation::SimulatedAudioFiles files;
  simulation::RecordingConsole console;
};

TEST_F(PlaybackPreparation, ReadsTheRangeAndLeavesThePlayingFileAtItsBeginning) {
  const auto prepared = preparePlayback(files, "/a.wav", 0.05, 0.15, console);
  ASSERT_TRUE(prepared.ok());
  const auto& playback = prepared.value();
  EXPECT_EQ(playback.duration, 0.2);
  EXPECT_EQ(playback.range, (PlaybackRange{0.05, 0.15, 2400, 4800}));
  ASSERT_NE(playback.buffer, nullptr);
  EXPECT_EQ(playback.buffer->frameLength, 4800U);
  EXPECT_THAT(playback.meterPeaks, SizeIs(9));
  EXPECT_EQ(playback.file->framePosition(), 0);
  EXPECT_EQ(files.openCount, 2);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(PlaybackPreparation, WithoutMemoryStreamsInSilence) {
  files.isOutOfMemory = true;
  const auto prepared = preparePlayback(files, "/a.wav", 0, 0, console);
  ASSERT_TRUE(prepared.ok());
  EXPECT_EQ(prepared.value().buffer, nullptr);
  EXPECT_THAT(prepared.value().meterPeaks, IsEmpty());
  EXPECT_EQ(files.openCount, 1);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(PlaybackPreparation, LogsARangeThatCannotBeRead) {
  files.sounds["/a.wav"].readFailure = Error{"bad sector"};
  const auto prepared = preparePlayback(files, "/a.wav", 0, 0, console);
  ASSERT_TRUE(prepared.ok());
  EXPECT_EQ(prepared.value().buffer, nullptr);
  EXPECT_THAT(prepared.value().meterPeaks, IsEmpty());
  EXPECT_THAT(console.lines, ElementsAre("Playback file will stream from disk because preloading failed: bad sector"));
}

TEST_F(PlaybackPreparation, LogsAFileThatCannotBeOpenedAgain) {
  files.failingOpen = 2;
  const auto prepared = preparePlayback(files, "/a.wav", 0, 0, console);
  ASSERT_TRUE(prepared.ok());
  EXPECT_EQ(prepared.value().buffer, nullptr);
  EXPECT_THAT(console.lines,
              ElementsAre("Playback file will stream from disk because preloading failed: no such file: /a.wav"));
}

TEST_F(PlaybackPreparation, FailsWithoutAFile) {
  const auto prepared = preparePlayback(files, "/b.wav", 0, 0, console);
  ASSERT_FALSE(prepared.ok());
  EXPECT_EQ(prepared.error().description, "no such file: /b.wav");
}

TEST_F(PlaybackPreparation, AFileWithARateOfZeroHasNoDuration) {
  files.sounds["/a.wav"].sampleRate = 0;
  const auto prepared = preparePlayback(files, "/a.wav", 0, 0, console);
  ASSERT_TRUE(prepared.ok());
  EXPECT_EQ(prepared.value().duration, 0);
  EXPECT_EQ(prepared.value().range.frameCount, 1U);
}

}  // namespace
}  // namespace vrel
