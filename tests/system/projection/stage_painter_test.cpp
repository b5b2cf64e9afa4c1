// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/projection/stage_painter.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "system/media/clip_decoder.h"
#include "system/media/clips/clip_files.h"
#include "system/projection/off_screen_stage.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::MadePicture;
using test::OffScreenStage;
using Colour = MadePicture::Colour;

std::shared_ptr<const VideoPicture> flat(Colour colour, std::size_t width = 4, std::size_t height = 4) {
  return std::make_shared<MadePicture>(width, height, [colour](auto, auto) { return colour; });
}

std::shared_ptr<const VideoPicture> firstPicture(const std::string& name) {
  auto decoder = ClipDecoder::open(clipFile(name), nullptr);
  EXPECT_TRUE(decoder.ok()) << name;
  return decoder.ok() ? decoder.value()->next() : nullptr;
}

std::array<int, 3> colourAt(const QImage& image, int x, int y) {
  const QColor colour = image.pixelColor(x, y);
  return {colour.red(), colour.green(), colour.blue()};
}

testing::AssertionResult isNear(const std::array<int, 3>& seen, const std::array<double, 3>& expected, double most) {
  for (std::size_t part = 0; part < seen.size(); ++part) {
    if (std::abs(seen[part] - expected[part]) > most + 1e-6) {
      return testing::AssertionFailure() << seen[0] << " " << seen[1] << " " << seen[2] << " instead of " << expected[0]
                                         << " " << expected[1] << " " << expected[2];
    }
  }
  return testing::AssertionSuccess();
}

/// The formula of a blend mode, 0 to 1.
double blended(LayerBlending blending, double below, double above, double opacity) {
  double result = above;
  switch (blending) {
    case LayerBlending::normal:
      break;
    case LayerBlending::multiply:
      result = above * below;
      break;
    case LayerBlending::screen:
      result = above + below - above * below;
      break;
    case LayerBlending::plusLighter:
      return std::min(1.0, below + above * opacity);
  }
  return below + (result - below) * opacity;
}

// A picture has whole levels, and so has what the formula gives.
TEST(StagePainting, BlendsEachModeByItsFormula) {
  OffScreenStage stage;
  const auto colour = [](std::size_t x, std::size_t y, std::size_t turn) {
    return Colour{static_cast<std::uint8_t>((x * 37 + turn) % 256),
                  static_cast<std::uint8_t>((y * 53 + turn * 7) % 256),
                  static_cast<std::uint8_t>((x * 11 + y * 91 + turn * 3) % 256), 255};
  };
  const auto below = std::make_shared<MadePicture>(32, 24, [&](auto x, auto y) { return colour(x, y, 1); });
  const auto above = std::make_shared<MadePicture>(32, 24, [&](auto x, auto y) { return colour(y, x, 101); });
  for (const auto mode :
       {LayerBlending::normal, LayerBlending::multiply, LayerBlending::screen, LayerBlending::plusLighter}) {
    for (const double opacity : {1.0, 0.5, 0.25}) {
      StageFrame frame;
      frame.layers = {{below, LayerBlending::normal, 1}, {above, mode, opacity}};
      const QImage seen = stage.paint(frame, {32, 24});
      for (std::size_t y = 0; y < 24; ++y) {
        for (std::size_t x = 0; x < 32; ++x) {
          std::array<double, 3> expected{};
          for (std::size_t part = 0; part < 3; ++part) {
            expected[part] = std::round(
                255 * blended(mode, colour(x, y, 1)[part] / 255.0, colour(y, x, 101)[part] / 255.0, opacity));
          }
          ASSERT_TRUE(isNear(colourAt(seen, static_cast<int>(x), static_cast<int>(y)), expected, 1))
              << "mode " << static_cast<int>(mode) << " at " << opacity << ", pixel " << x << " " << y;
        }
      }
    }
  }
}

TEST(StagePainting, DrawsLayersFromTheFirstUpwardsAndStaysOpaque) {
  OffScreenStage stage;
  StageFrame frame;
  frame.background = flat({200, 0, 0, 255});
  frame.layers = {{flat({0, 200, 0, 255}), LayerBlending::normal, 0.5},
                  {flat({0, 0, 200, 255}), LayerBlending::normal, 0.5}};
  const QImage seen = stage.paint(frame, {8, 8});
  EXPECT_TRUE(isNear(colourAt(seen, 4, 4), {50, 50, 100}, 1));
  EXPECT_EQ(seen.pixelColor(4, 4).alpha(), 255);
  frame.layers.push_back({flat({9, 8, 7, 255}), LayerBlending::normal, 1});
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {9, 8, 7}, 0)) << "the last covers all";
}

TEST(StagePainting, ShowsWhatLiesBelowATransparentPicture) {
  OffScreenStage stage;
  StageFrame frame;
  frame.background = flat({200, 100, 0, 255});
  const Colour half{0, 0, 255, 128};
  frame.layers = {{flat(half), LayerBlending::normal, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {200 * 127 / 255.0, 100 * 127 / 255.0, 128}, 1));
  frame.layers = {{flat(half), LayerBlending::multiply, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {200 * 127 / 255.0, 100 * 127 / 255.0, 0}, 1));
  frame.layers = {{flat({255, 255, 255, 0}), LayerBlending::plusLighter, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {200, 100, 0}, 0));
}

TEST(StagePainting, ShowsTheWholePictureBetweenBlackBars) {
  OffScreenStage stage;
  StageFrame frame;
  frame.background = flat({90, 90, 90, 255}, 100, 100);
  const auto edged = std::make_shared<MadePicture>(40, 20, [](std::size_t x, std::size_t y) {
    return x == 0 || y == 0 || x == 39 || y == 19 ? Colour{255, 255, 255, 255} : Colour{0, 0, 200, 255};
  });
  frame.layers = {{edged, LayerBlending::normal, 1}};
  const QImage wide = stage.paint(frame, {40, 40});
  EXPECT_TRUE(isNear(colourAt(wide, 20, 9), {0, 0, 0}, 0)) << "a bar, which belongs to the layer";
  EXPECT_TRUE(isNear(colourAt(wide, 20, 10), {255, 255, 255}, 0)) << "the first row";
  EXPECT_TRUE(isNear(colourAt(wide, 0, 20), {255, 255, 255}, 0));
  EXPECT_TRUE(isNear(colourAt(wide, 39, 29), {255, 255, 255}, 0)) << "the last row";
  EXPECT_TRUE(isNear(colourAt(wide, 20, 30), {0, 0, 0}, 0));
  const QImage high = stage.paint(frame, {80, 20});
  EXPECT_TRUE(isNear(colourAt(high, 19, 10), {0, 0, 0}, 0));
  EXPECT_TRUE(isNear(colourAt(high, 20, 10), {255, 255, 255}, 0));
  EXPECT_TRUE(isNear(colourAt(high, 59, 10), {255, 255, 255}, 0));
  EXPECT_TRUE(isNear(colourAt(high, 60, 10), {0, 0, 0}, 0));
  frame.layers[0].blending = LayerBlending::plusLighter;
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {40, 40}), 20, 5), {90, 90, 90}, 0)) << "adding black";
}

class ClipColours : public testing::TestWithParam<const char*> {};

// In the middle of each block of one colour, where how chroma is interpolated makes no difference.
TEST_P(ClipColours, AreThoseOfFFmpeg) {
  OffScreenStage stage;
  const std::string name = GetParam();
  const auto picture = firstPicture("colours-" + name + (name == "nv12" ? ".avi" : ".mkv"));
  ASSERT_NE(picture, nullptr);
  std::ifstream file(clipFile("colours-" + name + ".rgba"), std::ios::binary);
  const std::vector<char> expected{std::istreambuf_iterator<char>(file), {}};
  const auto width = static_cast<int>(picture->width());
  const auto height = static_cast<int>(picture->height());
  ASSERT_EQ(expected.size(), picture->width() * picture->height() * 4);
  StageFrame frame;
  frame.layers = {{picture, LayerBlending::normal, 1}};
  const QImage seen = stage.paint(frame, {width, height});
  int blocks = 0;
  for (int y = 8; y < height; y += 16) {
    for (int x = 8; x < width; x += 16, ++blocks) {
      std::array<double, 3> colour{};
      for (std::size_t part = 0; part < 3; ++part) {
        const auto at = static_cast<std::size_t>(y * width + x) * 4 + part;
        colour[part] = static_cast<std::uint8_t>(expected[at]);
      }
      EXPECT_TRUE(isNear(colourAt(seen, x, y), colour, 2)) << "at " << x << " " << y;
    }
  }
  EXPECT_GE(blocks, 30);
}

INSTANTIATE_TEST_SUITE_P(All, ClipColours,
                         testing::Values("601-limited", "601-full", "709-limited", "709-full", "2020-limited",
                                         "odd-420", "422", "444", "422-10", "410", "grey", "rgb", "nv12"),
                         [](const auto& each) {
                           std::string name = each.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

// Beside what the processor computes from the very same picture, pixel by pixel.
TEST(StagePainting, TurnsAndStretchesPicturesAsTheirFilesAsk) {
  OffScreenStage stage;
  for (const auto* name : {"upright.mp4", "turned-90.mp4", "turned-180.mp4", "turned-270.mp4", "wide-pixels.mp4"}) {
    const auto picture = firstPicture(name);
    ASSERT_NE(picture, nullptr);
    std::vector<std::uint8_t> expected(picture->width() * picture->height() * 4);
    ASSERT_TRUE(picture->copyPixels(expected));
    StageFrame frame;
    frame.layers = {{picture, LayerBlending::normal, 1}};
    const QSize size(static_cast<int>(picture->width()), static_cast<int>(picture->height()));
    const QImage seen = stage.paint(frame, size);
    for (const int right : {1, 3}) {
      for (const int down : {1, 3}) {
        const int x = size.width() * right / 4;
        const int y = size.height() * down / 4;
        const auto at = static_cast<std::size_t>(y * size.width() + x) * 4;
        EXPECT_TRUE(
            isNear(colourAt(seen, x, y), {double(expected[at]), double(expected[at + 1]), double(expected[at + 2])}, 2))
            << name << " at " << x << " " << y;
      }
    }
  }
}

TEST(StagePainting, KeepsTheAlphaOfClips) {
  OffScreenStage stage;
  StageFrame frame;
  frame.background = flat({0, 200, 0, 255}, 64, 48);
  for (const auto* name : {"alpha-prores.mov", "alpha-vp9.webm"}) {
    frame.layers = {{firstPicture(name), LayerBlending::normal, 1}};
    const QImage seen = stage.paint(frame, {64, 48});
    EXPECT_TRUE(isNear(colourAt(seen, 8, 24), {0, 200, 0}, 8)) << name;
    EXPECT_GT(colourAt(seen, 56, 24)[0], 180) << name;
  }
}

TEST(StagePainting, ShowsPicturesOfAnySize) {
  OffScreenStage stage;
  const auto halves = [](std::size_t width, std::size_t height) {
    return std::make_shared<MadePicture>(width, height, [=](std::size_t x, std::size_t y) {
      return 2 * x + 1 > width || 2 * y + 1 > height ? Colour{200, 0, 0, 255} : Colour{0, 200, 0, 255};
    });
  };
  constexpr std::size_t moreThanAnyDriverTakes = 70'000;
  StageFrame frame;
  frame.layers = {{halves(moreThanAnyDriverTakes, 1), LayerBlending::normal, 1}};
  const QImage wide = stage.paint(frame, {700, 3});
  EXPECT_TRUE(isNear(colourAt(wide, 100, 1), {0, 200, 0}, 1));
  EXPECT_TRUE(isNear(colourAt(wide, 600, 1), {200, 0, 0}, 1));
  frame.layers = {{halves(1, moreThanAnyDriverTakes), LayerBlending::normal, 1}};
  const QImage high = stage.paint(frame, {3, 700});
  EXPECT_TRUE(isNear(colourAt(high, 1, 100), {0, 200, 0}, 1));
  EXPECT_TRUE(isNear(colourAt(high, 1, 600), {200, 0, 0}, 1));
  frame.layers = {{flat({0, 0, 200, 255}, 1, 1), LayerBlending::normal, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {16, 9}), 8, 4), {0, 0, 200}, 1));
  frame.layers = {{flat({0, 0, 200, 255}, 3, 5), LayerBlending::normal, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {1, 1}), 0, 0), {0, 0, 200}, 1)) << "on a stage of one pixel";
}

TEST(StagePainting, PictureAfterPictureShowsTheLatest) {
  OffScreenStage stage;
  auto decoder = ClipDecoder::open(clipFile("count-h264.mp4"), nullptr);
  ASSERT_TRUE(decoder.ok());
  for (int count = 0; count < 25; ++count) {
    StageFrame frame;
    frame.layers = {{decoder.value()->next(), LayerBlending::normal, 1}};
    const double luma = (20 + 8 * count - 16) * 255.0 / 219;
    EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {64, 48}), 30, 20), {luma, luma, luma}, 3)) << count;
  }
}

TEST(StagePainting, WritesFaintWordsInTheMiddleOfNothing) {
  OffScreenStage stage;
  StageFrame frame;
  frame.placeholder = "VREL Stage";
  const QImage seen = stage.paint(frame, {640, 360});
  int brightest = 0;
  int lit = 0;
  for (int y = 0; y < 360; ++y) {
    for (int x = 0; x < 640; ++x) {
      const int level = colourAt(seen, x, y)[1];
      brightest = std::max(brightest, level);
      if (level > 0) {
        ++lit;
        EXPECT_TRUE(y > 140 && y < 220 && x > 150 && x < 490) << x << " " << y;
      }
    }
  }
  EXPECT_EQ(brightest, 51) << "an opacity of 0.2";
  EXPECT_GT(lit, 500);
}

TEST(StagePainting, MakesItsWordsAgainForAnotherScale) {
  OffScreenStage stage;
  StageFrame frame;
  frame.placeholder = "VREL Stage";
  const QImage plain = stage.paint(frame, {640, 360}, 1);
  EXPECT_TRUE(stage.paint(frame, {640, 360}, 1) == plain);
  EXPECT_FALSE(stage.paint(frame, {640, 360}, 2) == plain);
}

TEST(StagePainting, BlackCoversTheTestPictureAndThatAllElse) {
  OffScreenStage stage;
  StageFrame frame;
  frame.layers = {{flat({0, 200, 0, 255}), LayerBlending::normal, 1}};
  frame.testPicture = "HDMI-1\n320 x 180";
  const QImage test = stage.paint(frame, {320, 180});
  EXPECT_TRUE(isNear(colourAt(test, 0, 90), {255, 255, 255}, 0)) << "the edge of the stage";
  EXPECT_TRUE(isNear(colourAt(test, 70, 20), {255, 255, 0}, 0)) << "the second bar";
  EXPECT_TRUE(isNear(colourAt(test, 20, 90), {0, 0, 0}, 0)) << "no clip";
  frame.isBlack = true;
  const QImage black = stage.paint(frame, {320, 180});
  EXPECT_TRUE(isNear(colourAt(black, 0, 90), {0, 0, 0}, 0));
  EXPECT_TRUE(isNear(colourAt(black, 70, 20), {0, 0, 0}, 0));
}

TEST(StagePainting, AClipWithoutAPictureIsBlack) {
  OffScreenStage stage;
  StageFrame frame;
  frame.background = flat({200, 200, 200, 255});
  frame.layers = {{nullptr, LayerBlending::normal, 0.5}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {100, 100, 100}, 1));
  frame.layers = {{nullptr, LayerBlending::plusLighter, 1}};
  EXPECT_TRUE(isNear(colourAt(stage.paint(frame, {8, 8}), 4, 4), {200, 200, 200}, 0));
}

}  // namespace
}  // namespace vrel::system
