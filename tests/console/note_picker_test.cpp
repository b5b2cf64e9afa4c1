// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/note_picker.h"

#include <gtest/gtest.h>

namespace vrel {
namespace {

TEST(NotePickerLaws, WhiteKeysShareTheWidth) {
  const NotePicker keys(60, 12, 70, 100);
  ASSERT_EQ(keys.whites().size(), 7U);
  ASSERT_EQ(keys.blacks().size(), 5U);
  EXPECT_DOUBLE_EQ(keys.keyRect(71).x, 60);
  EXPECT_DOUBLE_EQ(keys.keyRect(71).width, 10);
  EXPECT_DOUBLE_EQ(keys.keyRect(61).width, 6.2);
  EXPECT_DOUBLE_EQ(keys.keyRect(61).height, 62);
  EXPECT_DOUBLE_EQ(keys.keyRect(61).x, 6.9);
}

TEST(NotePickerLaws, ABlackKeyLiesOverTheWhiteOnes) {
  const NotePicker keys(60, 12, 70, 100);
  EXPECT_EQ(keys.noteAt(9, 50), 61);
  EXPECT_EQ(keys.noteAt(9, 63), 60);
  EXPECT_EQ(keys.noteAt(0, 0), 60);
  EXPECT_EQ(keys.noteAt(69.9, 99), 71);
  EXPECT_FALSE(keys.noteAt(70, 50).has_value());
  EXPECT_FALSE(keys.noteAt(5, 100).has_value());
}

TEST(NotePickerLaws, WithoutKeysThereIsNoNote) {
  EXPECT_FALSE(NotePicker(0, 0, 70, 100).noteAt(1, 1).has_value());
  EXPECT_FALSE(NotePicker().noteAt(0, 0).has_value());
}

}  // namespace
}  // namespace vrel
