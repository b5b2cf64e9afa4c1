// SPDX-License-Identifier: GPL-3.0-or-later
// The keys and the band of splits as items of a window.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>
#include <memory>
#include <string>
#include <vector>

#include "console/window/piano_keys.h"
#include "console/window/split_band.h"
#include "console/window/view_models.h"

namespace vrel::window {
namespace {

using Events = std::vector<std::string>;

class OnScreenKeyboard : public testing::Test {
 protected:
  OnScreenKeyboard() {
    window.resize(280, 120);
    window.setColor(Qt::black);
    for (QQuickItem* const item : {static_cast<QQuickItem*>(&keys), static_cast<QQuickItem*>(&band)}) {
      item->setParentItem(window.contentItem());
    }
    keys.setStrips(&strips);
    keys.setBoard(&board);
    keys.setStartNote(60);
    keys.setKeyCount(24);
    keys.setViewWidth(280);
    keys.setY(35);
    keys.setSize({keys.implicitWidth(), keys.implicitHeight()});
    band.setStrips(&strips);
    band.setStartNote(60);
    band.setKeyCount(24);
    band.setViewWidth(280);
    band.setSize({280, 32});
    QObject::connect(&keys, &PianoKeys::notePressed, [this](int note) { say("+" + std::to_string(note)); });
    QObject::connect(&keys, &PianoKeys::noteReleased, [this](int note) { say("-" + std::to_string(note)); });
    QObject::connect(&band, &SplitBand::chosen, [this](const QString& id) { say(id.toStdString()); });
    const auto dragged = [this](const char* end) {
      return [this, end](const QString& id, int note) { say(id.toStdString() + end + std::to_string(note)); };
    };
    QObject::connect(&band, &SplitBand::minDragged, dragged(" min "));
    QObject::connect(&band, &SplitBand::maxDragged, dragged(" max "));
    window.show();
    draw();
  }

  void say(const std::string& event) { events.push_back(event); }

  StripViewModel& addStrip(const char* id, int minNote, int maxNote, const QColor& color) {
    auto& strip = *views.emplace_back(std::make_unique<StripViewModel>());
    StripViewModel::channelIdKey.set(strip, QString::fromLatin1(id));
    StripViewModel::minNoteKey.set(strip, minNote);
    StripViewModel::maxNoteKey.set(strip, maxNote);
    StripViewModel::colorKey.set(strip, color);
    std::vector<MirrorItem*> rows;
    for (const auto& view : views) {
      rows.push_back(view.get());
    }
    strips.setRows(rows);
    return strip;
  }

  void hold(const std::vector<int>& notes) {
    for (auto& word : board.played()->notes) {
      word = 0;
    }
    for (const int note : notes) {
      board.played()->notes[static_cast<std::size_t>(note / 64)] |= std::uint64_t{1} << (note % 64);
    }
  }

  /// One frame; how many keys it drew again.
  int draw() {
    board.pull();
    image = window.grabWindow();
    return keys.redrawnKeys();
  }

  [[nodiscard]] QColor keyColor(int note) const {
    const KeyRect key = PianoLayout(60, 24, 280).keyRect(note);
    return image.pixelColor(static_cast<int>(key.x + key.width / 2), static_cast<int>(35 + key.height - 4));
  }

  void mouse(QEvent::Type type, double x, double y) {
    const bool isUp = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, {x, y}, window.mapToGlobal(QPointF(x, y)),
                      type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, isUp ? Qt::NoButton : Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
  }
  void key(QEvent::Type type, int code, bool isRepeat = false) {
    QKeyEvent event(type, code, Qt::NoModifier, {}, isRepeat);
    QCoreApplication::sendEvent(&keys, &event);
  }

  std::vector<std::unique_ptr<StripViewModel>> views;
  MirrorList strips{nullptr};
  PerformanceBoard board;
  QQuickWindow window;
  PianoKeys keys;
  SplitBand band;
  QImage image;
  Events events;
};

const QColor red(200, 30, 40);
const QColor blue(30, 60, 220);

TEST_F(OnScreenKeyboard, AKeyThatIsNotHeldIsDark) {
  EXPECT_EQ(keyColor(62), QColor(18, 18, 18));
  EXPECT_EQ(keyColor(61), QColor(18, 18, 18));
}

TEST_F(OnScreenKeyboard, AHeldKeyHasTheColourOfTheFirstStripThatTakesIt) {
  addStrip("piano", 0, 71, red);
  addStrip("organ", 62, 127, blue);
  hold({61, 62, 72});
  draw();
  EXPECT_EQ(keyColor(61), red);
  EXPECT_EQ(keyColor(62), red);
  EXPECT_EQ(keyColor(72), blue);
  EXPECT_EQ(keyColor(64), QColor(18, 18, 18));
}

TEST_F(OnScreenKeyboard, AHeldKeyThatNoStripTakesIsGrey) {
  hold({61, 62});
  draw();
  EXPECT_EQ(keyColor(62), QColor(200, 200, 200));
  EXPECT_EQ(keyColor(61), QColor(160, 160, 160));
}

TEST_F(OnScreenKeyboard, OnlyTheKeysThatChangedAreDrawnAgain) {
  hold({60, 64, 67});
  EXPECT_EQ(draw(), 3);
  hold({60, 65, 67});
  EXPECT_EQ(draw(), 2);
  hold({});
  EXPECT_EQ(draw(), 3);
}

TEST_F(OnScreenKeyboard, AFloodOfNotesIsOneDrawingAFrame) {
  for (int turn = 0; turn < 1000; ++turn) {
    hold({60 + turn % 24});
  }
  hold({70});
  EXPECT_EQ(draw(), 1);
}

TEST_F(OnScreenKeyboard, ANoteOutsideItsRangeChangesNothing) {
  hold({20, 59, 84, 127, 200});
  keys.update();
  EXPECT_EQ(draw(), 0);
}

TEST_F(OnScreenKeyboard, AStripThatMovesItsSplitRecoloursItsHeldKeys) {
  auto& piano = addStrip("piano", 0, 127, red);
  addStrip("organ", 0, 127, blue);
  hold({62});
  draw();
  StripViewModel::maxNoteKey.set(piano, 61);
  EXPECT_EQ(draw(), 1);
  EXPECT_EQ(keyColor(62), blue);
  strips.setRows({views[0].get()});
  draw();
  EXPECT_EQ(keyColor(62), QColor(200, 200, 200));
}

TEST_F(OnScreenKeyboard, EveryCHasItsName) {
  const auto hasInk = [this](int note) {
    const KeyRect place = PianoLayout(60, 24, 280).keyRect(note);
    for (int y = 35 + 60; y < 35 + 84; ++y) {
      for (int x = static_cast<int>(place.x) + 3; x < static_cast<int>(place.x + place.width) - 3; ++x) {
        if (image.pixelColor(x, y).lightness() > 60) {
          return true;
        }
      }
    }
    return false;
  };
  EXPECT_TRUE(hasInk(60));
  EXPECT_TRUE(hasInk(72));
  EXPECT_FALSE(hasInk(62));
}

TEST_F(OnScreenKeyboard, ADragIsAGlissando) {
  mouse(QEvent::MouseButtonPress, 10, 110);
  mouse(QEvent::MouseMove, 30, 110);
  mouse(QEvent::MouseMove, 20, 60);
  mouse(QEvent::MouseButtonRelease, 20, 60);
  EXPECT_EQ(events, (Events{"+60", "-60", "+62", "-62", "+61", "-61"}));
}

TEST_F(OnScreenKeyboard, ADragThatLeavesTheWindowReleasesTheKey) {
  mouse(QEvent::MouseButtonPress, 10, 110);
  mouse(QEvent::MouseMove, 10, 500);
  EXPECT_EQ(events, (Events{"+60", "-60"}));
  mouse(QEvent::MouseButtonRelease, 10, 500);
  EXPECT_EQ(events.size(), 2U);
}

TEST_F(OnScreenKeyboard, AHeldKeyIsReleasedWhenThePointerIsTakenAway) {
  mouse(QEvent::MouseButtonPress, 10, 110);
  keys.ungrabMouse();
  EXPECT_EQ(events, (Events{"+60", "-60"}));
}

TEST_F(OnScreenKeyboard, AHeldKeyIsReleasedWhenTheKeysAreHiddenOrDisabled) {
  mouse(QEvent::MouseButtonPress, 10, 110);
  keys.setVisible(false);
  EXPECT_EQ(events, (Events{"+60", "-60"}));
  keys.setVisible(true);
  mouse(QEvent::MouseButtonRelease, 10, 110);
  mouse(QEvent::MouseButtonPress, 10, 110);
  keys.setEnabled(false);
  EXPECT_EQ(events, (Events{"+60", "-60", "+60", "-60"}));
}

TEST_F(OnScreenKeyboard, ArrowsChooseAKeyAndReturnPlaysItForAsLongAsItIsDown) {
  keys.forceActiveFocus(Qt::TabFocusReason);
  key(QEvent::KeyPress, Qt::Key_Right);
  key(QEvent::KeyPress, Qt::Key_Return);
  key(QEvent::KeyPress, Qt::Key_Return, true);
  key(QEvent::KeyRelease, Qt::Key_Return, true);
  EXPECT_EQ(events.size(), 1U);
  key(QEvent::KeyRelease, Qt::Key_Return);
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].substr(1), events[1].substr(1));
}

TEST_F(OnScreenKeyboard, TheBandShowsABarForEachStripAndTheSelectedOneBrightest) {
  addStrip("piano", 60, 71, red);
  StripViewModel::isSelectedKey.set(addStrip("organ", 72, 83, blue), true);
  draw();
  const QColor dim = image.pixelColor(60, 8);
  EXPECT_LT(dim.red(), red.red() - 30);
  EXPECT_GT(dim.red(), red.red() / 2);
  EXPECT_EQ(image.pixelColor(200, 16), blue);
  EXPECT_EQ(image.pixelColor(200, 8), QColor(15, 15, 15));
  // A handle at each end of the selected bar.
  EXPECT_GT(image.pixelColor(150, 16).lightness(), 200);
  EXPECT_GT(image.pixelColor(270, 16).lightness(), 200);
  EXPECT_EQ(image.pixelColor(150, 31), QColor(45, 45, 45));
}

TEST_F(OnScreenKeyboard, TheHandleOfAnEndThatIsOffTheKeyboardIsNotDrawn) {
  StripViewModel::isSelectedKey.set(addStrip("piano", 0, 127, red), true);
  draw();
  for (int x = 0; x < 280; ++x) {
    EXPECT_LT(image.pixelColor(x, 10).lightness(), 200) << x;
  }
}

TEST_F(OnScreenKeyboard, TheBandChoosesAStripAndDragsTheEndsOfTheChosenOne) {
  addStrip("piano", 60, 71, red);
  StripViewModel::isSelectedKey.set(addStrip("organ", 72, 83, blue), true);
  mouse(QEvent::MouseButtonPress, 60, 5);
  mouse(QEvent::MouseButtonRelease, 60, 5);
  EXPECT_EQ(events, (Events{"piano"}));
  events.clear();
  mouse(QEvent::MouseButtonPress, 150, 16);
  mouse(QEvent::MouseMove, 170, 16);
  mouse(QEvent::MouseButtonRelease, 170, 16);
  EXPECT_EQ(events, (Events{"organ min 74"}));
}

}  // namespace
}  // namespace vrel::window
