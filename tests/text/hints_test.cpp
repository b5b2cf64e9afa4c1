// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/hints.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace vrel {
namespace {

TEST(Hints, EachHasItsOwnWordsInEachLanguage) {
  for (const Language language : allLanguages) {
    std::set<std::string_view> words;
    for (std::size_t index = 0; index < hintCount; ++index) {
      words.insert(hintText(static_cast<Hint>(index), language));
    }
    EXPECT_EQ(words.size(), hintCount) << code(language);
    EXPECT_FALSE(words.contains(""));
  }
}

}  // namespace
}  // namespace vrel
