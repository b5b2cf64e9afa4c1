// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/key_repeat.h"

#include <gtest/gtest.h>

#include <QKeyEvent>

namespace vrel::app {
namespace {

constexpr quint32 keyOfD = 40;
constexpr quint32 keyOfE = 26;

class KeyOnTheBoard : public testing::Test {
 protected:
  bool isHeld(QEvent::Type type, quint32 key, quint64 milliseconds, bool isMarked = false) {
    QKeyEvent event(type, Qt::Key_D, Qt::NoModifier, key, 0, 0, QString(), isMarked);
    event.setTimestamp(milliseconds);
    return keys.isOfHeldKey(event);
  }
  bool press(quint32 key, quint64 milliseconds) {
    const bool wasHeld = isHeld(QEvent::ShortcutOverride, key, milliseconds);
    EXPECT_EQ(isHeld(QEvent::KeyPress, key, milliseconds), wasHeld);
    return wasHeld;
  }
  void release(quint32 key, quint64 milliseconds) { EXPECT_FALSE(isHeld(QEvent::KeyRelease, key, milliseconds)); }

  KeyRepeat keys;
};

TEST_F(KeyOnTheBoard, ThatGoesDownIsNotHeldBefore) {
  EXPECT_FALSE(press(keyOfD, 0));
  EXPECT_FALSE(press(keyOfE, 0));
}

TEST_F(KeyOnTheBoard, ThatIsMarkedAsARepetitionIsHeld) {
  EXPECT_TRUE(isHeld(QEvent::KeyPress, keyOfD, 7, true));
}

TEST_F(KeyOnTheBoard, ThatIsReleasedAndPressedAtOneInstantIsHeld) {
  EXPECT_FALSE(press(keyOfD, 100));
  for (const quint64 milliseconds : {600U, 640U, 680U}) {
    release(keyOfD, milliseconds);
    EXPECT_TRUE(press(keyOfD, milliseconds));
  }
}

TEST_F(KeyOnTheBoard, ThatAQuickFingerPressesTwiceIsNotHeld) {
  EXPECT_FALSE(press(keyOfD, 100));
  release(keyOfD, 120);
  EXPECT_FALSE(press(keyOfD, 121));
}

TEST_F(KeyOnTheBoard, WhoseEventsHaveNoTimeIsNotHeld) {
  EXPECT_FALSE(press(keyOfD, 0));
  release(keyOfD, 0);
  EXPECT_FALSE(press(keyOfD, 0));
}

TEST_F(KeyOnTheBoard, ThatGoesDownAsAnotherComesUpIsNotHeld) {
  EXPECT_FALSE(press(keyOfD, 100));
  release(keyOfD, 120);
  EXPECT_FALSE(press(keyOfE, 120));
}

}  // namespace
}  // namespace vrel::app
