// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/level_meter.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QQuickWindow>
#include <cmath>
#include <memory>

namespace vrel::window {
namespace {

/// A meter that counts how often it is redrawn.
class CountingMeter : public LevelMeter {
 public:
  using LevelMeter::LevelMeter;
  int paintings = 0;

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override {
    ++paintings;
    return LevelMeter::updatePaintNode(old, data);
  }
};

constexpr int meterHeight = 96;  // two pixels for a decibel

class Meter : public testing::Test {
 protected:
  Meter() {
    window.resize(20, meterHeight);
    meter.setParentItem(window.contentItem());
    meter.setSize({9, meterHeight});
    meter.setBoard(&board);
    meter.setChannelId(QStringLiteral("piano"));
    draw();
    meter.paintings = 0;
  }

  /// One frame; how often the meter was drawn in it.
  int draw() {
    const int before = meter.paintings;
    Q_EMIT board.frame();
    image = window.grabWindow();
    return meter.paintings - before;
  }

  static float level(float decibels) { return std::pow(10.0F, decibels / 20); }
  void play(float leftDecibels, float rightDecibels) {
    cell->left = level(leftDecibels);
    cell->right = level(rightDecibels);
  }

  /// Pixels of the bar from the bottom.
  [[nodiscard]] int barHeight(int x) const {
    int height = 0;
    while (height < meterHeight && image.pixelColor(x, meterHeight - 1 - height) != ground) {
      ++height;
    }
    return height;
  }

  const QColor ground{0xff161616U};
  MeterBoard board;
  std::shared_ptr<MeterCell> cell = board.cell(QStringLiteral("piano"));
  QQuickWindow window;
  CountingMeter meter;
  QImage image;
};

constexpr int leftBar = 1;
constexpr int rightBar = 7;

TEST_F(Meter, ShowsBothPeaksOfItsStripInDecibels) {
  play(-24, -36);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(barHeight(leftBar), meterHeight / 2);
  EXPECT_EQ(barHeight(rightBar), meterHeight / 4);
  EXPECT_EQ(meter.decibels(), -24);
}

TEST_F(Meter, IsRedrawnOnlyWhenABarHasMovedByAPixel) {
  play(-24, -24);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(draw(), 0);
  play(-24.1F, -24.1F);
  EXPECT_EQ(draw(), 0);
  play(-24.1F, -25);
  EXPECT_EQ(draw(), 1);
}

TEST_F(Meter, GoesFromGreenOverOrangeToRed) {
  play(0, -100);
  draw();
  const QColor bottom = image.pixelColor(leftBar, meterHeight - 2);
  const QColor middle = image.pixelColor(leftBar, 12);
  const QColor top = image.pixelColor(leftBar, 1);
  EXPECT_GT(bottom.green(), bottom.red());
  EXPECT_GT(middle.red(), middle.green());
  EXPECT_GT(middle.green(), middle.blue());
  EXPECT_GT(top.red(), 2 * top.green());
  EXPECT_EQ(barHeight(rightBar), 0);
}

TEST_F(Meter, WhatIsTooLoudOrTooQuietStaysInTheScale) {
  play(12, -90);
  draw();
  EXPECT_EQ(barHeight(leftBar), meterHeight);
  EXPECT_EQ(barHeight(rightBar), 0);
  EXPECT_EQ(meter.decibels(), 12);
  cell->left = 0;
  cell->right = 0;
  draw();
  EXPECT_EQ(barHeight(leftBar), 0);
  EXPECT_EQ(meter.decibels(), -100);
}

TEST_F(Meter, AHiddenMeterIsNotUpdated) {
  meter.setVisible(false);
  play(0, 0);
  draw();
  EXPECT_EQ(meter.decibels(), -100);
  meter.setVisible(true);
  draw();
  EXPECT_EQ(meter.decibels(), 0);
}

TEST_F(Meter, AnotherStripIsShownFromTheNextFrameOn) {
  play(0, 0);
  draw();
  meter.setChannelId(QStringLiteral("organ"));
  draw();
  EXPECT_EQ(meter.decibels(), -100);
  board.cell(QStringLiteral("organ"))->right = level(-12);
  draw();
  EXPECT_EQ(meter.decibels(), -12);
}

TEST_F(Meter, AMeterWithoutABoardIsIdle) {
  meter.setBoard(nullptr);
  play(0, 0);
  draw();
  EXPECT_EQ(meter.decibels(), -100);
}

TEST(Meters, CellsThatAreNotHeldAreForgotten) {
  MeterBoard board;
  const auto held = board.cell(QStringLiteral("piano"));
  board.cell(QStringLiteral("organ"))->left = 0.5F;
  held->left = 0.25F;
  board.prune();
  EXPECT_EQ(board.cell(QStringLiteral("piano")), held);
  EXPECT_EQ(board.cell(QStringLiteral("organ"))->left.load(), 0.0F);
}

}  // namespace
}  // namespace vrel::window
