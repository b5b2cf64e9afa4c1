// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/piano_gestures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vrel {
namespace {

using PianoEvents = std::vector<std::string>;
constexpr int middleC = 60;

class Glissando : public testing::Test {
 protected:
  PianoLayout layout{middleC, 12, 140};
  PianoEvents events;
  KeyDrag drag{[this](int note) { events.push_back("+" + std::to_string(note)); },
               [this](int note) { events.push_back("-" + std::to_string(note)); }};
};

TEST_F(Glissando, AKeySoundsWhileThePointerIsOnIt) {
  drag.move(layout, 5, 80);
  drag.move(layout, 9, 70);
  EXPECT_EQ(events, (PianoEvents{"+60"}));
  drag.end();
  EXPECT_EQ(events, (PianoEvents{"+60", "-60"}));
  EXPECT_EQ(drag.note(), std::nullopt);
}

TEST_F(Glissando, TheOldKeyIsReleasedBeforeTheNextIsPressed) {
  drag.move(layout, 5, 80);
  drag.move(layout, 25, 80);
  drag.move(layout, 20, 10);
  drag.end();
  EXPECT_EQ(events, (PianoEvents{"+60", "-60", "+62", "-62", "+61", "-61"}));
}

TEST_F(Glissando, OffTheLowerEdgeTheKeyIsReleasedAndComingBackPressesAgain) {
  drag.move(layout, 5, 80);
  drag.move(layout, 5, 85.1);
  EXPECT_EQ(events, (PianoEvents{"+60", "-60"}));
  drag.move(layout, 5, 90);
  drag.move(layout, 5, 84);
  EXPECT_EQ(events, (PianoEvents{"+60", "-60", "+60"}));
}

TEST_F(Glissando, BeyondAnyEdgeTheKeyIsReleased) {
  for (const auto& [x, y] : std::vector<std::pair<double, double>>{{-0.1, 80}, {140.1, 80}, {5, -0.1}}) {
    drag.move(layout, 5, 80);
    events.clear();
    drag.move(layout, x, y);
    EXPECT_EQ(events, (PianoEvents{"-60"})) << x << " " << y;
  }
}

TEST_F(Glissando, OnTheRightEdgeItselfTheHeldKeyGoesOn) {
  drag.move(layout, 139, 80);
  drag.move(layout, 140, 80);
  EXPECT_EQ(events, (PianoEvents{"+71"}));
}

TEST_F(Glissando, EndingWithoutAKeyReleasesNothing) {
  drag.end();
  drag.move(layout, -10, 10);
  drag.end();
  EXPECT_EQ(events, PianoEvents());
}

class SplitDragging : public testing::Test {
 protected:
  /// Reports what a step asks for, such as "row 1" or "min 62", and applies it.
  std::string take(const SplitDrag::Step& step) {
    std::string text;
    if (step.chosenRow) {
      selected = *step.chosenRow;
      text += "row " + std::to_string(*step.chosenRow);
    }
    if (step.change) {
      const bool isMin = step.change->handle == SplitDrag::Handle::min;
      (isMin ? bars[*selected].minNote : bars[*selected].maxNote) = step.change->note;
      text += (isMin ? "min " : "max ") + std::to_string(step.change->note);
    }
    return text;
  }
  std::string press(double x, double y) { return take(drag.press(layout, bars, selected, x, y)); }
  std::string move(double x, double y) { return take(drag.move(layout, bars, selected, x, y)); }

  PianoLayout layout{48, 36, 420};  // white keys of 20 points
  std::vector<SplitBar> bars{{48, 59}, {60, 83}};
  std::optional<std::size_t> selected = 1;
  SplitDrag drag;
  const double firstRow = split_band::middle(0);
  const double secondRow = split_band::middle(1);
};

TEST_F(SplitDragging, APressOnARowChoosesItsStrip) {
  EXPECT_EQ(press(50, firstRow), "row 0");
  EXPECT_EQ(drag.handle(), std::nullopt);
  drag.end();
  EXPECT_EQ(press(200, secondRow), "row 1");
}

TEST_F(SplitDragging, APressOnAHandleKeepsTheSelection) {
  EXPECT_EQ(press(layout.keyX(60), secondRow), "");
  EXPECT_EQ(drag.handle(), SplitDrag::Handle::min);
}

TEST_F(SplitDragging, AHandleIsTakenWithinTwelvePointsAcrossAndEightUp) {
  EXPECT_EQ(press(layout.keyX(83) - 12.5, secondRow), "row 1");
  drag.end();
  EXPECT_EQ(press(layout.keyX(83) - 12, secondRow + 8), "max 82");  // the nearest note, at once
  EXPECT_EQ(drag.handle(), SplitDrag::Handle::max);
  drag.end();
  EXPECT_EQ(press(layout.keyX(60), secondRow - 8.1), "row 0");
}

TEST_F(SplitDragging, AHandleFollowsTheNearestNote) {
  press(layout.keyX(60), secondRow);
  EXPECT_EQ(move(layout.keyX(64) + 3, 500), "min 64");
  EXPECT_EQ(move(layout.keyX(64) - 3, 0), "");
  EXPECT_EQ(move(layout.keyX(65), 0), "min 65");
}

TEST_F(SplitDragging, AHandleRestsOnTheOtherAndDoesNotCrossIt) {
  press(layout.keyX(60), secondRow);
  EXPECT_EQ(move(10000, 0), "min 83");
  drag.end();
  bars[1] = {60, 72};
  press(layout.keyX(72), secondRow);
  ASSERT_EQ(drag.handle(), SplitDrag::Handle::max);
  EXPECT_EQ(move(-10, 0), "max 60");
}

TEST_F(SplitDragging, WhereBothHandlesAreTheLowerIsTaken) {
  bars[1] = {64, 64};
  press(layout.keyX(64), secondRow);
  EXPECT_EQ(drag.handle(), SplitDrag::Handle::min);
}

TEST_F(SplitDragging, AnEndThatIsOffTheKeyboardCannotBeTaken) {
  bars[1] = {0, 127};
  EXPECT_EQ(press(0, secondRow), "row 1");
  EXPECT_EQ(drag.handle(), std::nullopt);
  drag.end();
  bars[1] = {60, 127};
  EXPECT_EQ(press(0, secondRow), "row 1");
  EXPECT_EQ(press(layout.keyX(60), secondRow), "");
  EXPECT_EQ(drag.handle(), SplitDrag::Handle::min);
}

TEST_F(SplitDragging, WithNoneSelectedADragMovesNothing) {
  selected.reset();
  EXPECT_EQ(move(layout.keyX(60), secondRow), "");
  selected = 7;  // not among the strips
  EXPECT_EQ(move(layout.keyX(60), secondRow), "");
}

TEST_F(SplitDragging, WithoutStripsAPressDoesNothing) {
  bars.clear();
  selected.reset();
  EXPECT_EQ(press(10, 8), "");
}

TEST_F(SplitDragging, TheNextDragBeginsWithoutAHandle) {
  press(layout.keyX(60), secondRow);
  drag.end();
  EXPECT_EQ(drag.handle(), std::nullopt);
  EXPECT_EQ(move(layout.keyX(70), secondRow), "");
}

}  // namespace
}  // namespace vrel
