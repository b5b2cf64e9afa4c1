// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/waveform_peaks.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vrel {
namespace {

/// Scans the channels in chunks of this size, the last one shorter.
WaveformPeaks scanned(const std::vector<std::vector<float>>& channels, std::uint32_t chunk) {
  const auto frames = static_cast<std::uint32_t>(channels.front().size());
  PeakScan scan(frames, 1000);
  for (std::uint32_t from = 0; from < frames; from += chunk) {
    AVAudioPCMBuffer buffer({1000, static_cast<std::uint32_t>(channels.size())}, chunk);
    buffer.frameLength = std::min(chunk, frames - from);
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
      std::copy_n(channels[channel].begin() + from, buffer.frameLength, buffer.floatChannelData()[channel]);
    }
    scan.add(buffer);
  }
  scan.end();
  return scan.peaks();
}

std::vector<float> ramp(std::size_t frames) {
  std::vector<float> samples;
  for (std::size_t frame = 0; frame < frames; ++frame) {
    samples.push_back(static_cast<float>(frame) / static_cast<float>(frames) * (frame % 2 == 0 ? 1.0F : -1.0F));
  }
  return samples;
}

TEST(Peaks, AreOneHundredAndEightyBarsOfEqualStretches) {
  const auto samples = ramp(1000);
  const auto peaks = scanned({samples}, 1000);
  ASSERT_EQ(peaks.bars.size(), 180U);
  // Five frames each; the hundred that are left over belong to none.
  EXPECT_EQ(peaks.bars[0], 0.004F);
  EXPECT_EQ(peaks.bars[179], 0.899F);
}

TEST(Peaks, DoNotDependOnHowTheFileIsRead) {
  const std::vector<std::vector<float>> channels{ramp(5003), std::vector<float>(5003, 0.25F)};
  const auto whole = scanned(channels, 5003);
  for (const std::uint32_t chunk : {1U, 7U, 256U, 1000U}) {
    EXPECT_EQ(scanned(channels, chunk), whole) << chunk;
  }
}

TEST(Peaks, MergeTheChannelsAndStopAtFullScale) {
  const auto peaks = scanned({std::vector<float>(400, 0.25F), std::vector<float>(400, -3.0F)}, 400);
  EXPECT_EQ(peaks.bars[17], 1.0F);
  EXPECT_EQ(peaks.blocks[1], 255);
}

TEST(Peaks, AFileOfFewFramesHasOneBarForEach) {
  const auto peaks = scanned({{0.5F, -0.25F, 0.0F}}, 2);
  EXPECT_EQ(peaks.bars, (std::vector<float>{0.5F, 0.25F, 0.0F}));
  EXPECT_EQ(barCount(179), 179U);
  EXPECT_EQ(barCount(359), 180U);
  EXPECT_EQ(barCount(0), 0U);
}

TEST(Peaks, WithoutFloatDataAreAPlaceholder) {
  PeakScan scan(180, 1000);
  AVAudioPCMBuffer buffer({1000, 0}, 180);
  buffer.frameLength = 180;
  scan.add(buffer);
  EXPECT_EQ(scan.peaks().bars[90], 0.18F);
}

TEST(Peaks, ColumnsOfAZoomedViewComeFromTheBlocks) {
  std::vector<float> samples(2560, 0.0F);
  samples[1300] = -1.0F;  // the sixth block
  const auto columns = blockColumns(scanned({samples}, 2560), 512, 2048, 8);
  ASSERT_EQ(columns.size(), 8U);
  EXPECT_EQ(columns[2].high, 0.0F);
  EXPECT_EQ(columns[3], (WaveformColumn{-1.0F, 1.0F}));
}

TEST(Peaks, ColumnsOfFramesHaveTheirLowestAndHighest) {
  AVAudioPCMBuffer buffer({1000, 1}, 4);
  buffer.frameLength = 4;
  std::copy_n(std::vector<float>{0.5F, -0.25F, 0.125F, 2.0F}.begin(), 4, buffer.floatChannelData()[0]);
  const auto columns = frameColumns(buffer, 2);
  EXPECT_EQ(columns[0], (WaveformColumn{-0.25F, 0.5F}));
  EXPECT_EQ(columns[1], (WaveformColumn{0.125F, 1.0F}));
}

TEST(Peaks, TheNearestZeroCrossingIsFoundAndTheEarlierOfTwo) {
  AVAudioPCMBuffer buffer({1000, 1}, 8);
  buffer.frameLength = 8;
  std::copy_n(std::vector<float>{1, 1, -1, -1, -1, -1, 1, 1}.begin(), 8, buffer.floatChannelData()[0]);
  EXPECT_EQ(nearestZeroCrossing(buffer, 4), 2U);
  EXPECT_EQ(nearestZeroCrossing(buffer, 5), 6U);
  buffer.frameLength = 2;
  EXPECT_FALSE(nearestZeroCrossing(buffer, 1).has_value());
}

TEST(StoredPeaks, ComeBackAsTheyWereForTheSameFileAlone) {
  const auto peaks = scanned({ramp(5003)}, 5003);
  const auto bytes = storedPeaks(peaks, "1 2 3 ");
  EXPECT_EQ(peaksFromStored(bytes, "1 2 3 "), peaks);
  EXPECT_FALSE(peaksFromStored(bytes, "1 2 4 ").has_value());
}

TEST(StoredPeaks, ThatAreDamagedAnywhereAreNotTaken) {
  const auto bytes = storedPeaks(scanned({ramp(600)}, 600), "one");
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    auto damaged = bytes;
    damaged[index] = static_cast<char>(damaged[index] ^ 1);
    EXPECT_FALSE(peaksFromStored(damaged, "one").has_value()) << index;
    EXPECT_FALSE(peaksFromStored(bytes.substr(0, index), "one").has_value()) << index;
  }
}

}  // namespace
}  // namespace vrel
