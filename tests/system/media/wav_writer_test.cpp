// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/wav_writer.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace vrel::system {
namespace {

class Wav : public testing::Test {
 protected:
  Wav() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    path = testing::TempDir() + "vrel_" + test->name() + ".wav";
  }
  ~Wav() override { std::filesystem::remove(path); }

  [[nodiscard]] std::vector<std::uint8_t> bytes() const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string path;
};

using Bytes = std::vector<std::uint8_t>;

std::uint32_t number(const Bytes& bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t index = 0; index < width; ++index) {
    value |= static_cast<std::uint32_t>(bytes.at(offset + index)) << (8 * index);
  }
  return value;
}

std::string fourCharacters(const Bytes& bytes, std::size_t offset) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.begin() + static_cast<std::ptrdiff_t>(offset) + 4};
}

/// The offset of a chunk's content; 0 when there is none.
std::size_t chunk(const Bytes& bytes, const std::string& name) {
  for (std::size_t offset = 12; offset + 8 <= bytes.size(); offset += 8 + number(bytes, offset + 4, 4)) {
    if (fourCharacters(bytes, offset) == name) {
      return offset + 8;
    }
  }
  return 0;
}

TEST_F(Wav, TheFileIsStereoFloatAtItsRate) {
  auto writer = WavWriter::create(path, 44100);
  ASSERT_TRUE(writer.ok());
  EXPECT_FALSE(writer.value().write(std::vector<float>(100), std::vector<float>(100)));
  EXPECT_FALSE(writer.value().close());
  const Bytes file = bytes();
  EXPECT_EQ(fourCharacters(file, 0), "RIFF");
  EXPECT_EQ(number(file, 4, 4), file.size() - 8);
  EXPECT_EQ(fourCharacters(file, 8), "WAVE");
  const std::size_t format = chunk(file, "fmt ");
  ASSERT_NE(format, 0U);
  EXPECT_EQ(number(file, format, 2), 3U);  // IEEE float
  EXPECT_EQ(number(file, format + 2, 2), 2U);
  EXPECT_EQ(number(file, format + 4, 4), 44100U);
  EXPECT_EQ(number(file, format + 14, 2), 32U);
}

TEST_F(Wav, SamplesOfAllBlocksAreThereBitForBitAndNotLimited) {
  auto writer = WavWriter::create(path, 48000);
  ASSERT_TRUE(writer.ok());
  EXPECT_FALSE(writer.value().write(std::vector{0.1F, -2.5F}, std::vector{1e-40F, 0.0F}));
  EXPECT_FALSE(writer.value().write({}, {}));
  EXPECT_FALSE(writer.value().write(std::vector{1.0F}, std::vector{-0.0F}));
  EXPECT_FALSE(writer.value().close());
  const Bytes file = bytes();
  const std::size_t data = chunk(file, "data");
  ASSERT_NE(data, 0U);
  ASSERT_EQ(number(file, data - 4, 4), 6 * sizeof(float));
  const std::vector<float> expected = {0.1F, 1e-40F, -2.5F, 0.0F, 1.0F, -0.0F};
  for (std::size_t index = 0; index < expected.size(); ++index) {
    EXPECT_EQ(number(file, data + index * sizeof(float), 4), std::bit_cast<std::uint32_t>(expected[index])) << index;
  }
}

TEST_F(Wav, TheFileHasFormatAndSamplesOnly) {
  auto writer = WavWriter::create(path, 48000);
  ASSERT_TRUE(writer.ok());
  EXPECT_FALSE(writer.value().write(std::vector<float>(1000, 0.5F), std::vector<float>(1000, -0.5F)));
  EXPECT_FALSE(writer.value().close());
  const Bytes file = bytes();
  EXPECT_EQ(chunk(file, "PEAK"), 0U);  // it would hold the time of day
  EXPECT_EQ(chunk(file, "LIST"), 0U);
  EXPECT_LT(file.size(), 1000 * 2 * sizeof(float) + 100);
}

TEST_F(Wav, AnExistingFileIsReplaced) {
  std::ofstream(path) << std::string(100'000, 'x');
  auto writer = WavWriter::create(path, 48000);
  ASSERT_TRUE(writer.ok());
  EXPECT_FALSE(writer.value().close());
  EXPECT_LT(bytes().size(), 100U);
}

TEST_F(Wav, AnUnwritablePathIsAnError) {
  const auto writer = WavWriter::create(path + "/no/such/folder.wav", 48000);
  ASSERT_FALSE(writer.ok());
  EXPECT_NE(writer.error().description.find(path), std::string::npos);
}

TEST_F(Wav, AFullDiskIsAnErrorThatStays) {
  const std::string full = "/dev/full";
  ASSERT_TRUE(std::filesystem::exists(full));
  auto writer = WavWriter::create(full, 48000);
  if (!writer.ok()) {
    return;  // reported even earlier
  }
  const std::vector<float> block(128, 0.5F);
  Outcome outcome;
  for (int count = 0; count < 10'000 && !outcome; ++count) {
    outcome = writer.value().write(block, block);
  }
  ASSERT_TRUE(outcome);
  EXPECT_NE(outcome->description.find(full), std::string::npos);
  EXPECT_EQ(writer.value().write(block, block), outcome);
  EXPECT_EQ(writer.value().close(), outcome);
}

TEST_F(Wav, ACompleteFileTakesNoMore) {
  auto writer = WavWriter::create(path, 48000);
  ASSERT_TRUE(writer.ok());
  EXPECT_FALSE(writer.value().close());
  const auto before = bytes();
  EXPECT_TRUE(writer.value().write(std::vector{0.5F}, std::vector{0.5F}));
  EXPECT_EQ(bytes(), before);
}

TEST_F(Wav, AWriterThatWasMovedGoesOn) {
  auto created = WavWriter::create(path, 48000);
  ASSERT_TRUE(created.ok());
  WavWriter writer = std::move(created).value();
  EXPECT_FALSE(writer.write(std::vector{0.5F}, std::vector{0.25F}));
  EXPECT_FALSE(writer.close());
  const Bytes file = bytes();
  EXPECT_EQ(number(file, chunk(file, "data") - 4, 4), 8U);
}

}  // namespace
}  // namespace vrel::system
