// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/level_meter.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QQuickWindow>
#include <cstddef>
#include <memory>
#include <tuple>
#include <vector>

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

// Twenty-two segments of four pixels, and a gap of one above each but the last.
constexpr int meterHeight = 22 * 4 + 21;
constexpr int columnWidth = 8;
constexpr double oneSegment = 1.0 / 22;

/// Drawn in either way.
class Meter : public testing::TestWithParam<MeterNode::Way> {
 protected:
  Meter() {
    window.resize(40, meterHeight);
    window.contentItem()->setSize(window.size());  // as when it is shown
    window.setColor(Qt::black);
    meter.setWayToDraw(GetParam());
    meter.setParentItem(window.contentItem());
    meter.setSize({2 * columnWidth + 3.5, meterHeight});
    meter.setBoard(&board);
    meter.setChannelId(QStringLiteral("piano"));
    draw();
    meter.paintings = 0;
  }

  /// A frame; how often the meter was drawn after it.
  int draw() {
    const int before = meter.paintings;
    Q_EMIT board.frame();
    image = window.grabWindow();
    return meter.paintings - before;
  }

  void show(double left, double right, double holdLeft = 0, double holdRight = 0) {
    cell->left.displayed = static_cast<float>(left);
    cell->right.displayed = static_cast<float>(right);
    cell->left.hold = static_cast<float>(holdLeft);
    cell->right.hold = static_cast<float>(holdRight);
  }

  /// In the middle of a segment.
  [[nodiscard]] QColor segment(int x, int number) const {
    return image.pixelColor(x, meterHeight - 1 - (number * 5 + 1));
  }
  [[nodiscard]] int litSegments(int x) const {
    int lit = 0;
    while (lit < 22 && segment(x, lit).lightness() > 100) {
      ++lit;
    }
    return lit;
  }

  /// A colour over the ground of the meter.
  static QColor over(const QColor& color, double opacity) {
    const auto mix = [opacity](int part) { return static_cast<int>(std::lround(18 + (part - 18) * opacity)); };
    return {mix(color.red()), mix(color.green()), mix(color.blue())};
  }
  static void expectColor(const QColor& is, const QColor& wanted) {
    EXPECT_NEAR(is.red(), wanted.red(), 2);
    EXPECT_NEAR(is.green(), wanted.green(), 2);
    EXPECT_NEAR(is.blue(), wanted.blue(), 2);
  }

  MeterBoard board;
  std::shared_ptr<MeterCell> cell = board.cell(QStringLiteral("piano"));
  QQuickWindow window;
  CountingMeter meter;
  QImage image;
};

constexpr int left = 5;
constexpr int right = 14;
const QColor safeGreen(105, 220, 120);
const QColor hotYellow(250, 198, 70);
const QColor overRed(240, 70, 60);

TEST_P(Meter, AtSilenceItsColoursCanBeSeenDimlyAndNoMarker) {
  for (const int x : {left, right}) {
    expectColor(segment(x, 0), over(safeGreen, 0.13));
    expectColor(segment(x, 14), over(safeGreen, 0.13));
    expectColor(segment(x, 15), over(hotYellow, 0.13));
    expectColor(segment(x, 19), over(hotYellow, 0.13));
    expectColor(segment(x, 20), over(overRed, 0.13));
    expectColor(segment(x, 21), over(overRed, 0.13));
  }
}

TEST_P(Meter, LightsEachChannelUpToItsLevel) {
  show(1, 10 * oneSegment + 0.001);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(litSegments(left), 22);
  EXPECT_EQ(litSegments(right), 10);
  expectColor(segment(left, 0), over(safeGreen, 0.95));
  expectColor(segment(left, 15), over(hotYellow, 0.95));
  expectColor(segment(left, 21), over(overRed, 0.95));
  expectColor(segment(right, 10), over(safeGreen, 0.13));
}

TEST_P(Meter, BetweenTwoSegmentsIsAGap) {
  show(1, 1);
  draw();
  expectColor(image.pixelColor(left, meterHeight - 5), over(safeGreen, 0));
}

TEST_P(Meter, ThePeakIsHeldByAWhiteBarWiderThanItsColumn) {
  show(0, 0, 0.5, 0);
  EXPECT_EQ(draw(), 1);
  int rows = 0;
  for (int y = 0; y < meterHeight; ++y) {
    if (image.pixelColor(left, y).lightness() > 200) {
      ++rows;
      EXPECT_NEAR(y, meterHeight / 2.0, 2);
      EXPECT_GT(image.pixelColor(1 + columnWidth, y).lightness(), 200);  // beyond the column
    }
    EXPECT_LT(image.pixelColor(right, y).lightness(), 100);
  }
  EXPECT_EQ(rows, 2);  // 1.6 points
}

TEST_P(Meter, TheBarOfAFullScalePeakIsInsideTheMeter) {
  show(0, 0, 1, 1);
  draw();
  EXPECT_GT(image.pixelColor(left, 0).lightness(), 200);
  EXPECT_GT(image.pixelColor(right, 1).lightness(), 200);
}

TEST_P(Meter, AMarkerAtTheVeryBottomIsNotShown) {
  show(0, 0, 0.0001, 0.00009);
  EXPECT_EQ(draw(), 0);
  expectColor(segment(left, 0), over(safeGreen, 0.13));
}

TEST_P(Meter, IsRedrawnOnlyWhenASegmentOrTheMarkerHasMoved) {
  show(0.5, 0.5, 0.6, 0.6);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(draw(), 0);
  show(0.501, 0.5, 0.6005, 0.6);
  EXPECT_EQ(draw(), 0);
  show(0.501, 0.6, 0.601, 0.6);
  EXPECT_EQ(draw(), 1);
  show(0.501, 0.6, 0.65, 0.6);
  EXPECT_EQ(draw(), 1);
}

TEST_P(Meter, InSoftwareManyMetersTakeTurnsAndAFewAreDrawnInEachFrame) {
  constexpr int frames = 8;
  for (int frame = 0; frame < frames; ++frame) {
    show(frame * 0.1, 1);
    Q_EMIT board.frame();
    image = window.grabWindow();
  }
  EXPECT_EQ(meter.paintings, frames);
  std::vector<std::unique_ptr<CountingMeter>> many;
  constexpr int others = 59;
  for (int number = 0; number < others; ++number) {
    auto& other = *many.emplace_back(std::make_unique<CountingMeter>(window.contentItem()));
    other.setWayToDraw(GetParam());
    other.setSize({2 * columnWidth + 3.5, meterHeight});
    other.setBoard(&board);
    other.setChannelId(QStringLiteral("piano"));
  }
  draw();
  const auto paintings = [&] {
    int sum = meter.paintings;
    for (const auto& other : many) {
      sum += other->paintings;
    }
    return sum;
  };
  constexpr int turns = 3;
  const bool isInSoftware = GetParam() == MeterNode::Way::pictures;
  for (int frame = 0; frame < 2 * turns; ++frame) {
    const int before = paintings();
    show(frame * 0.1, 0.5);
    Q_EMIT board.frame();
    image = window.grabWindow();
    EXPECT_EQ(paintings() - before, isInSoftware ? (others + 1) / turns : others + 1) << frame;
  }
}

TEST_P(Meter, ShowsTheSameWhateverItShowedBefore) {
  const auto shown = [this](double leftLevel, double rightLevel, double leftHold, double rightHold) {
    show(leftLevel, rightLevel, leftHold, rightHold);
    draw();
    return image;
  };
  const QImage first = shown(0.3, 0.8, 0.4, 0.81);
  shown(0.9, 0.1, 0.95, 0);
  shown(0.2, 0.2, 0.3, 0.21);
  shown(1, 0, 1, 0);
  EXPECT_EQ(shown(0.3, 0.8, 0.4, 0.81), first);
  EXPECT_NE(shown(0.35, 0.8, 0.4, 0.81), first);
  EXPECT_EQ(shown(0.3, 0.8, 0.4, 0.81), first);
}

TEST(MetersInTurn, AreAsFewAFrameAsTheTimeAllows) {
  MeterTurns turns;
  EXPECT_EQ(turns.join(), 0U);
  EXPECT_EQ(turns.join(), 1U);
  const auto drawnInAFrame = [&turns](std::size_t meters, double pixels) {
    for (int frame = 0; frame < 2; ++frame) {
      turns.beginFrame();
      for (std::size_t meter = 0; meter < meters; ++meter) {
        turns.count(pixels);
      }
    }
    turns.beginFrame();
    std::size_t drawn = 0;
    for (std::size_t meter = 0; meter < meters; ++meter) {
      drawn += turns.isInTurn(meter) ? 1 : 0;
    }
    return drawn;
  };
  EXPECT_EQ(drawnInAFrame(12, 7600), 12U);
  EXPECT_LT(drawnInAFrame(64, 7600), 64U);
  EXPECT_LE(static_cast<double>(drawnInAFrame(64, 7600)) *
                (MeterTurns::meterMicroseconds + 7600 * MeterTurns::pixelMicroseconds),
            MeterTurns::frameMicroseconds * 1.1);
  EXPECT_GE(drawnInAFrame(1000, 7600), 1000 / MeterTurns::mostTurns) << "never slower than that";
  EXPECT_EQ(drawnInAFrame(2, 7600), 2U) << "again, once the others are gone";
}

TEST_P(Meter, FallsBackToSilence) {
  show(1, 1, 1, 1);
  draw();
  show(0, 0, 0, 0);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(litSegments(left), 0);
  EXPECT_LT(image.pixelColor(left, 0).lightness(), 100);
}

TEST_P(Meter, IsDrawnAgainInAnotherSize) {
  show(1, 1);
  draw();
  meter.setHeight(22 * 2 + 21);
  draw();
  EXPECT_GT(image.pixelColor(left, 1).lightness(), 100);
  EXPECT_EQ(image.pixelColor(left, meterHeight - 2), QColor(Qt::black));
}

TEST_P(Meter, IsDrawnSharplyAtAnotherScaleOfTheWindow) {
  window.resize(80, 2 * meterHeight);
  window.contentItem()->setTransformOrigin(QQuickItem::TopLeft);
  window.contentItem()->setScale(2);
  show(0.98, 0);
  draw();
  const int gapBelowTheTop = 2 * 4;
  expectColor(image.pixelColor(2 * left, gapBelowTheTop), over(safeGreen, 0));
  expectColor(image.pixelColor(2 * left, gapBelowTheTop + 1), over(safeGreen, 0));
  expectColor(image.pixelColor(2 * left, gapBelowTheTop + 4), over(overRed, 0.95));
  expectColor(image.pixelColor(2 * left, gapBelowTheTop - 4), over(overRed, 0.13));
}

TEST_P(Meter, SaysItsLevelInDecibelsFourTimesASecond) {
  const auto frames = [this](int count) {
    for (int frame = 0; frame < count; ++frame) {
      Q_EMIT board.frame();
    }
  };
  EXPECT_EQ(meter.decibels(), -48);
  int changes = 0;
  QObject::connect(&meter, &LevelMeter::decibelsChanged, [&] { ++changes; });
  for (int frame = 0; frame < 60; ++frame) {
    show(0.5 + frame * 0.005, 0);
    frames(1);
  }
  EXPECT_EQ(changes, 4);
  show(0.25, meterProportion(0.5));
  frames(16);
  EXPECT_EQ(meter.decibels(), -6);
}

TEST_P(Meter, AHiddenMeterIsNotUpdated) {
  meter.setVisible(false);
  show(1, 1);
  EXPECT_EQ(draw(), 0);
  meter.setVisible(true);
  draw();
  EXPECT_EQ(litSegments(left), 22);
}

TEST_P(Meter, AMeterOutOfSightIsNotUpdated) {
  QQuickItem row(window.contentItem());
  row.setSize({20, meterHeight});
  row.setClip(true);
  meter.setParentItem(&row);
  meter.setX(-50);
  draw();
  show(1, 1);
  EXPECT_EQ(draw(), 0);
  meter.setX(0);
  draw();
  EXPECT_EQ(litSegments(left), 22);
  meter.setParentItem(window.contentItem());
}

TEST_P(Meter, AMeterOfAFewPixelsIsDrawnToo) {
  show(1, 1, 1, 1);
  for (int width = 0; width < 12; ++width) {
    meter.setSize({static_cast<qreal>(width), static_cast<qreal>(width / 2)});
    draw();
  }
  meter.setSize({2 * columnWidth + 3.5, meterHeight});
  draw();
  EXPECT_EQ(litSegments(right), 22);
}

TEST_P(Meter, AMeterBetweenTwoPixelsIsDrawnSharply) {
  meter.setPosition({0.4, 0.3});
  show(1, 0);
  draw();
  expectColor(segment(left, 0), over(safeGreen, 0.95));
  expectColor(image.pixelColor(left, meterHeight - 5), over(safeGreen, 0));
  expectColor(image.pixelColor(left, meterHeight - 6), over(safeGreen, 0.95));
}

TEST_P(Meter, TheBarCoversWhatIsBelowItButForATrace) {
  const auto brightness = [this] { return image.pixelColor(left, meterHeight / 2 - 1).green(); };
  show(0, 0, 0.5, 0);
  draw();
  const int overDim = brightness();
  show(1, 0, 0.5, 0);
  draw();
  EXPECT_GT(brightness(), overDim);
  EXPECT_NEAR(brightness(), 255 * 0.92 + 0.08 * over(safeGreen, 0.95).green(), 2);
}

TEST_P(Meter, AnotherStripIsShownFromTheNextFrameOn) {
  show(1, 1);
  draw();
  meter.setChannelId(QStringLiteral("organ"));
  draw();
  EXPECT_EQ(litSegments(left), 0);
  board.cell(QStringLiteral("organ"))->right.displayed = 1;
  draw();
  EXPECT_EQ(litSegments(right), 22);
}

TEST_P(Meter, AMeterWithoutABoardIsIdle) {
  meter.setBoard(nullptr);
  show(1, 1);
  EXPECT_EQ(draw(), 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, Meter, testing::Values(MeterNode::Way::layers, MeterNode::Way::pictures),
                         [](const auto& way) {
                           return way.param == MeterNode::Way::layers ? "OfLayers" : "OfPictures";
                         });

TEST(Meters, CellsThatAreNotHeldAreForgotten) {
  MeterBoard board;
  const auto held = board.cell(QStringLiteral("piano"));
  std::ignore = board.cell(QStringLiteral("organ"));
  held->left.hold = 0.25F;
  EXPECT_EQ(board.cell(QStringLiteral("piano")), held);
  EXPECT_EQ(board.cell(QStringLiteral("organ"))->left.hold.load(), 0.0F);
}

}  // namespace
}  // namespace vrel::window
