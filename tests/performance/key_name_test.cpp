// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/key_name.h"

#include <gtest/gtest.h>

#include <string>

namespace vrel {
namespace {

TEST(KeyName, ALetterADigitAndSpaceAreTheirOwnText) {
  for (const std::string name : {"p", "0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
    const auto event = keyEventFromName(name);
    ASSERT_TRUE(event) << name;
    EXPECT_EQ(event->charactersIgnoringModifiers, name);
    EXPECT_EQ(event->modifierFlags, ModifierFlags::none);
  }
  EXPECT_EQ(keyEventFromName("space").value().charactersIgnoringModifiers, " ");
}

TEST(KeyName, ArrowsAreKnownByTheirPlace) {
  EXPECT_EQ(keyEventFromName("up").value().keyCode, KeyEvent::upArrow);
  EXPECT_EQ(keyEventFromName("down").value().keyCode, KeyEvent::downArrow);
  EXPECT_TRUE(keyEventFromName("up").value().charactersIgnoringModifiers) << "an arrow has a text, too";
}

TEST(KeyName, OnlyArrowsHaveTheirPlaces) {
  for (const std::string name : {"p", "space", "0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
    EXPECT_NE(keyEventFromName(name).value().keyCode, KeyEvent::upArrow) << name;
    EXPECT_NE(keyEventFromName(name).value().keyCode, KeyEvent::downArrow) << name;
  }
}

TEST(KeyName, CommandIsAPrefix) {
  const auto event = keyEventFromName("cmd+3").value();
  EXPECT_EQ(event.charactersIgnoringModifiers, "3");
  EXPECT_EQ(event.modifierFlags, ModifierFlags::command);
  EXPECT_EQ(keyEventFromName("cmd+down").value().keyCode, KeyEvent::downArrow);
}

TEST(KeyName, OtherNamesAreUnknown) {
  for (const std::string name : {"", " ", "P", "Space", "q", "10", "00", "-1", "left", "cmd", "cmd+", "cmd+q",
                                 "cmd+cmd+1", "CMD+1", "ctrl+1", "cmd +1", "1 ", " 1"}) {
    EXPECT_FALSE(keyEventFromName(name)) << name;
  }
}

}  // namespace
}  // namespace vrel
