// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/waveform.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QPainter>
#include <algorithm>

namespace vrel::window {
namespace {

/// A waveform of 800 by 100 points that shows eight seconds, on black.
class PaintedWaveform : public testing::Test {
 protected:
  PaintedWaveform() {
    waveform.setSize({800, 100});
    waveform.setViewLength(8);
    waveform.setAccent(Qt::white);
  }

  void paint() {
    image.fill(Qt::black);
    QPainter painter(&image);
    waveform.paint(&painter);
  }

  /// The brightest on the way from the top to the bottom, near this place.
  [[nodiscard]] int brightness(int x) const {
    int brightest = 0;
    for (int near = std::max(0, x - 1); near <= std::min(image.width() - 1, x + 1); ++near) {
      brightest = std::max(brightest, image.pixelColor(near, 5).red());
    }
    return brightest;
  }

  /// How many pixels are lit from the top to the bottom.
  [[nodiscard]] int height(int x) const {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
      count += image.pixelColor(x, y) != QColor(Qt::black) ? 1 : 0;
    }
    return count;
  }

  Waveform waveform;
  QImage image{800, 100, QImage::Format_RGB32};
};

TEST_F(PaintedWaveform, TheLineAtEachFourthBeatFromTheEntryIsTheStrongerOne) {
  waveform.setBeats({1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5});
  paint();
  for (const int beat : {0, 4}) {
    EXPECT_NEAR(brightness(150 + 100 * beat), 0.34 * 255, 2) << beat;
  }
  for (const int beat : {1, 2, 3, 5, 6}) {
    EXPECT_NEAR(brightness(150 + 100 * beat), 0.18 * 255, 2) << beat;
  }
  EXPECT_EQ(brightness(100), 0) << "before the entry";
}

TEST_F(PaintedWaveform, AZoomedViewKeepsWhichLinesAreStronger) {
  waveform.setBeats({1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5});
  waveform.setViewFrom(5);
  waveform.setViewLength(1);
  paint();
  EXPECT_NEAR(brightness(400), 0.34 * 255, 2) << "the fifth";
}

TEST_F(PaintedWaveform, ABarIsAsHighAsItsPeakAndAtLeastTwoPoints) {
  waveform.setColumns({-1, 1, -0.5, 0.5, 0, 0, 0, 0});
  paint();
  EXPECT_EQ(height(100), 70) << "15 points are free above and below";
  EXPECT_EQ(height(300), 35);
  EXPECT_EQ(height(500), 2);
  EXPECT_EQ(image.pixelColor(100, 50), QColor(105, 105, 105));
}

}  // namespace
}  // namespace vrel::window
