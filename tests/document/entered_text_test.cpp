// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/entered_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace vrel {
namespace {

TEST(EnteredText, BlanksAroundItAreLeftOutAndThoseWithinStay) {
  EXPECT_EQ(withoutBlanksAround(" \t\xC2\xA0Two words\xE3\x80\x80\n"), "Two words");
  EXPECT_EQ(withoutBlanksAround(" \xE2\x80\xA9 "), "");
}

TEST(EnteredText, AnIntegerMayHaveASignAndBlanksAroundIt) {
  EXPECT_EQ(enteredInteger("120"), 120);
  EXPECT_EQ(enteredInteger(" +7 "), 7);
  EXPECT_EQ(enteredInteger("-12\n"), -12);
  EXPECT_EQ(enteredInteger("007"), 7);
  EXPECT_EQ(enteredInteger("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
}

TEST(EnteredText, WhatIsNotAnIntegerGivesNone) {
  for (const char* const text :
       {"", " ", "+", "-", "+-5", "--5", "-+5", "1.5", "12a", "0x10", "1 2", "9223372036854775808"}) {
    EXPECT_EQ(enteredInteger(text), std::nullopt) << "'" << text << "'";
  }
}

}  // namespace
}  // namespace vrel
