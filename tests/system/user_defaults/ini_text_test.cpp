// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/user_defaults/ini_text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <random>
#include <string>

namespace vrel::system {
namespace {

using Values = std::map<std::string, std::string>;

TEST(IniText, AFileWrittenByHandIsRead) {
  const auto content =
      readIni("; mine\n[defaults]\n\n  frames = 64 \r\n# more\nname=Stage = left\ntabs=a\tb\nlast=yes");
  EXPECT_FALSE(content.isDamaged);
  EXPECT_EQ(content.values, (Values{{"frames", "64"}, {"name", "Stage = left"}, {"tabs", "a\tb"}, {"last", "yes"}}));
}

TEST(IniText, WhatIsWrittenIsPlainToReadWhereItCanBe) {
  EXPECT_EQ(writeIni({{"audio.device", "jack:system"}, {"n", "128"}}), "[defaults]\naudio.device=jack:system\nn=128\n");
}

TEST(IniText, EveryKindOfTextComesBack) {
  const Values values{
      {"", "no key"},
      {"empty", ""},
      {"a=b", "c=d"},
      {"[section]", "[x]"},
      {";comment", ";x"},
      {"#comment", "#x"},
      {" blanks ", "  both ends  "},
      {"one blank", " "},
      {"lines\nof\rkey", "lines\r\nof\nvalue\n"},
      {"tab\t", "\ttabs\t"},
      {"back\\slash\\", "\\n is not a line end\\"},
      {std::string("nul\0key", 7), std::string("\0", 1)},
      {"ünïcödé", "鍵盤 \xF0\x9F\x8E\xB9"},
      {"broken \xFF\xC0\x80", "\xED\xA0\x80 \xE2\x82"},
      {"\xEF\xBB\xBFmark", "\x7F\x1B[31m"},
  };
  const auto content = readIni(writeIni(values));
  EXPECT_FALSE(content.isDamaged);
  EXPECT_EQ(content.values, values);
}

TEST(IniText, ArbitraryBytesComeBack) {
  std::mt19937 random(7);
  const auto text = [&] {
    std::string bytes(random() % 12, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random());
    }
    return bytes;
  };
  for (int round = 0; round < 3000; ++round) {
    const Values values{{text(), text()}, {text(), text()}};
    const auto content = readIni(writeIni(values));
    ASSERT_FALSE(content.isDamaged) << writeIni(values);
    ASSERT_EQ(content.values, values) << writeIni(values);
  }
}

TEST(IniText, OnlyMalformedLinesAreLost) {
  for (const std::string bad : {"no sign", "broken=\xFF", "e=\\q", "e=\\x4", "e=\\", "e=\\xZZ", "a\x01=b", "[open",
                                "e=\xC0\xAF", "e=\xF5\x80\x80\x80"}) {
    const auto content = readIni("before=1\n" + bad + "\nafter=2\n");
    EXPECT_TRUE(content.isDamaged) << bad;
    EXPECT_EQ(content.values, (Values{{"before", "1"}, {"after", "2"}})) << bad;
  }
}

TEST(IniText, OfTwoLinesWithOneKeyTheLastWins) {
  EXPECT_EQ(readIni("a=1\na=2\n").values, (Values{{"a", "2"}}));
}

TEST(IniText, AByteOrderMarkIsIgnored) {
  const auto content = readIni(
      "\xEF\xBB\xBF"
      "a=1\n");
  EXPECT_FALSE(content.isDamaged);
  EXPECT_EQ(content.values, (Values{{"a", "1"}}));
}

}  // namespace
}  // namespace vrel::system
