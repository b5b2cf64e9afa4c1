// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/key_translation.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QString>

namespace vrel::app {
namespace {

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
