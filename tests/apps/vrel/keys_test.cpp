// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/keys.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QString>

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

KeyEvent translated(int key, Qt::KeyboardModifiers held = Qt::NoModifier, const QString& text = {}) {
  return keyEventOf(QKeyEvent(QEvent::KeyPress, key, held, text));
}

TEST(KeyTranslation, ADigitIsNamedByItsTextWhateverControlSays) {
  EXPECT_EQ(translated(Qt::Key_1, Qt::NoModifier, QStringLiteral("1")).charactersIgnoringModifiers, "1");
  // With Control a board gives no text, or a control character.
  EXPECT_EQ(translated(Qt::Key_1, Qt::ControlModifier).charactersIgnoringModifiers, "1");
  EXPECT_EQ(translated(Qt::Key_P, Qt::ControlModifier, QStringLiteral("\x10")).charactersIgnoringModifiers, "P");
  EXPECT_EQ(translated(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" ")).charactersIgnoringModifiers, " ");
}

TEST(KeyTranslation, ModifiersKeepTheirPlaceOnTheBoard) {
  EXPECT_EQ(translated(Qt::Key_1).modifierFlags, ModifierFlags::none);
  EXPECT_EQ(translated(Qt::Key_1, Qt::ControlModifier).modifierFlags, ModifierFlags::command);
  EXPECT_EQ(translated(Qt::Key_1, Qt::MetaModifier).modifierFlags, ModifierFlags::control);
  EXPECT_EQ(translated(Qt::Key_1, Qt::AltModifier).modifierFlags, ModifierFlags::option);
  EXPECT_EQ(translated(Qt::Key_1, Qt::ShiftModifier | Qt::AltModifier).modifierFlags,
            ModifierFlags::shift | ModifierFlags::option);
}

TEST(KeyTranslation, ArrowsAreKnownByTheirCodesAndHaveNoLetter) {
  const KeyEvent down = translated(Qt::Key_Down);
  EXPECT_EQ(down.keyCode, KeyEvent::downArrow);
  EXPECT_EQ(down.charactersIgnoringModifiers, "");
  EXPECT_EQ(translated(Qt::Key_Up, Qt::KeypadModifier).keyCode, KeyEvent::upArrow);
}

TEST(KeyTranslation, LettersBeyondTheCommonOnesKeepTheirText) {
  EXPECT_EQ(translated(Qt::Key_Ntilde, Qt::NoModifier, QStringLiteral("\u00f1")).charactersIgnoringModifiers, "\u00f1");
}

TEST(KeyTranslation, AKeyWithoutATextHasNone) {
  EXPECT_EQ(translated(Qt::Key_F5).charactersIgnoringModifiers, std::nullopt);
  EXPECT_EQ(translated(Qt::Key_Shift, Qt::ShiftModifier).charactersIgnoringModifiers, std::nullopt);
}

}  // namespace
}  // namespace vrel::app
