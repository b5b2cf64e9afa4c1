// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/still_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "system/media/clip_decoder.h"
#include "system/media/clips/clip_files.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::lumaOf;
using test::pixelOf;
using testing::DoubleNear;
using testing::Pointwise;

/// Top left, top right, bottom left, bottom right.
std::vector<double> lumasOf(const VideoPicture& picture) {
  return {lumaOf(pixelOf(picture, 0, 0)), lumaOf(pixelOf(picture, 1, 0)), lumaOf(pixelOf(picture, 0, 1)),
          lumaOf(pixelOf(picture, 1, 1))};
}

auto near(const std::vector<double>& expected) {
  return Pointwise(DoubleNear(4), expected);
}

ClipPicturePointer stillOf(const std::string& name) {
  const auto still = StillFile::open(clipFile(name));
  EXPECT_TRUE(still.has_value()) << name;
  auto picture = still ? still->decode() : nullptr;
  EXPECT_NE(picture, nullptr) << name;
  return picture;
}

class StillFormats : public testing::TestWithParam<const char*> {};

TEST_P(StillFormats, AreClipsOfOnePicture) {
  const auto opened = ClipDecoder::open(clipFile(GetParam()), nullptr);
  ASSERT_TRUE(opened.ok());
  auto& decoder = *opened.value();
  EXPECT_TRUE(decoder.isStill());
  EXPECT_FALSE(decoder.isTooLarge());
  EXPECT_EQ(decoder.statedSeconds(), 0);
  for (int pass = 0; pass < 2; ++pass) {
    const auto picture = decoder.next();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->width(), 64U);
    EXPECT_EQ(picture->height(), 48U);
    EXPECT_EQ(picture->seconds(), 0);
    EXPECT_THAT(lumasOf(*picture), near({40, 90, 140, 190}));
    EXPECT_EQ(decoder.next(), nullptr);
    EXPECT_GT(decoder.passSeconds(), 0);
    EXPECT_TRUE(decoder.rewind());
  }
}

INSTANTIATE_TEST_SUITE_P(All, StillFormats,
                         testing::Values("upright.png", "upright-grey.png", "upright-deep.png", "upright.jpg",
                                         "upright.webp", "upright-lossless.webp"));

TEST(Stills, AreTurnedAsTheirExifDataSay) {
  const std::vector<std::vector<double>> expected{{40, 90, 140, 190}, {90, 40, 190, 140}, {190, 140, 90, 40},
                                                  {140, 190, 40, 90}, {40, 140, 90, 190}, {140, 40, 190, 90},
                                                  {190, 90, 140, 40}, {90, 190, 40, 140}};
  for (std::size_t orientation = 1; orientation <= expected.size(); ++orientation) {
    const auto picture = stillOf("exif-" + std::to_string(orientation) + ".jpg");
    ASSERT_NE(picture, nullptr);
    EXPECT_THAT(lumasOf(*picture), near(expected[orientation - 1])) << orientation;
    EXPECT_EQ(picture->width(), orientation > 4 ? 48U : 64U) << orientation;
  }
  for (const auto* other : {"exif-6.png", "exif-6.webp"}) {
    const auto picture = stillOf(other);
    ASSERT_NE(picture, nullptr);
    EXPECT_THAT(lumasOf(*picture), near(expected[5])) << other;
  }
}

TEST(Stills, KeepTheirAlpha) {
  for (const auto* name : {"alpha.png", "alpha.webp"}) {
    const auto picture = stillOf(name);
    ASSERT_NE(picture, nullptr);
    EXPECT_TRUE(picture->hasAlpha()) << name;
    EXPECT_EQ(pixelOf(*picture, 0, 0)[3], 0) << name;
    EXPECT_EQ(pixelOf(*picture, 1, 1)[3], 255) << name;
  }
}

TEST(Stills, OfManyPixelsAreKeptSmaller) {
  const auto photo = stillOf("photo.jpg");
  ASSERT_NE(photo, nullptr);
  EXPECT_EQ(photo->width(), 3840U);
  EXPECT_EQ(photo->height(), 2304U);
  EXPECT_LE(photo->byteCount(), std::size_t{3840} * 2304 * 3);
  EXPECT_THAT(lumasOf(*photo), near({40, 90, 140, 190}));
}

TEST(Stills, BeyondTheLimitAreOpenedAndNotDecoded) {
  for (const auto* name : {"too-large.png", "too-large.jpg", "too-large.webp"}) {
    const auto opened = ClipDecoder::open(clipFile(name), nullptr);
    ASSERT_TRUE(opened.ok()) << name;
    EXPECT_TRUE(opened.value()->isStill()) << name;
    EXPECT_TRUE(opened.value()->isTooLarge()) << name;
    EXPECT_EQ(opened.value()->next(), nullptr) << name;
  }
}

TEST(Stills, ThatAreTruncatedShowWhatIsThere) {
  const auto picture = stillOf("truncated.jpg");
  ASSERT_NE(picture, nullptr);
  EXPECT_NEAR(lumaOf(pixelOf(*picture, 0, 0)), 40, 4);
}

/// The start of a PNG, to which a test adds chunks; checksums are not looked at.
std::vector<std::uint8_t> pngWithoutChunks() {
  return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

void addChunk(std::vector<std::uint8_t>& png, const std::string& name, const std::vector<std::uint8_t>& data) {
  const auto length = static_cast<std::uint8_t>(data.size());
  png.insert(png.end(), {0, 0, 0, length});
  png.insert(png.end(), name.begin(), name.end());
  png.insert(png.end(), data.begin(), data.end());
  png.insert(png.end(), 4, 0);
}

/// A directory that claims many more entries than its one, which has this tag and number.
std::vector<std::uint8_t> exifOf(std::uint8_t tag, std::uint8_t number) {
  return {'M', 'M', 0, 42, 0, 0, 0, 8, 0xFF, 0xFF, 1, tag, 0, 3, 0, 0, 0, 1, 0, number, 0, 0};
}

TEST(Stills, AreTurnedByTheFirstOfTheirExifDataOnlyHoweverManyThereAre) {
  auto png = pngWithoutChunks();
  addChunk(png, "IHDR", std::vector<std::uint8_t>(13));
  addChunk(png, "eXIf", exifOf(0x12, 6));
  for (int chunk = 0; chunk < 50'000; ++chunk) {
    addChunk(png, "eXIf", exifOf(0x13, 3));
  }
  addChunk(png, "eXIf", exifOf(0x12, 3));
  const auto header = StillHeader::read(png);
  ASSERT_TRUE(header.has_value());
  EXPECT_EQ(header->orientation, (ClipOrientation{true, false, true}));
}

TEST(Stills, OfVeryManyChunksAreReadUpToALimit) {
  auto png = pngWithoutChunks();
  addChunk(png, "IHDR", std::vector<std::uint8_t>(13));
  auto few = png;
  for (int chunk = 0; chunk < 70'000; ++chunk) {
    addChunk(png, "tEXt", {});
  }
  for (auto* each : {&few, &png}) {
    addChunk(*each, "eXIf", exifOf(0x12, 6));
  }
  const auto ofFew = StillHeader::read(few);
  const auto ofMany = StillHeader::read(png);
  ASSERT_TRUE(ofFew.has_value() && ofMany.has_value());
  EXPECT_EQ(ofFew->orientation, (ClipOrientation{true, false, true}));
  EXPECT_EQ(ofMany->orientation, ClipOrientation{});
}

TEST(Stills, HeadersThatEndAnywhereAreRead) {
  for (const auto* name : {"exif-6.jpg", "exif-6.png", "exif-6.webp"}) {
    std::ifstream file(clipFile(name), std::ios::binary);
    const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::uint8_t> bytes(text.begin(), text.end());
    std::optional<StillHeader> whole = StillHeader::read(bytes);
    ASSERT_TRUE(whole.has_value()) << name;
    EXPECT_EQ(whole->width, 64U) << name;
    EXPECT_EQ(whole->height, 48U) << name;
    EXPECT_EQ(whole->orientation, (ClipOrientation{true, false, true})) << name;
    while (!bytes.empty()) {
      bytes.pop_back();
      bytes.shrink_to_fit();
      const auto part = StillHeader::read(bytes);
      EXPECT_TRUE(!part || part->width == 64 || part->width <= 1) << name << " of " << bytes.size();
    }
  }
}

}  // namespace
}  // namespace vrel::system
