// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "system/media/clips/clip_files.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::countOf;
using test::filesWithoutPictures;
using test::lumaOf;
using test::pixelOf;
using testing::DoubleNear;
using testing::Pointwise;

std::unique_ptr<ClipDecoder> opened(const std::string& name) {
  auto decoder = ClipDecoder::open(clipFile(name), nullptr);
  EXPECT_TRUE(decoder.ok()) << name;
  return decoder.ok() ? std::move(decoder).value() : nullptr;
}

ClipPicturePointer firstOf(const std::string& name) {
  const auto decoder = opened(name);
  auto picture = decoder != nullptr ? decoder->next() : nullptr;
  EXPECT_NE(picture, nullptr) << name;
  return picture;
}

std::vector<int> countsOf(ClipDecoder& decoder) {
  std::vector<int> counts;
  while (const auto picture = decoder.next()) {
    counts.push_back(countOf(picture));
  }
  return counts;
}

std::vector<int> upTo(int count) {
  std::vector<int> counts(static_cast<std::size_t>(count));
  std::iota(counts.begin(), counts.end(), 0);
  return counts;
}

class ClipFormats : public testing::TestWithParam<const char*> {};

TEST_P(ClipFormats, GiveEveryPictureOnceInOrderAtItsTime) {
  const auto decoder = opened(GetParam());
  ASSERT_NE(decoder, nullptr);
  for (int pass = 0; pass < 2; ++pass) {
    for (int count = 0; count < 25; ++count) {
      const auto picture = decoder->next();
      ASSERT_NE(picture, nullptr) << count;
      EXPECT_EQ(countOf(picture), count);
      EXPECT_NEAR(picture->seconds(), count * 0.04, 0.0011);
    }
    EXPECT_EQ(decoder->next(), nullptr);
    EXPECT_NEAR(decoder->passSeconds(), 1.0, 0.0011);
    ASSERT_TRUE(decoder->rewind());
  }
}

INSTANTIATE_TEST_SUITE_P(All, ClipFormats,
                         testing::Values("count-h264.mp4", "count-h264.mkv", "count-h264.mov", "count-hevc.mp4",
                                         "count-hevc.mkv", "count-vp9.webm", "count-vp9.mp4", "count-prores.mov",
                                         "count-mjpeg.mkv", "count-mjpeg.mov", "renamed.mp4", "with-sound.mp4",
                                         "large-mjpeg.mkv", "large-h264.mp4"));

TEST(ClipDecoding, RestsAndBeginsAgain) {
  const auto decoder = opened("count-h264.mp4");
  EXPECT_EQ(countOf(decoder->next()), 0);
  decoder->suspend();
  EXPECT_FALSE(decoder->isAwake());
  EXPECT_EQ(decoder->next(), nullptr);
  ASSERT_TRUE(decoder->rewind());
  EXPECT_EQ(countsOf(*decoder), upTo(25));
}

TEST(ClipDecoding, KeepsUnevenTimes) {
  const auto decoder = opened("uneven.mkv");
  for (int count = 0; count < 25; ++count) {
    const auto picture = decoder->next();
    ASSERT_NE(picture, nullptr);
    EXPECT_NEAR(picture->seconds(), count * count / 100.0, 0.0011) << count;
  }
}

TEST(ClipDecoding, TurnsPicturesAsTheFileAsks) {
  const auto lumas = [](const std::string& name) {
    const auto picture = firstOf(name);
    return std::vector<double>{lumaOf(pixelOf(*picture, 0, 0)), lumaOf(pixelOf(*picture, 1, 0)),
                               lumaOf(pixelOf(*picture, 0, 1)), lumaOf(pixelOf(*picture, 1, 1))};
  };
  const auto near = [](const std::vector<double>& expected) { return Pointwise(DoubleNear(4), expected); };
  EXPECT_THAT(lumas("upright.mp4"), near({40, 90, 140, 190}));
  EXPECT_THAT(lumas("turned-90.mp4"), near({90, 190, 40, 140})) << "against the clock";
  EXPECT_THAT(lumas("turned-180.mp4"), near({190, 140, 90, 40}));
  EXPECT_THAT(lumas("turned-270.mp4"), near({140, 40, 190, 90}));
  EXPECT_EQ(firstOf("turned-90.mp4")->width(), 48U);
  EXPECT_EQ(firstOf("turned-90.mp4")->height(), 64U);
}

TEST(ClipDecoding, ReadsDisplayMatrices) {
  constexpr std::int32_t one = 1 << 16;
  const auto orientation = [](std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    const std::int32_t matrix[9] = {a, b, 0, c, d, 0, 0, 0, 1 << 30};
    return ClipOrientation::fromDisplayMatrix(matrix);
  };
  EXPECT_EQ(ClipOrientation::fromDisplayMatrix(nullptr), ClipOrientation{});
  EXPECT_EQ(orientation(one, 0, 0, one), (ClipOrientation{false, false, false}));
  EXPECT_EQ(orientation(-one, 0, 0, one), (ClipOrientation{false, true, false}));
  EXPECT_EQ(orientation(one, 0, 0, -one), (ClipOrientation{false, false, true}));
  EXPECT_EQ(orientation(0, one, one, 0), (ClipOrientation{true, false, false}));
  EXPECT_EQ(orientation(INT32_MIN, 0, 0, INT32_MIN), (ClipOrientation{false, true, true}));
}

TEST(ClipDecoding, ShowsPixelsThatAreNotSquareInTheirShape) {
  const auto picture = firstOf("wide-pixels.mp4");
  EXPECT_EQ(picture->width(), 128U);
  EXPECT_EQ(picture->height(), 48U);
  EXPECT_NEAR(lumaOf(pixelOf(*picture, 1, 1)), 190, 4);
}

TEST(ClipDecoding, KeepsAlpha) {
  for (const auto* name : {"alpha-prores.mov", "alpha-vp9.webm"}) {
    const auto picture = firstOf(name);
    EXPECT_TRUE(picture->hasAlpha()) << name;
    EXPECT_LT(pixelOf(*picture, 0, 0)[3], 8) << name;
    EXPECT_GT(pixelOf(*picture, 1, 0)[3], 247) << name;
  }
  EXPECT_FALSE(firstOf("count-h264.mp4")->hasAlpha());
  EXPECT_EQ(pixelOf(*firstOf("count-h264.mp4"), 0, 0)[3], 255);
}

TEST(ClipDecoding, GivesPlanesAsTheCodecHasThem) {
  using Layout = PicturePlanes::Layout;
  const auto picture = firstOf("colours-709-limited.mkv");
  const auto planes = picture->planes();
  EXPECT_EQ(planes.layout, Layout::separate);
  EXPECT_EQ(planes.matrix, PicturePlanes::Matrix::bt709);
  EXPECT_FALSE(planes.isFullRange);
  EXPECT_FALSE(planes.hasAlpha);
  ASSERT_EQ(planes.planeCount, 3U);
  EXPECT_EQ(planes.planes[0].width, 128U);
  EXPECT_EQ(planes.planes[2].width, 64U);
  EXPECT_EQ(planes.planes[2].height, 48U);
  // The block in the second column and row, as its maker has computed it.
  const std::size_t x = 20;
  const std::size_t y = 20;
  const auto sample = [&](std::size_t plane, std::size_t part) {
    return planes.planes[plane].rows[(y / part) * planes.planes[plane].rowBytes + x / part];
  };
  EXPECT_EQ(sample(0, 1), 16 + (53 + 97) % 220);
  EXPECT_EQ(sample(1, 2), 16 + (71 + 39) % 224);
  EXPECT_EQ(sample(2, 2), 16 + (29 + 113) % 224);

  EXPECT_EQ(firstOf("colours-601-full.mkv")->planes().matrix, PicturePlanes::Matrix::bt601);
  EXPECT_TRUE(firstOf("colours-601-full.mkv")->planes().isFullRange);
  EXPECT_EQ(firstOf("colours-2020-limited.mkv")->planes().matrix, PicturePlanes::Matrix::bt2020);
  EXPECT_TRUE(firstOf("count-mjpeg.mkv")->planes().isFullRange);
  EXPECT_EQ(firstOf("colours-grey.mkv")->planes().planeCount, 1U);
  const auto pairs = firstOf("colours-nv12.avi")->planes();
  EXPECT_EQ(pairs.layout, Layout::interleaved);
  EXPECT_EQ(pairs.planes[1].width, 64U) << "pairs";
  const auto turned = firstOf("turned-90.mp4")->planes();
  EXPECT_TRUE(turned.transposed);
  EXPECT_EQ(turned.planes[0].width, 64U) << "as stored";
}

TEST(ClipDecoding, GivesPlanesOfAnOddSizeWhole) {
  const auto planes = firstOf("colours-odd-420.mkv")->planes();
  EXPECT_EQ(planes.planes[0].width, 101U);
  EXPECT_EQ(planes.planes[1].width, 51U);
  EXPECT_EQ(planes.planes[1].height, 38U);
}

TEST(ClipDecoding, ConvertsOnceWhatARendererCannotTake) {
  using Layout = PicturePlanes::Layout;
  const auto deep = firstOf("colours-422-10.mkv")->planes();
  EXPECT_EQ(deep.layout, Layout::separate);
  EXPECT_EQ(deep.chromaColumns, 2U);
  EXPECT_EQ(deep.chromaRows, 1U);
  EXPECT_NEAR(deep.planes[0].rows[20 * deep.planes[0].rowBytes + 20], 16 + (53 + 97) % 220, 1);
  const auto rgb = firstOf("colours-rgb.mkv")->planes();
  EXPECT_EQ(rgb.layout, Layout::rgba);
  EXPECT_EQ(rgb.planeCount, 1U);
  const auto clear = firstOf("alpha-prores.mov")->planes();
  EXPECT_TRUE(clear.hasAlpha);
  ASSERT_EQ(clear.planeCount, 4U);
  EXPECT_LT(clear.planes[3].rows[0], 2);
  EXPECT_GT(clear.planes[3].rows[clear.planes[3].width - 1], 253);
}

TEST(ClipDecoding, CopiesNothingWhereThereIsNoRoom) {
  const auto picture = firstOf("upright.mp4");
  std::vector<std::uint8_t> pixels(picture->width() * picture->height() * 4 - 1);
  EXPECT_FALSE(picture->copyPixels(pixels));
}

TEST(ClipDecoding, OpensNothingThatHoldsNoPictures) {
  for (const auto& name : filesWithoutPictures()) {
    const auto decoder = ClipDecoder::open(clipFile(name), nullptr);
    EXPECT_FALSE(decoder.ok() && decoder.value()->next() != nullptr) << name;
  }
  EXPECT_FALSE(ClipDecoder::open("/dev/zero", nullptr).ok());
  EXPECT_FALSE(ClipDecoder::open("", nullptr).ok());
}

TEST(ClipDecoding, OfATruncatedFileGivesWhatIsThere) {
  for (const auto* name : {"truncated.mkv", "truncated.mp4"}) {
    const auto decoder = opened(name);
    const auto counts = countsOf(*decoder);
    ASSERT_GT(counts.size(), 8U) << name;
    EXPECT_LT(counts.size(), 25U) << name;
    // The last one may be damaged.
    EXPECT_EQ(std::vector(counts.begin(), counts.end() - 1), upTo(static_cast<int>(counts.size()) - 1)) << name;
    EXPECT_NEAR(decoder->passSeconds(), static_cast<double>(counts.size()) * 0.04, 0.0411) << name;
  }
}

TEST(ClipDecoding, OfADamagedFileEnds) {
  const auto decoder = opened("damaged.mkv");
  EXPECT_FALSE(countsOf(*decoder).empty());
  EXPECT_LT(decoder->passSeconds(), 60);
}

TEST(ClipDecoding, OfALyingHeaderBelievesThePictures) {
  for (const auto* name : {"lying-long.mp4", "lying-short.mp4", "lying-long.mkv", "lying-short.mkv"}) {
    const auto decoder = opened(name);
    EXPECT_EQ(countsOf(*decoder), upTo(25)) << name;
    EXPECT_NEAR(decoder->passSeconds(), 1.0, 0.0011) << name;
  }
}

TEST(ClipDecoding, RefusesPicturesBeyondAllMeasure) {
  EXPECT_EQ(firstOf("most-lines.mkv")->height(), 4608U);
  const auto decoder = ClipDecoder::open(clipFile("too-many-lines.mkv"), nullptr);
  EXPECT_FALSE(decoder.ok() && decoder.value()->next() != nullptr);
}

TEST(ClipDecoding, IsBrokenOff) {
  std::atomic<bool> isOver{false};
  auto decoder = ClipDecoder::open(clipFile("count-h264.mp4"), &isOver);
  ASSERT_TRUE(decoder.ok());
  isOver = true;
  std::size_t given = 0;
  while (decoder.value()->next() != nullptr) {
    ++given;
  }
  EXPECT_LT(given, 25U);
  EXPECT_FALSE(ClipDecoder::open(clipFile("count-h264.mp4"), &isOver).ok());
}

}  // namespace
}  // namespace vrel::system
